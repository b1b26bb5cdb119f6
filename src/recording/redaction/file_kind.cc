#include "recording/redaction/file_kind.h"

#include <algorithm>
#include <vector>

#include "recording/redaction/words.h"

namespace recording {
namespace {

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool isPlainAttribute(const std::string& name) {
    static const std::vector<std::string> kNames = {
        "access_state",   "dev",       "device_blocked", "inquiry_status", "model",   "partition",
        "preferred_path", "proc_name", "queue_depth",    "range",          "rev",     "ro",
        "scsi_level",     "size",      "start",          "state",          "timeout", "type",
        "vendor"};
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

}  // namespace

std::string baseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

FileKind kindOf(const std::string& path) {
    const std::string name = baseName(path);
    if (path == "/proc/partitions" || path == "/proc/scsi/scsi" || path == "/proc/devices" ||
        (startsWith(path, "/sys/") && isPlainAttribute(name))) {
        return FileKind::kPlain;
    }
    if (startsWith(path, "/proc/") && (name == "mountinfo" || name == "mounts")) {
        return FileKind::kMounts;
    }
    if (startsWith(path, "/sys/") && name == "inquiry") {
        return FileKind::kInquiry;
    }
    if (startsWith(name, "vpd_pg") && isHex(name.substr(6)) && name.size() == 8) {
        return FileKind::kPage;
    }
    if (endsWith(path, "/dm/name") || endsWith(path, "/md/array_name") || path == "/proc/swaps" ||
        path == "/etc/hostname" || endsWith(path, "/backing_file") ||
        endsWith(path, "/udev_path")) {
        return FileKind::kName;
    }
    return endsWith(path, "/dm/uuid") || name == "wwid" || name == "serial" ||
                   name == "unique_id" || name == "vpd_unit_serial"
               ? FileKind::kIdentifier
               : FileKind::kText;
}

PageCode pageCodeOf(FileKind kind, const std::string& path) {
    return kind == FileKind::kInquiry ? PageCode()
                                      : PageCode(static_cast<std::uint8_t>(
                                            std::stoul(baseName(path).substr(6), nullptr, 16)));
}

}  // namespace recording
