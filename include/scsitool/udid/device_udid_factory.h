#ifndef SCSITOOL_UDID_DEVICE_UDID_FACTORY_H
#define SCSITOOL_UDID_DEVICE_UDID_FACTORY_H

#include <string>
#include <vector>

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/dmp/dmp_discovery_manager.h"
#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/device_udid_generator.h"

/// The library's main entry point: finds the host's SCSI disks and computes for each a Unique
/// Device ID. It works on the host that is current on the calling thread. The factory takes no
/// lock of its own: one factory is used by one thread at a time. A generator that fails with a
/// CUdidGeneratorException never ends an enumeration; any other exception of a generator passes to
/// the caller. An argument may refer into what the factory holds.
class SCSITOOL_EXPORT CUDIDFactory : public qzfi_pdk_4_4::CFiTraceable {
  public:
    /// Creates the generators in the order in which they are asked, the most specific first.
    CUDIDFactory();
    /// Frees the records and the TAQ generator. The other generators are not deleted.
    ~CUDIDFactory() override;
    CUDIDFactory(const CUDIDFactory&) = delete;
    CUDIDFactory& operator=(const CUDIDFactory&) = delete;

    using qzfi_pdk_4_4::CFiTraceable::registerTraceLog;
    /// Stores the trace log here and gives it to discovery, to both multipath managers and to
    /// every generator. Until then nothing is traced.
    virtual void registerTraceLog(qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log);

    /// Enumerates the host's disks and gives the device map, which is kept as well; the records of
    /// the former enumeration are freed. All five arguments go to CDeviceDiscoveryBase::rescan:
    /// `dropInvalid` has buses and multipath layer rescanned (an effect on the host) and leaves
    /// out records that are marked invalid, `busRescanFlag` and `busRescanArgument` go to the bus
    /// rescan, `ignoredFlag` is ignored, a non-empty `enumerateArgument` narrows the enumeration
    /// to the device of that name. A device whose UDID could not be computed has an empty uid; a
    /// UDID of 7 characters or less is kept with a warning. Takes the host-wide rescan lock.
    DeviceMap enumerateDeviceMap(bool dropInvalid, bool busRescanFlag, bool ignoredFlag,
                                 const std::string& enumerateArgument,
                                 const std::string& busRescanArgument);
    /// The UDID of one record: the preset one, the TAQ generator's in TAQ mode (whose exceptions
    /// pass), else that of the first generator that claims the record and does not fail, in upper
    /// case. When the claiming generators all failed, the prefix of the last one; empty when none
    /// claimed. The record's vendor and product may be trimmed.
    std::string getUniqueDeviceID(CScsiDeviceData* device);
    /// The UDID of a device by its name: the preset one, else that of an enumeration narrowed to
    /// the name. When that does not know the device, `rescanIfMissing` has the host rescanned and
    /// all devices enumerated once more. Empty for an unknown name.
    std::string getCachedUniqueDeviceID(const char* deviceName, bool rescanIfMissing);
    /// The device map of one named device. Neither the kept device map nor the records change, and
    /// the rescan lock is not taken.
    DeviceMap validateDeviceMap(std::string deviceName);
    /// Has the host drop stale devices, see CLinuxDeviceDiscovery::removeStaleDevices: 0 or 6.
    int removeStaleDevices(const std::string& scriptArguments);
    /// Removes a device-mapper map, see CLinuxDeviceDiscovery::removeDevice.
    void removeDevice(const std::string& deviceName);
    /// Frees the records of the last enumeration.
    void clearDeviceCache();
    /// Traces a device map at level 3, in key order.
    void printDeviceMap(const DeviceMap& devices);

    DeviceMap m_presetDeviceMap;  ///< UDIDs that the caller assigned, by device name
    DeviceMap m_deviceMap;        ///< the last enumeration
    std::vector<CUdidGenerator*> m_generators;
    CUdidGenerator* m_taqGenerator;           ///< owned
    std::vector<CScsiDeviceData*> m_devices;  ///< records of the last enumeration, owned
    bool m_taqMode;                           ///< set by the caller for the TAQ snapshot method
    CLinuxDeviceDiscovery m_discovery;
    CDmpDiscoveryManager m_dmpManager;

  private:
    void enterDevice(CScsiDeviceData& device);
    bool tryGenerator(CUdidGenerator& generator, CScsiDeviceData& device, std::string& result);
    void traceNotFound(const std::string& deviceName);
};

#endif
