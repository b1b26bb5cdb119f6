#ifndef SCSITOOL_DISCOVERY_DEVICE_DISCOVERY_LINUX_H
#define SCSITOOL_DISCOVERY_DEVICE_DISCOVERY_LINUX_H

#include <map>
#include <string>
#include <vector>

#include "scsitool/discovery/device_discovery_base.h"
#include "scsitool/discovery/linux_scsi_device.h"
#include "scsitool/host/export.h"
#include "scsitool/scsi/device_scsi_data.h"

/// Device discovery on Linux. One object is used by one thread at a time.
class SCSITOOL_EXPORT CLinuxDeviceDiscovery : public CDeviceDiscoveryBase {
  public:
    CLinuxDeviceDiscovery();
    ~CLinuxDeviceDiscovery() override;

    // Enumeration.

    /// Records for the multipath pseudo-devices in map order, then for the whole disks of
    /// /proc/partitions in file order; a device that cannot be opened is left out. A non-empty
    /// name takes the pseudo-device and the disk of exactly that name. A disk that is a path of a
    /// pseudo-device has its own record. The records are the caller's to delete.
    std::vector<CScsiDeviceData*> enumerateDevices(const std::string& deviceName) override;
    /// One record for the name if it can be opened. The record is the caller's to delete.
    std::vector<CScsiDeviceData*> validateEnumerateDevices(std::string deviceName) override;
    /// Appends a record with its size in KB for every disk of /proc/partitions that can be opened.
    /// Gives 0, or 6 when there is no host name or no disk.
    int enumerateNativeDevicePathsExt(std::vector<CScsiDeviceData>& devices);
    /// The nodes of all whole SCSI disks of /proc/partitions; names are cut to 8 characters.
    /// Throws int 6 after any exception.
    std::vector<std::string> enumerateNativeDevicePaths();
    /// Tells whether a name is that of a whole SCSI disk: begins with "sd" and does not end in a
    /// digit. The empty name passes.
    bool IsValidDeviceName(const std::string& name);
    /// Measures a disk in units of 1,024 bytes, rounded down. Gives 0, or 25, 26 or 27 when the
    /// close, the open or the size request failed.
    int getDiskSize(const std::string& path, unsigned long& sizeKB);

    // The inventory of /proc/scsi/scsi.

    /// The addresses in /proc/scsi/scsi, in file order; `diskTypesOnly` keeps those of type
    /// "Direct-Access" and "Unknown". Empty where the file cannot be read.
    std::vector<SLinuxScsiDevice> getDeviceList(bool diskTypesOnly);
    /// The number of devices in /proc/scsi/scsi; 0 where it cannot be read.
    int getDeviceCount();
    /// Tells whether the list holds exactly this address.
    bool containsDevice(int host, int channel, int id, int lun,
                        const std::vector<SLinuxScsiDevice>& devices);
    /// Adds the target ids of each host adapter in order of appearance, each once; types
    /// "Direct-Access", "Unknown" and "RAID". Gives 0.
    int getTargetIds(std::map<int, std::vector<int>>& targets);
    /// Raises the highest LUN, target id and channel of every adapter that `maxLun` has a key for.
    /// Gives 0, or -1 when /proc/scsi/scsi cannot be read.
    int scanForAdapterMaximums(std::map<int, int>& maxLun, std::map<int, int>& maxId,
                               std::map<int, int>& maxChannel);
    /// Asks the kernel for every address that is not known yet, one channel, one target and
    /// fifteen LUNs beyond the maxima of each adapter; an effect on the host. Gives the number of
    /// devices afterwards.
    int scanForNewDevices(std::map<int, int>& maxLun, std::map<int, int>& maxId,
                          std::map<int, int>& maxChannel);

    // Bus rescan.

    /// Makes new logical units visible: on kernels 2.4 by QLogic rescans and probing, elsewhere by
    /// rescan-scsi-bus.sh with " --alltargets --issue-lip -d" and `scriptArguments` behind it
    /// (which begin with a blank). `flag` is not used. Gives 0, or 6 when the script is missing or
    /// failed.
    int rescanScsiBus(bool flag, const std::string& scriptArguments) override;
    /// The Fibre Channel adapters of a 2.4 kernel, driver name to host numbers.
    int GetHostAdapterList(std::map<std::string, std::vector<int>>& adapters);
    /// The entries of /sys/class/scsi_host.
    int GetHostAdapterList2_6(std::vector<std::string>& adapters);
    /// Has every QLogic adapter scan its loop, with a pause of 3 seconds after each.
    int RescanQlogicHBAs(std::map<std::string, std::vector<int>>& adapters);
    /// The rescan of 2.4 kernels. Always gives 0.
    int RescanScsiMidLayer2_4(std::map<std::string, std::vector<int>>& adapters);
    /// The rescan by script. Gives 0 or 6.
    int RescanScsiMidLayer2_6(const std::string& scriptArguments);
    /// Runs rescan-scsi-bus.sh from /bin or /usr/bin with these arguments (at most 600 seconds).
    /// Gives 0, or 6 when there is no script or it failed.
    int executeRescanScsiScript(const std::string& arguments);

    // Removal.

    /// Removes one SCSI address from the kernel and has the adapter look at the address again.
    /// Stops at the first file that cannot be opened; removes nothing without /proc/scsi/scsi.
    void RemoveDevice(int host, int channel, int id, int lun);
    /// Removes every disk address of /proc/scsi/scsi that no record holds (LUN 0 only when
    /// `removeLun0` is set), then rescans the buses. Records without an address are dropped from
    /// `devices` and not destroyed.
    void removeDeadDevices(std::vector<CScsiDeviceData*>& devices, bool removeLun0) override;
    /// Removes a device-mapper map ("/usr/sbin/dmsetup remove"); any other path is left alone.
    void removeDevice(const std::string& devicePath) override;
    /// Runs rescan-scsi-bus.sh with " --remove --flush -d" and `scriptArguments` behind it. Gives
    /// 0 or 6.
    int removeStaleDevices(const std::string& scriptArguments) override;
    /// Flushes unused multipath maps ("/sbin/multipath -F") when multipathd runs. Gives 0, the
    /// result of a failing /sbin/pidof, or 6 after an exception.
    int FlushMultipathStaleDevices() override;
};

#endif
