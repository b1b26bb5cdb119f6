#ifndef SCSITOOL_DMP_DMP_POWERPATH_H
#define SCSITOOL_DMP_DMP_POWERPATH_H

#include "scsitool/dmp/dmp_discovery_base.h"
#include "scsitool/host/export.h"

/// The multipath module of PowerPath. Used by one thread at a time.
class SCSITOOL_EXPORT CDmpPowerPathDiscovery : public CDmpDiscoveryBase {
  public:
    CDmpPowerPathDiscovery();
    ~CDmpPowerPathDiscovery() override;

    /// Adds every emcpower node under /dev/ with claim level 16, but the control node and the
    /// partitions. Gives 0.
    int enumerateDmpDevices(DeviceMap& devices) override;
    /// Runs /sbin/powermt check, release, config and save, each for at most 600 seconds; a failure
    /// is traced and does not stop the sequence. Runs nothing where powermt is missing. Gives 0.
    int rescan() override;
};

#endif
