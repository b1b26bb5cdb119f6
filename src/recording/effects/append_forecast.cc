#include "recording/effects/append_forecast.h"

#include <cerrno>

namespace recording {

int forecastAppend(host::Host& host, const std::string& path) {
    // The kernel refuses to open a directory for writing before it looks at the rights.
    if (host.isDirectory(path)) {
        return EISDIR;
    }
    const int access = host.writeAccess(path);
    if (access < 0) {
        return -access;
    }
    host::DeviceNumber number;
    const int known = host.deviceNumber(path, number);
    if (known < 0) {
        return -known;
    }
    return number.kind == host::DeviceNumber::Kind::kNone ? 0 : EINVAL;
}

}  // namespace recording
