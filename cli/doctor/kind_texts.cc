#include "cli/doctor/finding.h"

namespace cli::doctor {

// A code that was once published is not given to another kind, even when its own is gone.
const std::vector<KindText>& kindTexts() {
    static const std::vector<KindText> kTexts = {
        {Kind::kClosedToUser, "DOC001", Severity::kError, "Disks do not open for want of rights",
         "A disk that does not open is not asked, and no device map has it.",
         "Run scsitool as root; in a container, give it the device nodes of the disks."},
        {Kind::kNoSendCommand, "DOC002", Severity::kError,
         "The kernel refuses SCSI_IOCTL_SEND_COMMAND",
         "Every page that a UDID is made of is asked for by this ioctl: without it a disk has no "
         "identity.",
         "Boot a kernel that takes the ioctl; that the disk answers SG_IO is not enough."},
        {Kind::kNoScsiTable, "DOC003", Severity::kWarning, "/proc/scsi/scsi cannot be read",
         "bus has nothing to show, and remove-address and remove-dead remove nothing without it.",
         "Where the file is not there, boot a kernel built with CONFIG_SCSI_PROC_FS; prune removes "
         "what is gone without it."},
        {Kind::kNoRescanScript, "DOC004", Severity::kWarning, "There is no rescan script",
         "No new logical unit is found: rescan, remove-stale and devices --rescan run it.",
         "Install sg3-utils (Debian, Ubuntu) or sg3_utils (Red Hat, SUSE)."},
        {Kind::kScriptMisfit, "DOC005", Severity::kError,
         "The rescan script cannot read what sg_inq prints",
         "The script takes every disk for gone then, and with an option that removes it removes "
         "disks in use.",
         "Remove what is gone with prune, or install a script and an sg_inq that belong together."},
        {Kind::kNoPidof, "DOC006", Severity::kWarning, "There is no /sbin/pidof",
         "flush-multipath cannot find out whether multipathd runs, and flushes nothing.",
         "Install sysvinit-utils or procps (Debian, Ubuntu), procps-ng (Red Hat) or procps "
         "(SUSE)."},
        {Kind::kNoMultipathTool, "DOC007", Severity::kWarning, "A multipath tool is missing",
         "This host has multipath maps, which are refreshed, flushed and removed by it.",
         "Install multipath-tools and dmsetup (Debian, Ubuntu), device-mapper-multipath (Red Hat) "
         "or multipath-tools (SUSE)."},
        {Kind::kNoMultipathDaemon, "DOC008", Severity::kWarning, "multipathd does not run",
         "This host has multipath maps, and nobody tests their paths: one that fails is found by "
         "I/O that fails, one that comes back stays out of its map.",
         "Start the daemon: systemctl enable --now multipathd."},
        {Kind::kNoIscsiTool, "DOC009", Severity::kWarning, "There is no /sbin/iscsiadm",
         "This host has iSCSI sessions, which nothing can log in to, out of or rescan.",
         "Install open-iscsi (Debian, Ubuntu, SUSE) or iscsi-initiator-utils (Red Hat)."},
        {Kind::kNoInitiatorName, "DOC010", Severity::kWarning, "The iSCSI initiator has no name",
         "This host has iSCSI sessions, and the name under which a target knows it cannot be told.",
         "Write a line InitiatorName=NAME to /etc/iscsi/initiatorname.iscsi; iscsi-iname makes a "
         "name."},
        {Kind::kNoPowerPathTool, "DOC011", Severity::kWarning, "There is no /sbin/powermt",
         "This host has PowerPath devices, which devices --rescan refreshes by it.",
         "Install the PowerPath package of its vendor."},
    };
    return kTexts;
}

}  // namespace cli::doctor
