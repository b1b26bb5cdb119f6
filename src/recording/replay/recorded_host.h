#ifndef SCSITOOL_RECORDING_REPLAY_RECORDED_HOST_H
#define SCSITOOL_RECORDING_REPLAY_RECORDED_HOST_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "recording/effects/journal.h"
#include "recording/replay/recorded_host_data.h"
#include "recording/replay/recorded_tree.h"
#include "recording/replay/semaphores.h"
#include "scsitool/host/host.h"

namespace recording {

/// A host that answers from a recording and never touches the machine. Effects go to a journal.
///
/// What is not in the recording:
/// - a device, a file, a directory, a path that is not there is ENOENT, which is an answer;
/// - a command ends with exit status 127 and no output;
/// - an INQUIRY page is EIO, any other request that the device has no entry for is ENOTTY, and so
///   is INQUIRY on a node with no pages at all (/dev/mapper/control is such a node).
/// What the recording itself shows to be missing from it is journaled as unanswered: a command, a
/// page that the device's page 0x00 lists, the standard INQUIRY of a device that has pages, the
/// listing of a directory that something in the recording lies in.
///
/// What is recorded may be written unless its error says otherwise. A block device that is open
/// exclusively is refused to a second exclusive open of its number, as the kernel does it; that a
/// disk is claimed with its partitions is not known here.
///
/// Safe for any number of threads.
class RecordedHost : public host::Host {
  public:
    /// The journal must outlive the host.
    RecordedHost(RecordedHostData data, Journal& journal);
    /// One of several hosts of one recording: each goes through the answers on its own.
    RecordedHost(Journal& journal, std::shared_ptr<const RecordedTree> tree);

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    host::ReadResult readFile(const std::string& path) override;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override;
    bool pathExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    host::DirectoryListing listDirectory(const std::string& path) override;
    int readLink(const std::string& path, std::string& target) override;
    int deviceNumber(const std::string& path, host::DeviceNumber& number) override;
    int writeAccess(const std::string& path) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int runShell(const std::string& line) override;
    int openSemaphore(int key, int count, int flags) override;
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override;
    int semaphoreUser(int identifier) override;
    std::string kernelRelease() override;
    int hostName(std::string& name) override;
    void sleepSeconds(unsigned seconds) override;

    /// How many descriptors are open: what a test asserts to be 0 at the end.
    std::size_t openDescriptors() const;

  private:
    struct Open {
        const RecordedTree::Node* node = nullptr;
        bool isExclusive = false;
    };
    struct Answers {
        std::vector<const RecordedCommand*> inOrder;
        std::size_t next = 0;
    };

    const RecordedTree::Node* nodeOf(int descriptor) const;
    const RecordedPage* findPage(const RecordedTree::Node& node, bool evpd, std::uint8_t code,
                                 int& error);
    /// Whether an exclusive open is refused; the mutex is held.
    bool isClaimed(const RecordedDevice& device) const;

    Journal& m_journal;
    const std::shared_ptr<const RecordedTree> m_tree;
    std::unordered_map<std::string, Answers> m_commands;
    Semaphores m_semaphores;

    mutable std::mutex m_mutex;  // guards what follows and the place in each command's answers
    std::unordered_map<int, Open> m_descriptors;
    int m_nextDescriptor;
};

}  // namespace recording

#endif
