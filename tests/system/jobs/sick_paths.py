"""Captures of hosts whose multipath maps have lost a path, and all."""
import sick
from iscsi_target import Target
from lab import disks_of, multipath
from lab.initiator import start_initiator
from lab.job import PORTALS, Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 300
# Nothing but the initiator's and the daemon's own looks tell a dead session, and a busy machine is slow at both.
NOTICED_SECONDS = 600

IQN = "iqn.2026-01.lab.example:paths"
VOLUMES = 2
PATHS = len(PORTALS)
# A dead session gives its commands back at once, and the daemon looks at the paths every second.
SHORT_TIMES = f"""
iscsiadm -m node -T {IQN} -o update -n node.session.timeo.replacement_timeout -v 1
iscsiadm -m node -T {IQN} -o update -n node.conn[0].timeo.noop_out_interval -v 1
iscsiadm -m node -T {IQN} -o update -n node.conn[0].timeo.noop_out_timeout -v 1
"""

target = Target(IQN, {lun: plain_unit(lun, "VOLUME") for lun in range(VOLUMES)})


def hardware():
    """A card on the array's network, two portals: every volume has two paths."""
    return Hardware(targets=[target])


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    multipath.start_udev(guest)
    multipath.link_pidof(guest)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null\n{SHORT_TIMES}\n"
              f"iscsiadm -m node -T {IQN} --login >/dev/null")
    disks_of.wait_for_disks(guest, PATHS * VOLUMES)
    multipath.start_multipathd(guest, VOLUMES)
    used = sorted(multipath.map_members(guest))[0]
    guest.run(f"mke2fs {used} >/dev/null 2>&1 && modprobe ext4 && mount -t ext4 -o ro {used} /mnt")
    sick.check_capture(guest, checks, "healthy-paths", dead_paths(0))
    for portal, sample in ((2, "dead-path"), (1, "all-paths-down")):
        target.dead_portals.add(portal)
        dead = VOLUMES * len(target.dead_portals)
        guest.wait_for(f"{dead} dead paths", f"{dead_paths(dead)} &&\n"
                       f'[ "$(multipathd show paths 2>/dev/null | grep -c faulty)" = {dead} ]', NOTICED_SECONDS)
        sick.check_capture(guest, checks, sample, dead_paths(dead))


def dead_paths(count):
    """A script that succeeds where the kernel has given up so many paths."""
    return f'[ "$(cat /sys/block/sd*/device/state | grep -c transport-offline)" = {count} ]'
