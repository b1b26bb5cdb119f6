#include "recording/recorded_host.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "host/request_limits.h"
#include "recording/hex.h"

namespace recording {
namespace {

// Above every limit on open files, so that a recorded descriptor is never one of the machine's.
constexpr int kFirstDescriptor = 0x40000000;

constexpr std::size_t kCommandHeader = 8;
constexpr std::uint8_t kInquiry = 0x12;
constexpr std::uint8_t kEvpd = 0x01;
constexpr int kMissingProgram = 127;

std::string withoutLastSlashes(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

// Page 0x00: the codes stand from byte 4 on, their number in bytes 2-3; no more than are stored.
bool listsPage(const RecordedDevice& device, std::uint8_t code) {
    const auto list = device.pages.find(0x00);
    if (list == device.pages.end() || list->second.bytes.size() < 4) {
        return false;
    }
    const Bytes& bytes = list->second.bytes;
    const std::size_t end = std::min<std::size_t>(bytes.size(), 4U + bytes[2] * 256U + bytes[3]);
    for (std::size_t index = 4; index < end; ++index) {
        if (bytes[index] == code) {
            return true;
        }
    }
    return false;
}

int waitStatusOf(const RecordedCommand& command) {
    if (command.timedOut) {
        return SIGKILL;
    }
    return command.signal != 0 ? command.signal : command.exitStatus << 8;
}

}  // namespace

RecordedHost::RecordedHost(RecordedHostData data, Journal& journal)
    : m_journal(journal),
      m_files(std::move(data.files)),
      m_hostName(std::move(data.hostName)),
      m_kernelRelease(std::move(data.kernelRelease)),
      m_nextDescriptor(kFirstDescriptor) {
    for (const auto& file : m_files) {
        noteDirectoriesAbove(file.first);
    }
    for (auto& directory : data.directories) {
        const std::string path = withoutLastSlashes(directory.first);
        noteDirectoriesAbove(path);
        m_directories[path] = std::move(directory.second);
    }
    for (auto& device : data.devices) {
        noteDirectoriesAbove(device.first);
        m_devices[device.first] = {device.first, std::move(device.second)};
    }
    for (RecordedCommand& command : data.commands) {
        m_commands[command.command].inOrder.push_back(std::move(command));
    }
}

void RecordedHost::noteDirectoriesAbove(const std::string& path) {
    for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        // What is known already has its own parents noted with it.
        if (!m_inhabited.insert(path.substr(0, slash)).second) {
            return;
        }
    }
}

int RecordedHost::openDevice(const std::string& path, host::OpenMode) {
    const auto found = m_devices.find(path);
    if (found == m_devices.end()) {
        return -ENOENT;
    }
    if (found->second.device.openError != 0) {
        return -found->second.device.openError;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    const int descriptor = m_nextDescriptor++;
    m_descriptors[descriptor] = &found->second;
    return descriptor;
}

int RecordedHost::closeDevice(int descriptor) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_descriptors.erase(descriptor) == 1 ? 0 : -EBADF;
}

std::size_t RecordedHost::openDescriptors() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_descriptors.size();
}

const RecordedHost::Node* RecordedHost::nodeOf(int descriptor) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_descriptors.find(descriptor);
    return found == m_descriptors.end() ? nullptr : found->second;
}

const RecordedPage* RecordedHost::findPage(const Node& node, bool evpd, std::uint8_t code,
                                           int& error) {
    const RecordedDevice& device = node.device;
    if (!device.standardInquiry && device.pages.empty()) {
        error = -ENOTTY;  // a node that takes no SCSI command
        return nullptr;
    }
    const RecordedPage* page = nullptr;
    bool isGap = false;
    if (evpd) {
        const auto found = device.pages.find(code);
        page = found == device.pages.end() ? nullptr : &found->second;
        isGap = listsPage(device, code);
    } else if (code == 0) {
        page = device.standardInquiry ? &*device.standardInquiry : nullptr;
        isGap = true;  // every device server answers it
    }
    if (page == nullptr && isGap) {
        m_journal.addUnanswered("page " + (evpd ? toHex(&code, 1) : "std") + " of " + node.path);
    }
    error = page == nullptr ? -EIO : -page->error;
    return error == 0 ? page : nullptr;
}

int RecordedHost::sendCommand(int descriptor, host::CommandBuffer& buffer) {
    const Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    const int refused = host::checkRequest(buffer);
    if (refused != 0) {
        return refused;
    }
    std::uint32_t outputLength = 0;
    std::memcpy(&outputLength, buffer.data() + sizeof outputLength, sizeof outputLength);
    const std::uint8_t* const block = buffer.data() + kCommandHeader;
    if (block[0] != kInquiry) {
        return -ENOTTY;
    }
    const std::size_t allocationLength = block[3] * 256U + block[4];
    int error = 0;
    const RecordedPage* const page = findPage(*node, (block[1] & kEvpd) != 0, block[2], error);
    if (page == nullptr) {
        return error;
    }
    const std::size_t transferred =
        std::min({page->bytes.size(), allocationLength, std::size_t{outputLength}});
    const auto response = buffer.begin() + kCommandHeader;
    std::fill_n(response, outputLength, std::uint8_t{0});
    std::copy_n(page->bytes.begin(), transferred, response);
    return 0;
}

int RecordedHost::addressWords(int descriptor, host::AddressWords& words) {
    const Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    if (!node->device.idLun) {
        return -ENOTTY;
    }
    words = {*node->device.idLun, 0};
    return 0;
}

int RecordedHost::sgIo(int descriptor, host::SgIoRequest& request) {
    const Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    const int refused = host::checkRequest(request);
    if (refused != 0) {
        return refused;
    }
    const auto found = node->device.sgIo.find(request.cdb);
    if (found == node->device.sgIo.end()) {
        return -ENOTTY;
    }
    const Bytes& response = found->second;
    std::fill(request.data.begin(), request.data.end(), std::uint8_t{0});
    std::copy_n(response.begin(), std::min(response.size(), request.data.size()),
                request.data.begin());
    request.status = 0;
    return 0;
}

int RecordedHost::deviceSize(int descriptor, std::uint64_t& bytes) {
    const Node* const node = nodeOf(descriptor);
    if (node == nullptr) {
        return -EBADF;
    }
    if (!node->device.sizeBytes) {
        return -ENOTTY;
    }
    bytes = *node->device.sizeBytes;
    return 0;
}

int RecordedHost::readFile(const std::string& path, std::string& content) {
    content.clear();
    const auto found = m_files.find(path);
    if (found != m_files.end()) {
        if (found->second.error == 0) {
            content = found->second.content;
        }
        return -found->second.error;
    }
    return -whyNoFile(path);
}

int RecordedHost::whyNoFile(const std::string& path) const {
    if (m_directories.count(withoutLastSlashes(path)) != 0) {
        return EISDIR;
    }
    return m_devices.count(path) != 0 ? EINVAL : ENOENT;
}

host::AppendResult RecordedHost::appendFile(const std::string& path, const std::string& text) {
    host::AppendResult result;
    const auto found = m_files.find(path);
    if (found == m_files.end()) {
        result.openError = whyNoFile(path);
    } else {
        result.openError = found->second.error;
    }
    if (result.openError == 0) {
        m_journal.addAppend(path, text);
    }
    return result;
}

bool RecordedHost::hasPath(const std::string& path) const {
    return m_files.count(path) != 0 || m_devices.count(path) != 0 ||
           m_directories.count(withoutLastSlashes(path)) != 0;
}

bool RecordedHost::pathExists(const std::string& path) {
    return hasPath(path);
}

bool RecordedHost::isDirectory(const std::string& path) {
    return m_directories.count(withoutLastSlashes(path)) != 0;
}

host::DirectoryListing RecordedHost::listDirectory(const std::string& path) {
    host::DirectoryListing listing;
    const std::string name = withoutLastSlashes(path);
    const auto found = m_directories.find(name);
    if (found != m_directories.end()) {
        listing.names = found->second;
        return listing;
    }
    listing.openError = hasPath(name) ? ENOTDIR : ENOENT;
    if (m_inhabited.count(name) != 0) {
        m_journal.addUnanswered("directory " + path);
    }
    return listing;
}

int RecordedHost::readLink(const std::string& path, std::string&) {
    return hasPath(path) ? -EINVAL : -ENOENT;
}

host::CommandResult RecordedHost::runCommand(const std::string& command, int timeoutSeconds) {
    m_journal.addCommand(command, timeoutSeconds);
    host::CommandResult result;
    const auto found = m_commands.find(command);
    if (found == m_commands.end()) {
        m_journal.addUnanswered("command " + command);
        result.waitStatus = kMissingProgram << 8;
        return result;
    }
    Answers& answers = found->second;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const RecordedCommand& answer = answers.inOrder[answers.next];
    if (answers.next + 1 < answers.inOrder.size()) {
        ++answers.next;
    }
    result.lines = answer.output;
    result.waitStatus = waitStatusOf(answer);
    result.timedOut = answer.timedOut;
    return result;
}

int RecordedHost::runShell(const std::string& line) {
    m_journal.addShell(line);
    return 0;
}

int RecordedHost::openSemaphore(int key, int count, int flags) {
    return m_semaphores.open(key, count, flags);
}

int RecordedHost::operateSemaphore(int identifier,
                                   const std::vector<host::SemaphoreOperation>& operations) {
    return m_semaphores.operate(identifier, operations);
}

std::string RecordedHost::kernelRelease() {
    return m_kernelRelease;
}

int RecordedHost::hostName(std::string& name) {
    if (!m_hostName) {
        return -EIO;
    }
    name = *m_hostName;
    return 0;
}

void RecordedHost::sleepSeconds(unsigned seconds) {
    m_journal.addSleep(seconds);
}

}  // namespace recording
