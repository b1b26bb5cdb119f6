#include "recording/replay/recorded_host.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

namespace recording {
namespace {

// Above every limit on open files, so that a recorded descriptor is never one of the machine's.
constexpr int kFirstDescriptor = 0x40000000;
constexpr int kMissingProgram = 127;

// What stands against an open because of rights; other errors are the device's own.
bool isMissingRight(int error) {
    return error == EACCES || error == EPERM || error == EROFS;
}

/// The errno of opening as a file what is none.
int whyNoFile(const RecordedTree::Entry& entry) {
    if (entry.error != 0) {
        return entry.error;
    }
    return entry.directory != nullptr ? EISDIR : EINVAL;
}

int waitStatusOf(const RecordedCommand& command) {
    if (command.timedOut) {
        return SIGKILL;
    }
    return command.signal != 0 ? command.signal : command.exitStatus << 8;
}

}  // namespace

RecordedHost::RecordedHost(RecordedHostData data, Journal& journal)
    : RecordedHost(journal, std::make_shared<const RecordedTree>(std::move(data))) {}

RecordedHost::RecordedHost(Journal& journal, std::shared_ptr<const RecordedTree> tree)
    : m_journal(journal), m_tree(std::move(tree)), m_nextDescriptor(kFirstDescriptor) {
    for (const RecordedCommand& command : m_tree->data().commands) {
        m_commands[command.command].inOrder.push_back(&command);
    }
}

bool RecordedHost::isClaimed(const RecordedDevice& device) const {
    if (device.inUse || device.number.kind != host::DeviceNumber::Kind::kBlock) {
        return device.inUse;
    }
    return std::any_of(m_descriptors.begin(), m_descriptors.end(), [&device](const auto& open) {
        return open.second.isExclusive && open.second.node->device.number == device.number;
    });
}

int RecordedHost::openDevice(const std::string& path, host::OpenMode mode) {
    const RecordedTree::Entry entry = m_tree->find(path);
    if (entry.node == nullptr) {
        return entry.error != 0 ? -entry.error : -ENOENT;
    }
    const RecordedDevice& device = entry.node->device;
    const bool isExclusive = mode == host::OpenMode::kReadOnlyExclusive;
    const std::lock_guard<std::mutex> lock(m_mutex);
    // As in the kernel: rights first, then who claims the device, and the driver last.
    if (isExclusive && !isMissingRight(device.openError) && isClaimed(device)) {
        return -EBUSY;
    }
    if (device.openError != 0) {
        return -device.openError;
    }
    if (device.writeError != 0 && mode == host::OpenMode::kReadWriteNonBlocking) {
        return -device.writeError;
    }
    const int descriptor = m_nextDescriptor++;
    m_descriptors[descriptor] = {entry.node, isExclusive};
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

const RecordedTree::Node* RecordedHost::nodeOf(int descriptor) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_descriptors.find(descriptor);
    return found == m_descriptors.end() ? nullptr : found->second.node;
}

host::ReadResult RecordedHost::readFile(const std::string& path) {
    host::ReadResult result;
    const RecordedTree::Entry entry = m_tree->find(path);
    result.openError = entry.file == nullptr ? whyNoFile(entry) : entry.file->error;
    if (result.openError == 0) {
        result.readError = entry.file->readError;
        result.content = entry.file->content;
    }
    return result;
}

host::AppendResult RecordedHost::appendFile(const std::string& path, const std::string& text,
                                            const host::BeforeWrite& beforeWrite) {
    host::AppendResult result;
    const RecordedTree::Entry entry = m_tree->find(path);
    result.openError = entry.file == nullptr ? whyNoFile(entry) : entry.file->error;
    if (result.openError == 0) {
        if (beforeWrite) {
            beforeWrite();
        }
        m_journal.addAppend(path, text);
    }
    return result;
}

bool RecordedHost::pathExists(const std::string& path) {
    return m_tree->find(path).error == 0;
}

bool RecordedHost::isDirectory(const std::string& path) {
    return m_tree->find(path).directory != nullptr;
}

host::DirectoryListing RecordedHost::listDirectory(const std::string& path) {
    host::DirectoryListing listing;
    const RecordedTree::Entry entry = m_tree->find(path);
    if (entry.directory != nullptr) {
        listing.names = *entry.directory;
        listing.openError = entry.directoryError;
        return listing;
    }
    listing.openError = entry.error != 0 ? entry.error : ENOTDIR;
    if (m_tree->isInhabited(path)) {
        m_journal.addUnanswered("directory " + path);
    }
    return listing;
}

int RecordedHost::readLink(const std::string& path, std::string& target) {
    return m_tree->readLink(path, target);
}

int RecordedHost::deviceNumber(const std::string& path, host::DeviceNumber& number) {
    const RecordedTree::Entry entry = m_tree->find(path);
    if (entry.error != 0) {
        return -entry.error;
    }
    number = entry.node != nullptr ? entry.node->device.number : host::DeviceNumber();
    return 0;
}

int RecordedHost::writeAccess(const std::string& path) {
    const RecordedTree::Entry entry = m_tree->find(path);
    if (entry.file != nullptr) {
        return -entry.file->error;
    }
    if (entry.node != nullptr && isMissingRight(entry.node->device.openError)) {
        return -entry.node->device.openError;
    }
    if (entry.node != nullptr && isMissingRight(entry.node->device.writeError)) {
        return -entry.node->device.writeError;
    }
    return -entry.error;
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
    const RecordedCommand& answer = *answers.inOrder[answers.next];
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

int RecordedHost::semaphoreUser(int /*identifier*/) {
    return 0;  // its semaphores are this process's own
}

std::string RecordedHost::kernelRelease() {
    return m_tree->data().kernelRelease;
}

int RecordedHost::hostName(std::string& name) {
    const std::optional<std::string>& recorded = m_tree->data().hostName;
    if (!recorded) {
        return -EIO;
    }
    name = *recorded;
    return 0;
}

void RecordedHost::sleepSeconds(unsigned seconds) {
    m_journal.addSleep(seconds);
}

}  // namespace recording
