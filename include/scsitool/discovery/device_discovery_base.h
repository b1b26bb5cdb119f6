#ifndef SCSITOOL_DISCOVERY_DEVICE_DISCOVERY_BASE_H
#define SCSITOOL_DISCOVERY_DEVICE_DISCOVERY_BASE_H

#include <string>
#include <vector>

#include "scsitool/dmp/dmp_discovery_manager.h"
#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/scsi/scsitool.h"

/// The part of device discovery that is the same on every operating system: takes the host-wide
/// lock, has the buses rescanned and the devices enumerated, and interrogates each. One object is
/// used by one thread at a time; the lock serialises the rescans of all processes of the host.
class SCSITOOL_EXPORT CDeviceDiscoveryBase : public qzfi_pdk_4_4::CFiTraceable {
  public:
    CDeviceDiscoveryBase();
    ~CDeviceDiscoveryBase() override;

    /// Stores the trace log here, in the SCSI tool and in the multipath manager.
    virtual void registerTraceLog(qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log);

    /// Removes every disk address that no record holds; here it does nothing.
    virtual void removeDeadDevices(std::vector<CScsiDeviceData*>& devices, bool removeLun0);
    /// Removes one device; here it does nothing.
    virtual void removeDevice(const std::string& devicePath);
    /// Flushes unused multipath maps; here it gives 0.
    virtual int FlushMultipathStaleDevices();
    /// Lists the host's disks, every one of them interrogated (CScsiToolBase::UpdateDevice), under
    /// the host-wide lock (System V semaphore, key 1001).
    /// `withBusRescan` has the buses and the multipath layer rescanned before;
    /// `busRescanFlag` and `busRescanArgument` go to `rescanScsiBus`, `enumerateArgument` to
    /// `enumerateDevices`; `ignoredFlag` is accepted and ignored. A disk that does not answer stays
    /// in the list. Never throws: after an exception the list holds what there was by then. The
    /// records are the caller's to delete.
    virtual std::vector<CScsiDeviceData*> rescan(bool withBusRescan, bool busRescanFlag,
                                                 bool ignoredFlag,
                                                 const std::string& enumerateArgument,
                                                 const std::string& busRescanArgument);
    /// Interrogates the one named device, without the lock; the list is empty when it cannot be
    /// opened. Never throws. The records are the caller's to delete.
    virtual std::vector<CScsiDeviceData*> validateDevice(std::string deviceName);
    /// Makes a record for every disk that can be opened, or for the named one.
    virtual std::vector<CScsiDeviceData*> enumerateDevices(const std::string& deviceName) = 0;
    /// Makes a record for the named device if it can be opened.
    virtual std::vector<CScsiDeviceData*> validateEnumerateDevices(std::string deviceName) = 0;
    /// Makes the kernel look for new logical units. Gives 0 for success.
    virtual int rescanScsiBus(bool flag, const std::string& scriptArguments) = 0;
    /// Has the host drop devices that are gone; here it gives 0.
    virtual int removeStaleDevices(const std::string& scriptArguments);

  protected:
    CScsiTool m_scsiTool;
    CDmpDiscoveryManager m_dmpDiscoveryManager;

  private:
    // A pointer that is no variable would take the base's operation and leave the tool and the
    // manager out: it does not compile.
    using qzfi_pdk_4_4::CFiTraceable::registerTraceLog;
};

#endif
