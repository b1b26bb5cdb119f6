#ifndef SCSITOOL_RECORDING_REDACTION_MOUNT_TABLE_H
#define SCSITOOL_RECORDING_REDACTION_MOUNT_TABLE_H

#include <string>

#include "recording/redaction/secret_table.h"

namespace recording {

/// Adds the names in the mounts of devices, of a table in either form (proc(5): mounts, mountinfo).
void collectMounts(const std::string& table, SecretTable& secrets);

/// The mounts of devices under other names, with "rw" or "ro" as their options; other mounts (of
/// the network, of containers) are left out.
std::string redactedMounts(const std::string& table, const SecretTable& secrets);

}  // namespace recording

#endif
