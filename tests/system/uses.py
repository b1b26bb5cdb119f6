"""What disks are put to, for the jobs about the guard: the scripts are in uses.sh, what must be said is here."""
import collections
from pathlib import Path

SCRIPTS = Path(__file__).with_name("uses.sh")
IN_GUEST = "/run/uses"

# `exclusive`: the kernel gives the disk to no other exclusive user meanwhile.
# `reason`: what a refusal says of it, a regular expression.
# `has_map`: the disk is used by way of a device-mapper map, which is there still when the use has ended.
Use = collections.namedtuple("Use", "name title exclusive reason has_map")

KERNEL_ALONE = r"kernel.*exclusive|exclusive.*kernel"

USES = [
    # Namespaces first: one that is made later would hold the mounts of the others as well.
    Use("namespace", "mounted in another namespace", True, r"mounted at /mnt/namespace", False),
    Use("empty_namespace", "mounted in a namespace without a process", True, KERNEL_ALONE, False),
    Use("multipath", "path of a mounted multipath map", True, r"mpath|mounted at /mnt/multipath", True),
    Use("mounted", "mounted", True, r"mounted at /mnt/mounted", False),
    Use("lazily_unmounted", "lazily unmounted and busy", True, KERNEL_ALONE, False),
    Use("ext4_journal", "external ext4 journal", True, KERNEL_ALONE, False),
    Use("xfs_log", "XFS log", True, KERNEL_ALONE, False),
    Use("swap_disk", "swap on the disk", True, r"swap", False),
    Use("swap_partition", "swap on a partition", True, r"swap", False),
    Use("md", "member of an md array", True, r"md7", False),
    Use("lvm", "LVM, volume mounted", True, r"use-data|mounted at /mnt/lvm", True),
    Use("dm_crypt", "dm-crypt, map mounted", True, r"secret|mounted at /mnt/dm_crypt", True),
    Use("btrfs", "second device of a btrfs", True, r"btrfs|" + KERNEL_ALONE, False),
    Use("loop_over_disk", "loop over the disk", False, r"loop4", False),
    Use("loop_over_file", "loop over a file, lazily unmounted", True, r"loop5|" + KERNEL_ALONE, False),
    Use("exported_block", "exported by the kernel's target", True, r"target|export", False),
    Use("exported_file", "exported by the kernel's target as a file", False, r"target|export", False),
    Use("open_node", "open for writing", False, r"open for writing in process \d+", False),
    Use("open_other_node", "open for writing by another node", False, r"open for writing in process \d+", False),
    Use("open_generic", "open for writing by the sg node", False, r"open for writing in process \d+", False),
]


def copy_scripts(guest):
    """Brings the scripts into the guest."""
    guest.run(f"cat >{IN_GUEST} <<'END_OF_SCRIPT'\n{SCRIPTS.read_text('utf-8')}END_OF_SCRIPT")
    guest.run("modprobe -a loop ext4\nmkdir -p /mnt /run/mdadm")


def call(guest, function, *arguments, status=0):
    """Calls one function of the scripts."""
    return guest.run(f". {IN_GUEST}\n{' '.join([function, *arguments])}", status)


def change(guest, verb, use, node):
    """Begins or ends a use, and tells whether the kernel gives the disk to one more exclusive user then."""
    return call(guest, f"{verb}_{use.name} {node} >/dev/null && tell_if_free {node}").stdout.strip() == "free"
