#ifndef SCSITOOL_CLI_COMMON_PACKAGES_H
#define SCSITOOL_CLI_COMMON_PACKAGES_H

namespace cli {

// What brings the tools that the operations ask for, by the names of the distributions' packages.
// Each reads behind "there is no ...; ".

constexpr const char* kInstallSgUtils =
    "install sg3-utils (Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)";
constexpr const char* kInstallPidof =
    "install sysvinit-utils or procps (Debian, Ubuntu), procps-ng (Red Hat) or procps (SUSE)";
constexpr const char* kInstallMultipath =
    "install multipath-tools (Debian, Ubuntu, SUSE) or device-mapper-multipath (Red Hat)";
constexpr const char* kInstallDmsetup =
    "install dmsetup (Debian, Ubuntu) or device-mapper (Red Hat, SUSE)";
constexpr const char* kInstallIscsi =
    "install open-iscsi (Debian, Ubuntu, SUSE) or iscsi-initiator-utils (Red Hat)";
constexpr const char* kInstallPowermt = "install the PowerPath package of its vendor";

}  // namespace cli

#endif
