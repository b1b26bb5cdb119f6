#ifndef SCSITOOL_RECORDING_CAPTURE_RECORDING_HOST_H
#define SCSITOOL_RECORDING_CAPTURE_RECORDING_HOST_H

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"
#include "scsitool/host/forwarding_host.h"

namespace recording {

/// What of one answer is recorded at most; the rest is said in the remarks.
struct RecordingLimits {
    std::size_t file = std::size_t{16}
                       << 20;  ///< bytes; a larger file is recorded as one whose read fails (EFBIG)
    std::size_t names = 262144;                      ///< of a directory
    std::size_t outputBytes = std::size_t{4} << 20;  ///< of one run of a command
    std::size_t answers = 1000;                      ///< runs of one command
    std::size_t response = std::size_t{1} << 20;     ///< bytes of an SG_IO response
};

/// Passes everything on to another host and writes down what was asked and answered, failures
/// included, in the form that `RecordedHost` answers from.
///
/// A device, file, directory or link has one answer in a recording. It is the first that is no
/// failure: a disk tells a unit attention once, and the answer behind it is what the disk says. A
/// command has all its answers, in order. Of an INQUIRY response the longest is kept. A request
/// that the device ended with another status than GOOD is a failure, with its sense data; so is one
/// that the host adapter could not deliver.
///
/// What only exists is asked for once more, whether it is a directory, and a directory is listed:
/// a recording knows a path by what it is. What was looked for in vain is recorded as a file with
/// ENOENT, so that it can be told from what nobody looked for.
///
/// Safe for any number of threads.
class RecordingHost : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one.
    explicit RecordingHost(host::Host& inner, const RecordingLimits& limits = {})
        : ForwardingHost(inner), m_limits(limits) {}

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    int deviceSize(int descriptor, std::uint64_t& bytes) override;
    host::ReadResult readFile(const std::string& path) override;
    bool pathExists(const std::string& path) override;
    bool isDirectory(const std::string& path) override;
    host::DirectoryListing listDirectory(const std::string& path) override;
    int readLink(const std::string& path, std::string& target) override;
    int deviceNumber(const std::string& path, host::DeviceNumber& number) override;
    int writeAccess(const std::string& path) override;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    std::string kernelRelease() override;
    int hostName(std::string& name) override;

    /// Everything so far.
    RecordedHostData data() const;
    /// What could not be recorded as it was, one line each, in the order of the alphabet.
    std::vector<std::string> remarks() const;

  private:
    /// What is known of a device node beyond what a recording holds of it.
    struct Node {
        RecordedDevice device;
        bool opened = false;         ///< in some mode
        bool openedToWrite = false;  ///< for reading and writing
    };

    Node* nodeOf(int descriptor);
    static RecordedDevice deviceOf(const Node& node);
    void addAbsent(RecordedHostData& data) const;
    /// Tells whether a path or a command can be written down; says so once where it cannot.
    bool isWritable(const std::string& text);
    void remark(const std::string& text) { m_remarks.insert(text); }
    void noteOpen(const std::string& path, host::OpenMode mode, int result);
    void notePage(Node& node, bool evpd, std::uint8_t code, const RecordedPage& answer);
    void noteFile(const std::string& path, const host::ReadResult& result);
    void noteListing(const std::string& path, const host::DirectoryListing& listing);
    void noteCommand(const std::string& command, const host::CommandResult& result);

    const RecordingLimits m_limits;
    mutable std::mutex m_mutex;
    std::map<int, std::string> m_descriptors;
    std::map<std::string, Node> m_nodes;
    std::map<std::string, RecordedFile> m_files;
    std::map<std::string, std::vector<std::string>> m_directories;  // without the last "/"
    std::map<std::string, int> m_directoryErrors;
    std::map<std::string, std::string> m_links;
    std::set<std::string> m_present;
    std::set<std::string> m_absent;
    std::vector<std::string> m_commandOrder;
    std::map<std::string, std::vector<RecordedCommand>> m_commands;
    std::optional<std::string> m_hostName = "localhost";
    std::string m_kernelRelease = "5.10.0";
    std::set<std::string> m_remarks;
};

}  // namespace recording

#endif
