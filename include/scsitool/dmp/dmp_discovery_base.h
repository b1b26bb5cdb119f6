#ifndef SCSITOOL_DMP_DMP_DISCOVERY_BASE_H
#define SCSITOOL_DMP_DMP_DISCOVERY_BASE_H

#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"

/// A multipath module: knows the pseudo-devices of one multipath layer. Used by one thread at a
/// time.
class SCSITOOL_EXPORT CDmpDiscoveryBase : public qzfi_pdk_4_4::CFiTraceable {
  public:
    CDmpDiscoveryBase();
    ~CDmpDiscoveryBase() override;

    /// Adds one entry for each pseudo-device, keyed by its path; an entry under the same key is
    /// replaced. Gives 0 for success.
    virtual int enumerateDmpDevices(DeviceMap& devices) = 0;
    /// Asks the multipath layer to refresh its devices; an effect on the host. Gives 0 for
    /// success.
    virtual int rescan() = 0;
};

#endif
