#ifndef SCSITOOL_CLI_HOSTS_ANSWER_WATCH_H
#define SCSITOOL_CLI_HOSTS_ANSWER_WATCH_H

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include "recording/guard/kernel/answering.h"
#include "scsitool/host/forwarding_host.h"

namespace cli {

/// What became of a device while somebody else asked it.
struct SeenAnswer {
    std::optional<int> openResult;  ///< of the last open: 0 or a negated errno; none: never opened
    std::optional<int> inquiryResult;  ///< of the last standard INQUIRY; none: never sent
    recording::guard::Answer answer;   ///< what it said to that
    /// The first failure behind that: of the address request, or a page that did not come in time.
    /// A negated errno, 0 for none.
    int laterError = 0;
    /// The first page that did not come although the device has it, or the controller's reply, and
    /// why: "page 0x80: SCSI status 8"; empty for none.
    std::string missingPage;
};

/// Looks on while disks are enumerated and takes down how each open and each request ended, which
/// the enumeration tells nobody. A disk that does not answer is thereby not asked (and
/// waited for) twice. For one thread.
class AnswerWatch : public host::ForwardingHost {
  public:
    /// The inner host must outlive this one.
    explicit AnswerWatch(host::Host& inner) : ForwardingHost(inner) {}

    int openDevice(const std::string& path, host::OpenMode mode) override;
    int closeDevice(int descriptor) override;
    int sendCommand(int descriptor, host::CommandBuffer& buffer) override;
    int sgIo(int descriptor, host::SgIoRequest& request) override;
    int addressWords(int descriptor, host::AddressWords& words) override;

    /// What was seen of a device, by the path it was opened by; nothing of one that was not.
    const SeenAnswer& seen(const std::string& path) const;

  private:
    void noteLater(int descriptor, int result);
    static void noteMissing(SeenAnswer& seen, unsigned page, const std::string& why);

    std::unordered_map<int, std::string> m_open;  // descriptor to path
    std::unordered_map<std::string, SeenAnswer> m_seen;
};

}  // namespace cli

#endif
