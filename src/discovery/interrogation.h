#ifndef SCSITOOL_DISCOVERY_INTERROGATION_H
#define SCSITOOL_DISCOVERY_INTERROGATION_H

#include <vector>

#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/scsitoolbase.h"
#include "tools/trace.h"

namespace discovery {

/// What an interrogation traces. In `announcement` and `failure` the disk's name and a full stop
/// follow the text.
struct InterrogationWords {
    const char* announcement;  ///< at level 6 before a disk is asked; null for none
    const char* failure;       ///< at level 3 of a disk that did not answer
    const char* exception;     ///< at level 1 after an exception
};

/// Has the tool ask every disk. One that does not answer stays, whatever the words say: the factory
/// acts on its state.
void askAll(const std::vector<CScsiDeviceData*>& devices, CScsiToolBase& tool,
            const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log,
            const InterrogationWords& words);

/// Lists disks with `enumerate` and has the tool ask every one of them. Never throws: after an
/// exception the list holds what there was by then, all of it when asking threw. The records are
/// the caller's.
template <class Enumerate>
std::vector<CScsiDeviceData*> interrogate(
    const Enumerate& enumerate, CScsiToolBase& tool,
    const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log,
    const InterrogationWords& words) {
    std::vector<CScsiDeviceData*> devices;
    try {
        devices = enumerate();
        askAll(devices, tool, log, words);
    } catch (...) {
        tools::traceTo(log, 1, "%s", words.exception);
    }
    return devices;
}

}  // namespace discovery

#endif
