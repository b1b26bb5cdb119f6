#ifndef SCSITOOL_CLI_COMMON_MAILED_PAGES_H
#define SCSITOOL_CLI_COMMON_MAILED_PAGES_H

#include <string>
#include <vector>

#include "cli/mailed/mailed_text.h"
#include "recording/replay/recorded_host_data.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/explanation.h"

namespace cli {

/// Pages that somebody mailed, as one disk of a host that has nothing else.
class MailedPages {
  public:
    /// Reads "PAGE=FILE" for each page: "std", a VPD page code of two hexadecimal digits, or the
    /// command block of a vendor-specific command for the reply to it. The files are those of this
    /// machine. Page 00 is made of the pages given unless it is given itself. Throws UsageError for
    /// an argument or a file that is wrong, and when the standard INQUIRY data is not there.
    explicit MailedPages(const std::vector<std::string>& arguments);
    /// A device whose pages were found in a text; the standard INQUIRY data is there.
    explicit MailedPages(const mailed::MailedDevice& mailed);

    /// The name under which the disk is found.
    const std::string& deviceName() const { return m_name; }
    recording::RecordedHostData host() const;

    /// What was made up, what does not fit together and what is missing, one line each; `record` is
    /// what the host's disk was read into.
    std::vector<std::string> remarks(const CScsiDeviceData& record,
                                     const udid::Explanation& explanation) const;

  private:
    void add(const std::string& argument);
    void makePageList();
    void remarkMissing(const udid::Explanation& explanation,
                       std::vector<std::string>& remarks) const;
    bool lists(unsigned code) const;

    recording::RecordedDevice m_device;
    std::string m_name;
    bool m_isNamed = false;  ///< by the text that the pages stood in
    bool m_madePageList = false;
};

}  // namespace cli

#endif
