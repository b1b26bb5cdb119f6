#include "fault.h"

namespace faults {

std::string textOf(const Fault& fault) {
    return !fault.happened() ? "no fault"
                             : fault.call + (fault.of.empty() ? "" : " of " + fault.of) +
                                   (fault.isOutOfMemory ? std::string(", no memory")
                                                        : ", way " + std::to_string(fault.way));
}

}  // namespace faults
