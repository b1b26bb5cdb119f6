"""Brings up udev and the multipath daemon in the guest."""

# The rules of LVM and md open what is put together, and put together what they find. Without them nobody but a job does
# anything to its volumes and arrays, and stops them when it wants to.
VOLUME_RULES = ["56-lvm.rules", "63-md-raid-arrays.rules", "64-md-raid-assembly.rules", "69-lvm.rules"]
MASK_VOLUME_RULES = "mkdir -p /etc/udev/rules.d\n" + "\n".join(f"ln -s /dev/null /etc/udev/rules.d/{name}"
                                                               for name in VOLUME_RULES)
START_UDEV = """
modprobe -a dm_multipath dm_service_time
/lib/systemd/systemd-udevd --daemon 2>/dev/null
udevadm trigger --action=add --subsystem-match=block --subsystem-match=misc --subsystem-match=mem
"""
SETTLE = "udevadm settle -t 300"
# Debian keeps pidof under /bin alone; the library asks for it under /sbin, where it always used to be.
LINK_PIDOF = "ln -s ../bin/pidof /usr/sbin/pidof"


def start_udev(guest, with_volume_rules=False):
    """Device-mapper waits for udev's word on every map, so udev comes first."""
    guest.run(f"{'' if with_volume_rules else MASK_VOLUME_RULES}{START_UDEV}{SETTLE}")


def link_pidof(guest):
    """Puts pidof where the library looks for it."""
    guest.run(LINK_PIDOF)


def start_multipathd(guest, maps):
    """Starts the daemon and waits until it has made its maps."""
    guest.run(f"{SETTLE}\nmultipathd")
    guest.wait_for(f"{maps} multipath maps", f'[ "$(multipathd show maps 2>/dev/null | grep -c dm-)" -ge {maps} ] &&\n'
                   f'[ "$(ls /dev/mapper | grep -vc control)" -ge {maps} ]')
    guest.run(SETTLE)


def map_members(guest):
    """The paths of every map: {"/dev/mapper/mpatha": ["/dev/sda", "/dev/sdb"]}."""
    listing = guest.run('for map in /sys/block/dm-*; do\n'
                        '  [ -e "$map" ] && echo "$(cat "$map/dm/name")" $(ls "$map/slaves")\n'
                        'done; true').stdout
    return {f"/dev/mapper/{words[0]}": sorted(f"/dev/{name}" for name in words[1:])
            for words in map(str.split, listing.splitlines())}
