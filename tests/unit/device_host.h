#ifndef SCSITOOL_TESTS_DEVICE_HOST_H
#define SCSITOOL_TESTS_DEVICE_HOST_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "page_builder.h"
#include "scripted_host.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/kit/trace_log.h"

namespace test {

/// A recorded disk: its standard INQUIRY data and VPD pages, at host 2, channel 1, target 5, LUN 0.
inline recording::RecordedDevice diskOf(const Page& inquiry,
                                        const std::map<std::uint8_t, Page>& pages = {},
                                        std::uint32_t idLun = 0x02010005) {
    recording::RecordedDevice device;
    device.standardInquiry = recording::RecordedPage(inquiry.data());
    for (const auto& [code, page] : pages) {
        device.pages[code] = recording::RecordedPage(page.data());
    }
    device.idLun = idLun;
    return device;
}

/// A disk that is named by its page 0x83 (NAA 6) and has a serial in page 0x80.
inline recording::RecordedDevice namedDisk(const std::string& serial, std::uint8_t lastByte) {
    Bytes name = {0x60, 0, 0, 0x0a, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, lastByte};
    return diskOf(Page::inquiry("ACME", "RAID 5"), {{0x00, Page::supported({0x00, 0x80, 0x83})},
                                                    {0x80, Page::serial(serial)},
                                                    {0x83, Page::names().naa(name)}});
}

/// The text of /proc/partitions with these disks.
inline std::string partitionsOf(const std::vector<std::string>& names) {
    std::string text = "major minor  #blocks  name\n\n";
    for (const std::string& name : names) {
        text += "   8       16    1048576 " + name + "\n";
    }
    return text;
}

/// A recorded host that keeps what it is asked, one text a request, in order, and whose devices
/// misbehave as a test tells them to. It is the current host for as long as it exists.
class DeviceHost : private RecordedHostHolder, public host::ForwardingHost {
  public:
    explicit DeviceHost(recording::RecordedHostData data = {})
        : RecordedHostHolder(std::move(data)), ForwardingHost(recorded), m_scope(*this) {}

    /// What takes the place of an operation's result; none lets the recording answer.
    using Answer = std::optional<int>;
    std::function<Answer(const std::string& path)> onOpen = [](const std::string&) {
        return Answer();
    };
    std::function<Answer(host::CommandBuffer& buffer)> onSend = [](host::CommandBuffer&) {
        return Answer();
    };
    std::function<Answer()> onAddress = [] { return Answer(); };
    std::function<Answer(std::uint64_t& bytes)> onSize = [](std::uint64_t&) { return Answer(); };
    std::function<Answer()> onClose = [] { return Answer(); };
    std::function<Answer()> onSemaphoreOpen = [] { return Answer(); };
    std::function<Answer()> onSemaphoreOperation = [] { return Answer(); };
    std::function<void(const std::string& path)> onRead = [](const std::string&) {};
    std::function<void()> onHostName = [] {};
    std::function<void()> onCommand = [] {};

    std::vector<std::string> requests;      ///< everything asked, reads of settings left out
    std::vector<host::CommandBuffer> sent;  ///< every command buffer as it was handed over
    std::size_t settingsRead = 0;           ///< how often the configuration was read
    std::vector<std::string> effects() const { return journal.lines(); }
    std::vector<std::string> unanswered() const { return journal.unanswered(); }
    std::size_t openDescriptors() const { return recorded.openDescriptors(); }
    /// How often exactly this was asked.
    std::size_t count(const std::string& request) const {
        return static_cast<std::size_t>(std::count(requests.begin(), requests.end(), request));
    }

    int openDevice(const std::string& path, host::OpenMode mode) override {
        const char* const flags = mode == host::OpenMode::kReadWriteNonBlocking
                                      ? "O_RDWR|O_NONBLOCK"
                                  : mode == host::OpenMode::kReadOnly ? "O_RDONLY"
                                                                      : "other";
        requests.push_back("open " + path + " " + flags);
        const Answer told = onOpen(path);
        const int opened = told ? *told : ForwardingHost::openDevice(path, mode);
        m_paths[opened] = path;
        return opened;
    }
    int closeDevice(int descriptor) override {
        requests.push_back("close " + nameOf(descriptor));
        const int closed = ForwardingHost::closeDevice(descriptor);
        const Answer told = onClose();
        return told ? *told : closed;
    }
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override {
        std::string request = "send " + nameOf(descriptor);
        for (std::size_t i = 8; i < 14; ++i) {
            char byte[4];
            std::snprintf(byte, sizeof byte, " %02x", buffer[i]);
            request += byte;
        }
        requests.push_back(request);
        sent.push_back(buffer);
        const Answer told = onSend(buffer);
        return told ? *told : ForwardingHost::sendCommand(descriptor, buffer);
    }
    int addressWords(int descriptor, host::AddressWords& words) override {
        requests.push_back("address " + nameOf(descriptor));
        const Answer told = onAddress();
        return told ? *told : ForwardingHost::addressWords(descriptor, words);
    }
    int deviceSize(int descriptor, std::uint64_t& bytes) override {
        requests.push_back("size " + nameOf(descriptor));
        const Answer told = onSize(bytes);
        return told ? *told : ForwardingHost::deviceSize(descriptor, bytes);
    }
    host::ReadResult readFile(const std::string& path) override {
        if (path == "/etc/scsitool/devicefi.conf") {
            ++settingsRead;
        } else {
            requests.push_back("read " + path);
        }
        onRead(path);
        return ForwardingHost::readFile(path);
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        requests.push_back("list " + path);
        return ForwardingHost::listDirectory(path);
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        requests.push_back("run " + command);
        onCommand();
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }
    int hostName(std::string& name) override {
        requests.push_back("hostname");
        onHostName();
        return ForwardingHost::hostName(name);
    }
    int openSemaphore(int key, int count, int flags) override {
        char request[64];
        std::snprintf(request, sizeof request, "semget %d %d 0%o", key, count,
                      static_cast<unsigned>(flags));
        requests.push_back(request);
        const Answer told = onSemaphoreOpen();
        return told ? *told : ForwardingHost::openSemaphore(key, count, flags);
    }
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override {
        std::string request = "semop";
        for (const host::SemaphoreOperation& operation : operations) {
            request += " " + std::to_string(operation.operation) +
                       (operation.undo ? "|SEM_UNDO" : "") +
                       (operation.noWait ? "|IPC_NOWAIT" : "");
        }
        requests.push_back(request);
        identifiers.push_back(identifier);
        const Answer told = onSemaphoreOperation();
        return told ? *told : ForwardingHost::operateSemaphore(identifier, operations);
    }

    std::vector<int> identifiers;  ///< of the semaphore operations

  private:
    std::string nameOf(int descriptor) const {
        const auto found = m_paths.find(descriptor);
        return found != m_paths.end() ? found->second : std::to_string(descriptor);
    }

    std::map<int, std::string> m_paths;
    host::Scope m_scope;
};

/// What the lock of a rescan asks of the host.
inline constexpr char kSemaphoreOpened[] = "semget 1001 1 01666";
inline constexpr char kLockTaken[] = "semop 0|SEM_UNDO 1|SEM_UNDO|IPC_NOWAIT";
inline constexpr char kLockReleased[] = "semop -1|SEM_UNDO|IPC_NOWAIT";

/// A trace log whose lines stand between the requests of a host, as "[LEVEL] message".
inline qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog> traceInto(
    std::vector<std::string>& lines) {
    struct Sink : qzfi_pdk_4_4::CFiTraceSink {
        explicit Sink(std::vector<std::string>& taken) : target(taken) {}
        void write(int level, const std::string& message) override {
            target.push_back("[" + std::to_string(level) + "] " + message);
        }
        std::vector<std::string>& target;
    };
    qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog> log(new qzfi_pdk_4_4::CFiTraceLog);
    log->setSink(std::make_shared<Sink>(lines), 9);
    return log;
}

}  // namespace test

#endif
