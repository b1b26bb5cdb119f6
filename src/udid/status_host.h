#ifndef SCSITOOL_UDID_STATUS_HOST_H
#define SCSITOOL_UDID_STATUS_HOST_H

#include <map>
#include <string>

#include "scsitool/host/forwarding_host.h"
#include "udid/status_notes.h"

namespace udid {

/// Passes everything on and notes how opens, requests to devices and lists of devices ended. For
/// one thread.
class StatusHost : public host::ForwardingHost {
  public:
    /// Both outlive this one.
    StatusHost(host::Host& inner, StatusNotes& notes) : ForwardingHost(inner), m_notes(notes) {}

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int addressWords(int descriptor, host::AddressWords& words) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    host::ReadResult readFile(const std::string& path) override;
    host::DirectoryListing listDirectory(const std::string& path) override;

  private:
    const std::string& nameOf(int descriptor) const;

    StatusNotes& m_notes;
    std::map<int, std::string> m_open;  // descriptor to path
};

}  // namespace udid

#endif
