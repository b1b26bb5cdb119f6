#ifndef SCSITOOL_DISCOVERY_DEVICE_RECORDS_H
#define SCSITOOL_DISCOVERY_DEVICE_RECORDS_H

#include <memory>
#include <string>
#include <vector>

#include "discovery/operation.h"
#include "scsitool/scsi/scsi_device_handle.h"

namespace discovery {

using RecordPointer = std::unique_ptr<CScsiDeviceData>;

/// A record of which nothing is known yet but its name.
RecordPointer newRecord(const std::string& deviceName, const std::string& hostName);

/// A record of a multipath pseudo-device.
RecordPointer pseudoRecord(const std::string& path, const SDeviceInfo& info,
                           const std::string& hostName);

/// Appends a record to a list of owned records, which then owns it.
void append(std::vector<CScsiDeviceData*>& devices, RecordPointer record);

/// Opens a record's device and tells whether that went well. The handle is one without a trace log:
/// that a device does not open is told by the enumeration alone.
bool opens(const Operation& operation, CScsiDeviceHandle& handle, CScsiDeviceData& record);

/// What gethostname(2) does with a buffer of 255 bytes: a name that does not fit into it together
/// with its NUL is cut and refused. False when the name was refused or cannot be read.
bool readHostName(const Operation& operation, std::string& name);

}  // namespace discovery

#endif
