#ifndef SCSITOOL_UDID_DEVICE_UDID_FACTORY_H
#define SCSITOOL_UDID_DEVICE_UDID_FACTORY_H

#include <memory>
#include <string>
#include <vector>

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/dmp/dmp_discovery_manager.h"
#include "scsitool/host/export.h"
#include "scsitool/kit/trace_log.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/device_udid_generator.h"

class CUDIDFactory;

namespace udid {
struct Account;
SCSITOOL_EXPORT Account account(CUDIDFactory& factory, const CScsiDeviceData& record);
}  // namespace udid

/// The library's main entry point: finds the host's SCSI disks and computes for each a Unique
/// Device ID. It works on the host that is current on the calling thread. The factory takes no
/// lock of its own: one factory is used by one thread at a time. A generator that fails with a
/// CUdidGeneratorException never ends an enumeration; any other exception of a generator passes to
/// the caller. An argument may refer into what the factory holds.
class SCSITOOL_EXPORT CUDIDFactory : public qzfi_pdk_4_4::CFiTraceable {
  public:
    /// Creates the generators in the order in which they are asked, the most specific first.
    CUDIDFactory();
    /// Frees the records and the TAQ generator. The others are not deleted: they stay, reachable.
    ~CUDIDFactory() override;
    CUDIDFactory(const CUDIDFactory&) = delete;
    CUDIDFactory& operator=(const CUDIDFactory&) = delete;

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

    /// The records of the last enumeration, in its order; the next one frees them.
    const std::vector<std::unique_ptr<CScsiDeviceData>>& records() const { return m_devices; }
    /// The device map of the last enumeration.
    const DeviceMap& deviceMap() const { return m_deviceMap; }

    /// Has generators of the caller's own asked before the factory's, in the order given. They are
    /// not owned and must outlive the factory; register the trace log after this, so that they
    /// trace as well. Changes nothing on the host; no two threads may use one factory.
    void askFirst(const std::vector<CUdidGenerator*>& generators) {
        m_generators.insert(m_generators.begin(), generators.begin(), generators.end());
    }

    DeviceMap m_presetDeviceMap;  ///< UDIDs that the caller assigned, by device name

  private:
    friend udid::Account udid::account(CUDIDFactory& factory, const CScsiDeviceData& record);

    // A pointer that is no variable would take the base's operation and leave discovery and the
    // generators out: it does not compile.
    using qzfi_pdk_4_4::CFiTraceable::registerTraceLog;

    void enterDevice(CScsiDeviceData& device);
    bool tryGenerator(CUdidGenerator& generator, CScsiDeviceData& device, std::string& result);
    void traceNotFound(const std::string& deviceName);

    // The published order: a member between these belongs to the interface.
    DeviceMap m_deviceMap;
    std::vector<CUdidGenerator*> m_generators;  // not owned, see the destructor
    std::unique_ptr<CUdidGenerator> m_taqGenerator;
    std::vector<std::unique_ptr<CScsiDeviceData>> m_devices;

  public:
    bool m_taqMode;  ///< set by the caller for the TAQ snapshot method

  private:
    CLinuxDeviceDiscovery m_discovery;
    CDmpDiscoveryManager m_dmpManager;
};

#endif
