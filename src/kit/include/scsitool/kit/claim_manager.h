#ifndef SCSITOOL_KIT_CLAIM_MANAGER_H
#define SCSITOOL_KIT_CLAIM_MANAGER_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/kit/smart_ptr.h"
#include "scsitool/kit/trace_log.h"

namespace qzfi_pdk_4_4 {

/// A module that claims devices for a layer above the disks (a volume manager, say). A module
/// belongs to whoever created it and outlives the manager it is registered with.
class SCSITOOL_EXPORT CDmpDeviceClaimBase : public CFiTraceable {
  public:
    CDmpDeviceClaimBase();
    ~CDmpDeviceClaimBase() override;
    /// Tells whether this module claims the device with this name.
    virtual bool claim(const std::string& deviceName) = 0;
    /// The text under which the module claims.
    virtual std::string claimString() const = 0;
};

/// Device claims and partition names.
///
/// A partition is told by its name alone; nothing is asked of the host. Names may carry a
/// directory. These are partitions:
///   - "sda1": letters behind sd, hd, vd, xvd, dasd or emcpower, then the number;
///   - "nvme0n1p2", "mpath1p1": a disk that ends in a digit, then "p" and the number;
///   - "mpathap1" and any other name under "/dev/mapper/" that ends in "p" and a number, "mpatha1"
///     (how older tools name the partitions of mpatha) and "mpathp1" (mpathp is a map);
///   - "mpatha-part1", the form of the by-id links, behind any disk.
/// The number is written without leading zeros and starts at 1. "sr0", "dm-3", "mpath1" and
/// "/dev/mapper/data1" are whole devices.
///
/// No operation has an effect on the host. One object is used by one thread at a time.
class SCSITOOL_EXPORT CDmpClaimManager {
  public:
    CDmpClaimManager();
    virtual ~CDmpClaimManager();
    CDmpClaimManager(const CDmpClaimManager&) = delete;
    CDmpClaimManager& operator=(const CDmpClaimManager&) = delete;

    /// Appends a claim module and gives it the trace log; null is ignored. The module is not owned.
    virtual void registerClaimModule(CDmpDeviceClaimBase* module);
    /// Stores the trace log for the claim lines and gives it to the modules.
    virtual void registerTraceLog(CFiSmartPtr<CFiTraceLog>& log);
    /// The claim texts of the registered modules, in the order of registration.
    virtual std::vector<std::string> getDeviceClaimStrings();
    /// Tells whether a registered module claims the device. Modules are asked in the order of
    /// registration up to the first that does, which is traced at level 6.
    virtual bool claim(const std::string& deviceName);
    /// Tells whether the name denotes a partition rather than a whole disk.
    virtual bool isPartition(const std::string& deviceName);
    /// The partition's name, formed from a whole disk's name and a partition number: a "p" stands
    /// between them behind a digit and for device-mapper maps. The number 0 stands for the whole
    /// disk, whose name comes back unchanged, as an empty name does.
    virtual std::string appendPartitionSuffix(const std::string& deviceName,
                                              unsigned int partition);
    /// The whole disk's name of a partition, whose number goes to `partition`; a name that is no
    /// partition comes back unchanged with the number 0.
    virtual std::string removePartitionSuffix(const std::string& deviceName,
                                              unsigned int& partition);
    /// Forgets the LVM device names that were gathered for claims; this kit gathers none.
    virtual void clearLvmDeviceNameList();

  private:
    CFiSmartPtr<CFiTraceLog> m_claimTraceLog;
    std::vector<CDmpDeviceClaimBase*> m_modules;
};

}  // namespace qzfi_pdk_4_4

#endif
