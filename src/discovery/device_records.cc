#include "discovery/device_records.h"

#include "scsi/opened_on.h"

namespace discovery {

RecordPointer newRecord(const std::string& deviceName, const std::string& hostName) {
    const std::string none;
    return std::make_unique<CScsiDeviceData>(deviceName, none, hostName, 0, 0, 0, -1, none, none,
                                             none, 0);
}

RecordPointer pseudoRecord(const std::string& path, const SDeviceInfo& info,
                           const std::string& hostName) {
    RecordPointer record = newRecord(path, hostName);
    record->m_dmpClaimLevel = info.dmpClaimLevel;
    record->m_busType = 1;
    record->m_multipath = 1;
    return record;
}

void append(std::vector<CScsiDeviceData*>& devices, RecordPointer record) {
    // Released once the list has grown: no record is lost when it cannot.
    devices.push_back(record.get());
    static_cast<void>(record.release());
}

bool opens(const Operation& operation, CScsiDeviceHandle& handle, CScsiDeviceData& record) {
    return scsi::HostOfHandle::openOn(operation.host, handle, record, true) != -1;
}

bool readHostName(const Operation& operation, std::string& name) {
    constexpr std::size_t kHostNameSize = 255;
    if (operation.host.hostName(name) < 0) {
        name.clear();
        return false;
    }
    if (name.size() < kHostNameSize) {
        return true;
    }
    name.resize(kHostNameSize - 1);
    return false;
}

}  // namespace discovery
