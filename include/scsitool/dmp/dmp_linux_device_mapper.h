#ifndef SCSITOOL_DMP_DMP_LINUX_DEVICE_MAPPER_H
#define SCSITOOL_DMP_DMP_LINUX_DEVICE_MAPPER_H

#include <string>
#include <vector>

#include "scsitool/dmp/dmp_discovery_base.h"
#include "scsitool/host/export.h"

/// The multipath module of the Linux device mapper. Used by one thread at a time.
class SCSITOOL_EXPORT CDmpLinuxDeviceMapper : public CDmpDiscoveryBase {
  public:
    CDmpLinuxDeviceMapper();
    ~CDmpLinuxDeviceMapper() override;

    /// Adds every entry of /dev/mapper/ with claim level 16, but those that end in "p" and one
    /// digit (a partition map) and those with a "-" (maps of other kinds). The entries ".", ".."
    /// and "control" are added as well. Gives 0.
    int enumerateDmpDevices(DeviceMap& devices) override;
    /// Runs "/sbin/multipath -v0 " for at most 600 seconds and gives its result: 0, 5 timed out,
    /// 11 any other failure.
    int rescan() override;
    /// The entries of a directory whose names contain the pattern, as directory followed by name:
    /// the directory must end in "/".
    std::vector<std::string> readDir(std::string directory, std::string pattern);
};

#endif
