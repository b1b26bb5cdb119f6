#include "recording/redaction/mount_table.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "recording/redaction/text_scan.h"

namespace recording {
namespace {

using Fields = std::vector<std::string>;

constexpr std::size_t kNumber = 2;  // of mountinfo: "major:minor"
constexpr std::size_t kRoot = 3;
constexpr std::size_t kPoint = 4;
constexpr std::size_t kOptions = 5;

Fields fieldsOf(const std::string& line) {
    std::istringstream stream(line);
    Fields fields;
    for (std::string field; stream >> field;) {
        fields.push_back(field);
    }
    return fields;
}

/// One line of either table.
struct Mount {
    Fields before;  ///< of mountinfo: the two identifiers and the device's number
    std::string root;
    std::string point;
    std::string type;
    std::string source;
    bool isReadOnly = false;

    bool isFromNode() const { return source.compare(0, 5, "/dev/") == 0; }
    /// A file system of no device has a number with major 0; a plain table has no numbers.
    bool isOfDevice() const {
        return isFromNode() || (!before.empty() && before[kNumber].compare(0, 2, "0:") != 0);
    }
};

bool isReadOnly(const std::string& options) {
    return options == "ro" || options.compare(0, 3, "ro,") == 0;
}

bool readMount(const std::string& line, Mount& mount) {
    const Fields fields = fieldsOf(line);
    const auto dash = std::find(fields.begin(), fields.end(), "-");
    if (fields.size() > kOptions && fields[kNumber].find(':') != std::string::npos &&
        fields.end() - dash > 2) {
        mount = {{fields.begin(), fields.begin() + kRoot},
                 fields[kRoot],
                 fields[kPoint],
                 dash[1],
                 dash[2],
                 isReadOnly(fields[kOptions])};
        // The number tells where the source is a word: 0 is the major number of what has no device.
        return mount.isOfDevice() || fields[kNumber].compare(0, 2, "0:") != 0;
    }
    constexpr std::size_t kPlainFields = 4;
    if (fields.size() < kPlainFields) {
        return false;
    }
    mount = {{}, "", fields[1], fields[2], fields[0], isReadOnly(fields[3])};
    return mount.isOfDevice();
}

template <class Use>
void forEachMount(const std::string& table, Use use) {
    std::istringstream stream(table);
    for (std::string line; std::getline(stream, line);) {
        Mount mount;
        if (readMount(line, mount)) {
            use(mount);
        }
    }
}

}  // namespace

void collectMounts(const std::string& table, SecretTable& secrets) {
    forEachMount(table, [&](const Mount& mount) {
        for (const std::string* const text : {&mount.root, &mount.point, &mount.source}) {
            if (text != &mount.source || mount.isFromNode()) {
                scanText(*text, secrets);
                scanNames(*text, secrets);
            }
        }
    });
}

std::string redactedMounts(const std::string& table, const SecretTable& secrets) {
    std::string result;
    forEachMount(table, [&](const Mount& mount) {
        const std::string options = mount.isReadOnly ? "ro" : "rw";
        const std::string point = secrets.replaced(mount.point);
        const std::string source = secrets.replaced(mount.source);
        if (mount.before.empty()) {
            result += source + " " + point + " " + mount.type + " " + options + " 0 0\n";
            return;
        }
        for (const std::string& field : mount.before) {
            result += field + " ";
        }
        result += secrets.replaced(mount.root) + " " + point + " " + options + " - " + mount.type +
                  " " + source + " " + options + "\n";
    });
    return result;
}

}  // namespace recording
