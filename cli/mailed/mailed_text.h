#ifndef SCSITOOL_CLI_MAILED_MAILED_TEXT_H
#define SCSITOOL_CLI_MAILED_MAILED_TEXT_H

#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"

namespace cli::mailed {

/// One device of which somebody mailed pages.
struct MailedDevice {
    std::string name;  ///< the node as the text names it; empty where it does not
    recording::RecordedDevice device;
};

/// Puts together what somebody mailed, in one text or several: dumps of pages in any form that a
/// person or a tool writes (dump_reader.h), or the bytes of pages themselves.
class MailedTexts {
  public:
    /// Takes a text. `name` stands for it in remarks.
    void add(const std::string& text, const std::string& name);

    /// In the order in which they were found. A page that is given again with other bytes begins
    /// another device, and so does another name.
    const std::vector<MailedDevice>& devices() const { return m_devices; }
    /// What was left out and why.
    const std::vector<std::string>& remarks() const { return m_remarks; }

  private:
    void addBinary(const std::string& text, const std::string& name);
    void addPages(const std::vector<std::uint8_t>& bytes, const std::string& device,
                  const std::string& place);
    void addReply(const std::vector<std::uint8_t>& bytes, const std::string& device);
    void remark(const std::string& text);
    MailedDevice& deviceFor(const std::string& name);

    std::vector<MailedDevice> m_devices;
    std::vector<std::string> m_remarks;
};

}  // namespace cli::mailed

#endif
