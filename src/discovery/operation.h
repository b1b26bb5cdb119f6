#ifndef SCSITOOL_DISCOVERY_OPERATION_H
#define SCSITOOL_DISCOVERY_OPERATION_H

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/host.h"

namespace discovery {

/// The source that Linux discovery names in its function traces.
inline constexpr char kTraceSource[] = "device_discovery_linux";

using TraceLog = qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>;

/// One operation of Linux discovery in progress, with the host in hand. The published operation
/// asks for the current host once and hands it on; the steps below never ask.
struct Operation {
    /// The log and the tool of the discovery at work.
    Operation(const TraceLog& traceLog, CScsiTool& scsiTool)
        : host(host::current()), log(traceLog), tool(scsiTool) {}

    host::Host& host;
    const TraceLog& log;
    CScsiTool& tool;  ///< decodes wait statuses, in lines of its own log
};

}  // namespace discovery

#endif
