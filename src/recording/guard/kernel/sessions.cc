#include "recording/guard/kernel/sessions.h"

#include <strings.h>

#include "recording/guard/kernel/kernel_tables.h"

namespace recording::guard {
namespace {

constexpr const char* kSessions = "/sys/class/iscsi_session/";
constexpr const char* kTarget = "target";

}  // namespace

std::vector<ScsiAddress> addressesOfSessions(Evidence& evidence, const std::string& target) {
    std::vector<ScsiAddress> addresses;
    for (const std::string& session : evidence.list(kSessions).value_or(Evidence::Names())) {
        const std::string folder = kSessions + session + "/";
        const std::string name =
            trimmed(evidence.file(folder + "targetname", Need::kMustExist).value_or(""));
        if (!target.empty() && ::strcasecmp(name.c_str(), target.c_str()) != 0) {
            continue;
        }
        const std::string device = folder + "device/";
        for (const std::string& entry :
             evidence.list(device, Need::kMustExist).value_or(Evidence::Names())) {
            if (entry.compare(0, std::string(kTarget).size(), kTarget) != 0) {
                continue;
            }
            for (const std::string& unit :
                 evidence.list(device + entry + "/").value_or(Evidence::Names())) {
                if (const auto address = parseAddress(unit)) {
                    addresses.push_back(*address);
                }
            }
        }
    }
    return addresses;
}

}  // namespace recording::guard
