#include "cli/common/packages.h"

#include <algorithm>
#include <iterator>

namespace cli {
namespace {

struct Package {
    const char* program;  // the last part of its path
    const char* install;
};

constexpr Package kPackages[] = {
    {"rescan-scsi-bus.sh", "install sg3-utils (Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)"},
    {"sg_inq", "install sg3-utils (Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)"},
    {"pidof",
     "install sysvinit-utils or procps (Debian, Ubuntu), procps-ng (Red Hat) or procps (SUSE)"},
    {"multipath",
     "install multipath-tools (Debian, Ubuntu, SUSE) or device-mapper-multipath (Red Hat)"},
    {"dmsetup", "install dmsetup (Debian, Ubuntu) or device-mapper (Red Hat, SUSE)"},
    {"iscsiadm", "install open-iscsi (Debian, Ubuntu, SUSE) or iscsi-initiator-utils (Red Hat)"},
    {"initiatorname.iscsi",
     "install open-iscsi (Debian, Ubuntu, SUSE) or iscsi-initiator-utils (Red Hat)"},
    {"powermt", "install the PowerPath package of its vendor"},
    {"ls", "install coreutils"},
};

}  // namespace

std::string howToInstall(const std::string& program) {
    const std::string name = program.substr(program.rfind('/') + 1);
    const auto* const package =
        std::find_if(std::begin(kPackages), std::end(kPackages),
                     [&](const Package& one) { return name == one.program; });
    return package == std::end(kPackages) ? std::string() : package->install;
}

}  // namespace cli
