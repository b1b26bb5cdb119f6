#include "recording/guard/rules/trusted_address.h"

#include "recording/guard/kernel/kernel_tables.h"

namespace recording::guard {
namespace {

constexpr unsigned kHighest = 255;
constexpr std::size_t kScannedDigits = 2;

std::string untrusted(const std::string& why) {
    return "not safely told from another one: " + why;
}

// A long LUN of the table whose first two digits are the address's.
bool isCutFrom(const ScsiAddress& address, const TableAddress& listed) {
    return listed.host == std::to_string(address.host) &&
           listed.channel == std::to_string(address.channel) &&
           listed.target == std::to_string(address.target) && listed.lun.size() > kScannedDigits &&
           listed.lun.substr(0, kScannedDigits) == std::to_string(address.lun);
}

}  // namespace

std::string whyNotTrusted(Evidence& evidence, const ScsiAddress& address) {
    if (address.host > kHighest) {
        return untrusted("the kernel's address word has eight bits of the host number");
    }
    if (address.lun > kHighest) {
        return untrusted("the kernel's address word has eight bits of the LUN");
    }
    for (const TableAddress& listed :
         parseScsiTable(evidence.file("/proc/scsi/scsi").value_or(""))) {
        if (isCutFrom(address, listed)) {
            return untrusted("the inventory takes two characters of a LUN, and there is LUN " +
                             listed.lun);
        }
    }
    return {};
}

}  // namespace recording::guard
