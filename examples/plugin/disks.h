#ifndef PLUGIN_DISKS_H
#define PLUGIN_DISKS_H

#include <map>
#include <memory>
#include <string>

#include "scsitool/kit/trace_log.h"

namespace plugin {

/// What the plug-in answers its own caller: how much of the host's disks it knows. An empty list
/// has a reason each time, and another thing to do about it.
enum class Result {
    kComplete = 0,          ///< every disk has a UDID
    kPartial = 1,           ///< some have, others have not
    kNoDisk = 10,           ///< this host has no SCSI disk
    kNoRight = 11,          ///< there are disks, and this process may not ask them
    kNothingAnswered = 12,  ///< there are disks, and none of them answers
    kFailed = 20,           ///< they could not be enumerated
};

struct Disks {
    Result result = Result::kFailed;
    std::map<std::string, std::string> udids;  ///< device node to UDID
    std::map<std::string, std::string>
        without;  ///< of a disk that has none: its node to the reason
};

/// Finds the disks of the host that is current on this thread. The library's trace lines up to the
/// level go to the sink.
Disks findDisks(const std::shared_ptr<qzfi_pdk_4_4::CFiTraceSink>& sink, int level);

/// What a result means and what to do, for a person.
const char* explain(Result result);

}  // namespace plugin

#endif
