#include "recording/guard/guarded_host.h"

#include <cerrno>
#include <optional>

#include "recording/guard/judgement.h"

namespace recording {
namespace {

// EBUSY, as a command would have it: an exit status.
constexpr int kRefusedStatus = EBUSY << 8;

template <class Element>
void appendAll(std::vector<Element>& list, const std::vector<Element>& more) {
    list.insert(list.end(), more.begin(), more.end());
}

}  // namespace

std::vector<Refusal> GuardedHost::refusals() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_refusals;
}

std::vector<Refusal> GuardedHost::kept() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_kept;
}

std::vector<std::string> GuardedHost::untoldKept() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_untoldKept;
}

void GuardedHost::refuse(const Refusal& refusal) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refusals.push_back(refusal);
}

// One effect before the guard. What it holds open it lets go when it goes out of scope: right
// behind the effect.
class GuardedHost::Case {
  public:
    Case(GuardedHost& host, const guard::Targets& targets) {
        if (host.m_isOut || targets.empty()) {
            return;
        }
        const std::lock_guard<std::mutex> lock(host.m_mutex);
        m_judgement.emplace(host.m_aside(), host.m_silence == Silence::kIsNoEvidence,
                            host.m_purpose);
        m_judgement->judge(targets);
        appendAll(host.m_refusals, m_judgement->refusals());
        appendAll(host.m_kept, m_judgement->kept());
        appendAll(host.m_untoldKept, m_judgement->untoldKept());
    }
    bool isRefused() const { return m_judgement && !m_judgement->refusals().empty(); }
    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        for (const Refusal& refusal : m_judgement->refusals()) {
            lines.push_back("refused: " + refusal.device + " is " + refusal.reason);
        }
        return lines;
    }

  private:
    std::optional<guard::Judgement> m_judgement;
};

host::AppendResult GuardedHost::appendFile(const std::string& path, const std::string& text,
                                           const host::BeforeWrite& beforeWrite) {
    const Case effect(*this, guard::targetsOfAppend(path, text));
    if (effect.isRefused()) {
        host::AppendResult refused;
        refused.openError = EBUSY;
        return refused;
    }
    return m_inner.appendFile(path, text, beforeWrite);
}

host::CommandResult GuardedHost::runCommand(const std::string& command, int timeoutSeconds) {
    const Case effect(*this, guard::targetsOfCommand(command));
    if (effect.isRefused()) {
        host::CommandResult refused;
        refused.waitStatus = kRefusedStatus;
        refused.lines = effect.lines();
        return refused;
    }
    return m_inner.runCommand(command, timeoutSeconds);
}

int GuardedHost::runShell(const std::string& line) {
    const Case effect(*this, guard::targetsOfShellLine(line));
    return effect.isRefused() ? kRefusedStatus : m_inner.runShell(line);
}

int GuardedHost::openDevice(const std::string& path, host::OpenMode mode) {
    return m_inner.openDevice(path, mode);
}

int GuardedHost::closeDevice(int descriptor) {
    return m_inner.closeDevice(descriptor);
}

int GuardedHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    return m_inner.sendCommand(descriptor, buffer);
}

int GuardedHost::addressWords(int descriptor, host::AddressWords& words) {
    return m_inner.addressWords(descriptor, words);
}

int GuardedHost::sgIo(int descriptor, host::SgIoRequest& request) {
    return m_inner.sgIo(descriptor, request);
}

int GuardedHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    return m_inner.deviceSize(descriptor, bytes);
}

host::ReadResult GuardedHost::readFile(const std::string& path) {
    return m_inner.readFile(path);
}

bool GuardedHost::pathExists(const std::string& path) {
    return m_inner.pathExists(path);
}

bool GuardedHost::isDirectory(const std::string& path) {
    return m_inner.isDirectory(path);
}

host::DirectoryListing GuardedHost::listDirectory(const std::string& path) {
    return m_inner.listDirectory(path);
}

int GuardedHost::readLink(const std::string& path, std::string& target) {
    return m_inner.readLink(path, target);
}

int GuardedHost::deviceNumber(const std::string& path, host::DeviceNumber& number) {
    return m_inner.deviceNumber(path, number);
}

int GuardedHost::writeAccess(const std::string& path) {
    return m_inner.writeAccess(path);
}

int GuardedHost::openSemaphore(int key, int count, int flags) {
    return m_inner.openSemaphore(key, count, flags);
}

int GuardedHost::operateSemaphore(int identifier,
                                  const std::vector<host::SemaphoreOperation>& operations) {
    return m_inner.operateSemaphore(identifier, operations);
}

int GuardedHost::semaphoreUser(int identifier) {
    return m_inner.semaphoreUser(identifier);
}

std::string GuardedHost::kernelRelease() {
    return m_inner.kernelRelease();
}

int GuardedHost::hostName(std::string& name) {
    return m_inner.hostName(name);
}

void GuardedHost::sleepSeconds(unsigned seconds) {
    m_inner.sleepSeconds(seconds);
}

}  // namespace recording
