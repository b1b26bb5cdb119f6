#ifndef SCSITOOL_RECORDING_GUARD_REFUSAL_H
#define SCSITOOL_RECORDING_GUARD_REFUSAL_H

#include <string>

namespace recording {

/// Why an effect was refused.
struct Refusal {
    std::string device;  ///< what it would have taken: a node, an address, a map, the script
    std::string reason;  ///< reads behind "DEVICE is": "mounted at /data"
    std::string risk;    ///< what it would do here all the same: "what is not written yet is lost"
};

}  // namespace recording

#endif
