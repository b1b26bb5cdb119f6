#ifndef SCSITOOL_TOOLS_WWPN_DISCOVERY_H
#define SCSITOOL_TOOLS_WWPN_DISCOVERY_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"

/// Reports the World Wide Port Names of the host's Fibre Channel ports (FC-FS). One object is used
/// by one thread at a time.
class SCSITOOL_EXPORT WWPN : public qzfi_pdk_4_4::CFiTraceable {
  public:
    WWPN();
    ~WWPN() override;

    /// The port names, in the order of the directory listings: the bare value from a driver's file
    /// under /proc/scsi (qla2xxx, qla2300, lpfc), else "NAME@@hostN" from sysfs. Empty when no
    /// source has one. Runs up to five listings of at most 600 seconds each. Never throws.
    std::vector<std::string> getWWPN();
};

#endif
