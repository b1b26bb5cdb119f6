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
         "Capture the host again with this version, which sends the same commands by SG_IO then."},
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
        {Kind::kNoAnswer, "DOC012", Severity::kError, "A disk does not answer",
         "What is on it cannot be reached by this path, and it has no identity now.",
         "Look at the kernel's log and at the array's own state of the volume; prune removes the "
         "disk when it is gone for good."},
        {Kind::kNotOpened, "DOC013", Severity::kError, "A disk cannot be opened",
         "The library leaves it out of the device map.",
         "Look up the error in the kernel's log; a node that is not there is made by udev."},
        {Kind::kGone, "DOC014", Severity::kWarning, "A disk is gone",
         "The path is dead: its volume has one path less, or none.",
         "Bring the path back (cable, switch, zoning, export), or remove the disk with prune."},
        {Kind::kNotServing, "DOC015", Severity::kWarning, "A disk does not serve right now",
         "The kernel or the array holds it back: what is sent to it waits or fails.",
         "Wait until the state has changed; where it stays, look at the adapter's and the array's "
         "log."},
        {Kind::kAnotherDisk, "DOC016", Severity::kError,
         "Another disk answers than the kernel took it for",
         "The address was given to another volume: whoever still uses the former one writes to the "
         "wrong volume.",
         "Stop the users of the disk, remove it with prune or remove-address, and rescan."},
        {Kind::kWriteProtected, "DOC017", Severity::kWarning, "A disk is write-protected",
         "The library opens disks for reading and writing, and the kernel may refuse that of a "
         "write-protected one: it is then in no device map.",
         "Lift the protection on the array (snapshot, replica, masking), then rescan the disk."},
        {Kind::kWideAddress, "DOC018", Severity::kWarning,
         "An address does not fit the kernel's address word",
         "The word has eight bits of each number, and the library's records have the address from "
         "it: two disks may show one address there.",
         "Go by the address of sysfs, which all commands show, and remove such a disk with prune "
         "or remove-address alone."},
        {Kind::kMapWithoutPath, "DOC019", Severity::kError, "A map has no path that answers",
         "Everything on the volume is out of reach; I/O waits or fails.",
         "Bring a path back, or remove the map with prune when nobody uses it."},
        {Kind::kFewerPaths, "DOC020", Severity::kWarning,
         "A map has fewer paths than others of its array",
         "The volume loses its last path earlier than the others do.",
         "Look whether the array shows the volume at the missing target, then rescan."},
        {Kind::kSizesDiffer, "DOC021", Severity::kError,
         "The paths of a volume do not agree on its size",
         "The volume was resized and not all of this host knows: I/O beyond the smaller size fails "
         "on some paths.",
         "Have every path rescanned (echo 1 > /sys/block/NAME/device/rescan), then resize the map "
         "(multipathd resize map NAME)."},
        {Kind::kLongPage, "DOC022", Severity::kWarning, "Page 0x83 is longer than it is asked for",
         "What stands behind its first bytes is not seen, and with a length of more than one byte "
         "nearly nothing of it may be.",
         "Look with explain at what the UDID is made of, and have the array show fewer designators "
         "where it can."},
        {Kind::kUnknownProduct, "DOC023", Severity::kNote,
         "A product that no family of its vendor has",
         "If it is a volume of an array, its UDID has the form that any disk gets and not the "
         "array family's: it is not what another release or host may have written down.",
         "Look with explain at what the UDID is made of, and whether it is the same on every "
         "host."},
        {Kind::kFamilyFailed, "DOC024", Severity::kWarning,
         "The family that claims a disk cannot name it",
         "The UDID has another form than those of the family, and changes when the family's page "
         "comes back.",
         "Look with explain at the page that is missing or too short, and have the array show it."},
        {Kind::kOtherName, "DOC025", Severity::kWarning,
         "A UDID is made of bytes that are no name of the volume",
         "The family takes the first designator of page 0x83 for the volume's NAA name, and here "
         "it "
         "is something else, which two volumes or two paths may share or not.",
         "Compare the UDIDs of the volume's paths with volumes, and set the array to name its "
         "volumes by NAA IEEE Registered Extended first."},
        {Kind::kPathUdid, "DOC026", Severity::kError, "A UDID is the disk's path at this host",
         "It is no identity of the volume: it holds on this host only, and changes with the order "
         "in which disks are found.",
         "Have the disk name itself in page 0x83, to which a serial number in page 0x80 is no "
         "substitute (a virtual disk can be given a WWN)."},
        {Kind::kShortSerial, "DOC027", Severity::kWarning, "A UDID rests on few characters",
         "So short a serial number is given to other disks as well: two volumes may have one UDID.",
         "Give the disk an NAA name, or a serial number of eight characters or more."},
        {Kind::kMapOverVolumes, "DOC028", Severity::kError,
         "The paths of a map are different volumes",
         "I/O goes to one volume or the other as paths come and go: data is destroyed.",
         "Stop every user of the map at once, remove it, and remove and rescan its paths."},
        {Kind::kTwoVolumesOneUdid, "DOC029", Severity::kError, "Different volumes have one UDID",
         "Who goes by the UDID takes one volume for the other.",
         "Have the array give them names of their own; until then go by the name of page 0x83."},
        {Kind::kOneVolumeTwoUdids, "DOC030", Severity::kError, "One volume has several UDIDs",
         "Who goes by the UDID takes the paths of one volume for two volumes.",
         "Look with explain at why they differ: a page that one path does not show, or a firmware "
         "that not all paths have yet."},
        {Kind::kInPart, "DOC031", Severity::kError, "A disk answers in part",
         "Its UDID is made of what came, and is another one when the rest comes.",
         "Look at the kernel's log and at the path, ask again when it is well, and write this UDID "
         "nowhere until then."},
    };
    return kTexts;
}

}  // namespace cli::doctor
