#ifndef SCSITOOL_CLI_HOSTS_ENUMERATION_WATCH_H
#define SCSITOOL_CLI_HOSTS_ENUMERATION_WATCH_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/host/forwarding_host.h"

namespace cli {

/// Something that an enumeration could not find out for a reason that is no proof of a dead disk.
struct EnumerationGap {
    std::string path;
    std::string reason;
};

/// Looks on while disks are enumerated and takes down what the enumeration does not tell its
/// caller: a list that could not be read, a disk that did not open for a reason of this host (its
/// rights, its limits, its /dev), a standard INQUIRY or an address request that failed. A disk that
/// the kernel says is gone (ENXIO, ENODEV) is no gap. For one thread.
class EnumerationWatch : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one. On a recorded host a node that is not there is merely
    /// not spoken of.
    EnumerationWatch(host::Host& inner, bool isLive) : ForwardingHost(inner), m_isLive(isLive) {}

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    host::ReadResult readFile(const std::string& path) override;
    host::DirectoryListing listDirectory(const std::string& path) override;

    const std::vector<EnumerationGap>& gaps() const { return m_gaps; }

  private:
    void noteAnswer(int descriptor, const char* what, int result);
    void note(const std::string& path, const std::string& what, int error);

    const bool m_isLive;
    std::map<int, std::string> m_disks;  // descriptor to path
    std::vector<EnumerationGap> m_gaps;
};

}  // namespace cli

#endif
