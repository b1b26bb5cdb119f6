#ifndef SCSITOOL_CLI_HOSTS_MISSING_PAGES_H
#define SCSITOOL_CLI_HOSTS_MISSING_PAGES_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "scsitool/host/forwarding_host.h"

namespace cli {

/// Looks on while devices are asked and keeps which VPD pages did not come although the device
/// lists them, which lists of pages did not, and which controllers' replies. The library makes a
/// UDID of what came: without the serial number of page 0x80 it is another one, and nothing in it
/// says so. For one thread.
class MissingPages : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;

    /// Page codes with why they did not come; udid::kControllerReply is one of them.
    using Pages = std::map<unsigned, std::string>;
    /// By the path that a device was opened by, those that did not come the last time they were
    /// asked for. No device has an empty entry.
    const std::map<std::string, Pages>& missing() const { return m_missing; }

  private:
    struct Listing {
        std::string path;
        std::set<std::uint8_t> listed;  // since it was opened
    };

    void note(const std::string& path, unsigned page, const std::string& why);

    std::unordered_map<int, Listing> m_open;  // by descriptor
    std::map<std::string, Pages> m_missing;
};

}  // namespace cli

#endif
