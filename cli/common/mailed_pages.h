#ifndef SCSITOOL_CLI_COMMON_MAILED_PAGES_H
#define SCSITOOL_CLI_COMMON_MAILED_PAGES_H

#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"
#include "scsitool/scsi/device_scsi_data.h"

namespace cli {

/// Pages that somebody mailed, as one disk of a host that has nothing else.
class MailedPages {
  public:
    /// Reads "PAGE=FILE" for each page: "std", a VPD page code of two hexadecimal digits, or the
    /// command block of a vendor-specific command for the reply to it. The files are those of this
    /// machine. Page 00 is made of the pages given unless it is given itself. Throws UsageError for
    /// an argument or a file that is wrong, and when the standard INQUIRY data is not there.
    explicit MailedPages(const std::vector<std::string>& arguments);

    /// The name under which the disk is found.
    static const char* deviceName();
    recording::RecordedHostData host() const;

    /// What was made up and what does not fit together, one line each; `record` is what the host's
    /// disk was read into.
    std::vector<std::string> remarks(const CScsiDeviceData& record) const;

  private:
    void add(const std::string& argument);
    void makePageList();

    recording::RecordedDevice m_device;
    bool m_madePageList = false;
};

}  // namespace cli

#endif
