#ifndef SCSITOOL_RECORDING_REDACTION_HOST_COLLECTION_H
#define SCSITOOL_RECORDING_REDACTION_HOST_COLLECTION_H

#include "recording/redaction/secret_table.h"
#include "recording/replay/recorded_host_data.h"

namespace recording {

/// Adds everything that a redaction of a host replaces.
void collectSecrets(const RecordedHostData& data, SecretTable& table);

}  // namespace recording

#endif
