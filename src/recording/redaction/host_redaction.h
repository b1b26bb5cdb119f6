#ifndef SCSITOOL_RECORDING_REDACTION_HOST_REDACTION_H
#define SCSITOOL_RECORDING_REDACTION_HOST_REDACTION_H

#include <stdexcept>
#include <string>
#include <vector>

#include "recording/redaction/keyed_hash.h"
#include "recording/replay/recorded_host_data.h"

namespace recording {

/// A recording in which something of the original is still found.
class RedactionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// A recording that can be given away.
struct RedactedHost {
    RecordedHostData data;
    std::vector<std::string> remarks;  ///< those that were handed in
};

/// The same host under other names. Serial numbers, binary names (NAA, EUI-64), iSCSI names, IP and
/// MAC addresses, UUIDs, the names of host, maps, volume groups and directories are replaced:
/// consistently in every form (text, bytes, hexadecimal digits with and without separators), with
/// their lengths and alphabets; see docs/recorded-host.md. Vendor, product, firmware, sizes, SCSI
/// addresses and what the kernel numbers stay. In the tables of mounts only what lies on devices is
/// kept, and of their options only whether it may be written.
///
/// The key decides what comes of it and is not kept; the same key gives the same result. Throws
/// RedactionError when something of the original is still there, which another key may mend.
RedactedHost redactHost(const RecordedHostData& data, const std::vector<std::string>& remarks,
                        const RedactionKey& key);

}  // namespace recording

#endif
