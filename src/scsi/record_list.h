#ifndef SCSITOOL_SCSI_RECORD_LIST_H
#define SCSITOOL_SCSI_RECORD_LIST_H

#include <memory>
#include <vector>

#include "scsitool/scsi/device_scsi_data.h"

namespace scsi {

using RecordList = std::vector<std::unique_ptr<CScsiDeviceData>>;

/// Takes the records that discovery hands to its caller.
inline RecordList owned(const std::vector<CScsiDeviceData*>& records) {
    RecordList list;
    try {
        list.reserve(records.size());
    } catch (...) {
        for (CScsiDeviceData* const record : records) {
            delete record;
        }
        throw;
    }
    for (CScsiDeviceData* const record : records) {
        list.emplace_back(record);
    }
    return list;
}

}  // namespace scsi

#endif
