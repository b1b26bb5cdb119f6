#include "scsitool/host/linux_host.h"

#include <atomic>
#include <cerrno>
#include <limits>

#include "host/command_runner.h"
#include "host/command_transport.h"
#include "host/machine.h"

namespace host {
namespace {

constexpr int kRefusal = -EPERM;
// What a shell says of a program that is there and may not be executed.
constexpr int kRefusedStatus = 126 << 8;

std::atomic<int> refusals{0};

bool isRefused() {
    return refusals.load() > 0;
}

}  // namespace

LiveHostRefusal::LiveHostRefusal() noexcept {
    ++refusals;
}

LiveHostRefusal::~LiveHostRefusal() {
    --refusals;
}

Host& linuxHost() {
    // Never destroyed: handles with static storage may still be closed while the process ends.
    static LinuxHost* const only = new LinuxHost;
    return *only;
}

int LinuxHost::openDevice(const std::string& path, OpenMode mode) {
    return isRefused() ? kRefusal : machine::openDevice(path, mode);
}

int LinuxHost::closeDevice(int descriptor) {
    return machine::closeDevice(descriptor);
}

int LinuxHost::sendCommand(int descriptor, CommandBuffer& buffer) {
    // What one descriptor has shown holds for the kernel.
    static CommandTransport transport;
    if (isRefused()) {
        return kRefusal;
    }
    return transport.send(
        buffer, [=](CommandBuffer& sent) { return machine::sendCommand(descriptor, sent); },
        [=](CommandBuffer& sent) { return sendBySgIo(*this, descriptor, sent); });
}

int LinuxHost::addressWords(int descriptor, AddressWords& words) {
    return isRefused() ? kRefusal : machine::addressWords(descriptor, words);
}

int LinuxHost::sgIo(int descriptor, SgIoRequest& request) {
    return isRefused() ? kRefusal : machine::sgIo(descriptor, request);
}

int LinuxHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return isRefused() ? kRefusal : machine::deviceSize(descriptor, bytes);
}

ReadResult LinuxHost::readFile(const std::string& path) {
    return isRefused() ? ReadResult{-kRefusal, 0, {}} : machine::readFile(path);
}

AppendResult LinuxHost::appendFile(const std::string& path, const std::string& text,
                                   const BeforeWrite& beforeWrite) {
    return isRefused() ? AppendResult{-kRefusal, 0} : machine::appendFile(path, text, beforeWrite);
}

bool LinuxHost::pathExists(const std::string& path) {
    return !isRefused() && machine::pathExists(path);
}

bool LinuxHost::isDirectory(const std::string& path) {
    return !isRefused() && machine::isDirectory(path);
}

DirectoryListing LinuxHost::listDirectory(const std::string& path) {
    return isRefused() ? DirectoryListing{-kRefusal, 0, {}} : machine::listDirectory(path);
}

int LinuxHost::readLink(const std::string& path, std::string& target) {
    return isRefused() ? kRefusal : machine::readLink(path, target);
}

int LinuxHost::deviceNumber(const std::string& path, DeviceNumber& number) {
    return isRefused() ? kRefusal : machine::deviceNumber(path, number);
}

int LinuxHost::writeAccess(const std::string& path) {
    return isRefused() ? kRefusal : machine::writeAccess(path);
}

CommandResult LinuxHost::runCommand(const std::string& command, int timeoutSeconds) {
    if (isRefused()) {
        return {{}, kRefusedStatus, false};
    }
    return runProgram(splitCommand(command), timeoutSeconds);
}

int LinuxHost::runShell(const std::string& line) {
    if (isRefused()) {
        return kRefusedStatus;
    }
    // Not system(3), which ignores SIGINT and SIGQUIT for the whole process meanwhile, hands the
    // caller's descriptors and environment on and needs SIGCHLD not to be ignored.
    return runProgram({"/bin/sh", "-c", line}, std::numeric_limits<int>::max()).waitStatus;
}

int LinuxHost::openSemaphore(int key, int count, int flags) {
    return isRefused() ? kRefusal : machine::openSemaphore(key, count, flags);
}

int LinuxHost::operateSemaphore(int identifier, const std::vector<SemaphoreOperation>& operations) {
    return isRefused() ? kRefusal : machine::operateSemaphore(identifier, operations);
}

int LinuxHost::semaphoreUser(int identifier) {
    return isRefused() ? kRefusal : machine::semaphoreUser(identifier);
}

std::string LinuxHost::kernelRelease() {
    return isRefused() ? std::string() : machine::kernelRelease();
}

int LinuxHost::hostName(std::string& name) {
    return isRefused() ? kRefusal : machine::hostName(name);
}

void LinuxHost::sleepSeconds(unsigned seconds) {
    if (!isRefused()) {
        machine::sleepSeconds(seconds);
    }
}

}  // namespace host
