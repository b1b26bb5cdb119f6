"""The daemons and drivers of a host at work: an enumeration stirs up no storm, meets a hot add, and runs beside I/O."""
import json
import re
from collections import Counter

from iscsi_target import Target
from lab import disks_of, multipath
from lab.initiator import log_in, start_initiator
from lab.job import PORTALS, Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 60

IQN = "iqn.2026-01.lab.example:daemons"
VOLUMES = 3
ADDED = 9
UDID = "UDID##ACME##VOLUME##S{:03}##6000C50000000000000000000000{:04X}"
DAEMONS = ["systemd-udevd", "multipathd", "iscsid", "mdadm"]
# A busy machine answers a ping late, and a session that is given up is not what is looked at here.
PATIENT_PINGS = f"iscsiadm -m node -T {IQN} -o update -n 'node.conn[0].timeo.noop_out_timeout' -v 300"
# On the maps in their order: a physical volume, two members of a mirror.
LAY_OUT = """
modprobe -a raid1 ext4; mkdir -p /run/data /run/mirror; exec >/run/lay-out 2>&1; set -e
lvm pvcreate -qq {0}; lvm vgcreate -qq lab {0}; lvm lvcreate -qq -Wn -L 24M -n data lab
mdadm --create /dev/md7 --level=1 --raid-devices=2 --metadata=1.2 --assume-clean --run {1} {2}
printf '#!/bin/bash\\necho "$@" >>/run/md-events\\n' >/run/tell-md; chmod +x /run/tell-md; : >/run/md-events
mdadm --monitor --scan --daemonise --program=/run/tell-md
for pair in '/dev/mapper/lab-data /run/data' '/dev/md7 /run/mirror'; do
  set -- $pair; mke2fs -q $1; mount -t ext4 $1 $2
done
"""
# Each round writes what no round before has written, forces it out, and reads it past the cache.
START_WORK = """
: >/run/rounds; : >/run/damage; : >/run/working
{ while [ -e /run/working ]; do
  for folder in /run/data /run/mirror; do
    dd if=/dev/urandom of=/run/pattern bs=64k count=4
    dd if=/run/pattern of=$folder/file bs=64k conv=fsync || echo "$folder is not written" >>/run/damage
    dd if=$folder/file of=/run/read bs=64k iflag=direct || echo "$folder is not read" >>/run/damage
    cmp /run/read /run/pattern || echo "$folder is read otherwise" >>/run/damage
    echo >>/run/rounds
  done
done; rm /run/pattern; } >/dev/null 2>&1 &
"""
SECTORS_WRITTEN = "gawk '$3 ~ /^sd/ { sum += $10 } END { print sum }' /proc/diskstats"
ADD_WHILE_ASKING = "{ sleep 0.5; iscsiadm -m session -R; } >/dev/null 2>&1 &"
MOST_ROUNDS = 40
# A busy machine has disks answer late. What helps the command, such as dmsetup, may come too late for it: it says so.
PATIENT = "--deadline 120"
DONE_IN_PART = 3

SETTLE = multipath.SETTLE
AT_REST = f"""{SETTLE} && before=$(cat /sys/kernel/uevent_seqnum) && sleep 3 &&
[ $before = $(cat /sys/kernel/uevent_seqnum) ]"""
KERNEL_EVENT = re.compile(r"^KERNEL\[\S+\] +(\S+) +(\S+) ", re.MULTILINE)
# An enumeration opens a disk twice for reading and writing: udev takes the close for a change of what is on the disk.
OPENS = 2
MARKED = ("change", "md7")
TROUBLE = re.compile(r"I/O error|rejecting I/O|hung task|blocked for more than|Failing path|conn error|Disk failure")
MD_TROUBLE = re.compile(r"Fail|Degraded|Disappeared|Rebuild")

target = Target(IQN, {lun: plain_unit(lun, "VOLUME") for lun in range(VOLUMES)})


def hardware():
    """A card on the array's network, two portals: every volume has two paths."""
    return Hardware(targets=[target])


def run(guest, _, checks):
    """The job."""
    bring_up(guest)
    processes = daemons(guest)
    checks.equal("the daemons run", [name for name in DAEMONS if not processes[name]], [])
    checks.equal("the rules of md and of LVM have been followed",
                 guest.run("udevadm info -q property /dev/md7 /dev/mapper/lab-data "
                           "| grep -E '^(MD_LEVEL|DM_LV_NAME)='").stdout.split(), ["MD_LEVEL=raid1", "DM_LV_NAME=data"])
    guest.wait_for("a host at rest", AT_REST)
    for command in ("devices", "volumes", "doctor"):
        check_events(guest, checks, command)
    guest.run(START_WORK)
    check_beside_work(guest, checks)
    check_hot_add(guest, checks)
    check_work(guest, checks)
    checks.equal("the daemons are the same as before", daemons(guest), processes)


def bring_up(guest):
    """The daemons, a logical volume on a map, and a mirror of two."""
    start_initiator(guest)
    multipath.start_udev(guest, with_volume_rules=True)
    multipath.link_pidof(guest)
    for portal in ("10.0.2.100", "10.0.2.101"):
        log_in(guest, IQN, portal=portal, settings=PATIENT_PINGS)
    disks_of.wait_for_disks(guest, VOLUMES * len(PORTALS))
    multipath.start_multipathd(guest, VOLUMES)
    guest.run(LAY_OUT.format(*sorted(multipath.map_members(guest))))


def daemons(guest):
    """The processes of each daemon; one of them has two."""
    return {name: guest.run(["pidof", name], None).stdout.split() for name in DAEMONS}


def events_of(guest, script):
    """The kernel's events, (what, node), that a script raises until the host is at rest again."""
    guest.run("udevadm monitor --kernel >/run/events 2>&1 & echo $! >/run/monitor\n"
              "until grep -q KERNEL /run/events; do sleep 0.1; done\n"
              f"echo change >/sys/block/{MARKED[1]}/uevent\n{script}")
    guest.wait_for("a host at rest", AT_REST)
    found = KERNEL_EVENT.findall(guest.run("monitor=$(cat /run/monitor); kill $monitor\n"
                                           "while [ -e /proc/$monitor ]; do sleep 0.1; done; cat /run/events").stdout)
    return Counter((what, path.rpartition("/")[2]) for what, path in found)


def check_events(guest, checks, command):
    """An enumeration raises no event itself; udev raises one at most for each time that a node is closed by one who may
    write. None makes another: the host comes to rest."""
    nodes = set(guest.run("ls /sys/block").stdout.split())
    events = events_of(guest, f"scsitool {PATIENT} {command} >/dev/null || [ $? = {DONE_IN_PART} ]")
    checks.equal(f"{command}: the monitor has seen the event that marks the beginning", events.pop(MARKED, 0), 1)
    checks.equal(f"{command}: nothing is added or removed", [event for event in events if event[0] != "change"], [])
    checks.true(f"{command}: of {len(nodes)} nodes each has at most {OPENS} events: {events.total()}",
                max(events.values(), default=0) <= OPENS and {node for _, node in events} <= nodes, events)


def told_by(document):
    """The UDIDs that disks and maps have told."""
    return sorted(one["udid"] for one in document["devices"] if one["state"] == "ok")


def by_all_names(luns):
    """The UDIDs of volumes, once for the map and for each path."""
    return sorted(UDID.format(lun, lun) for lun in luns for _ in range(1 + len(PORTALS)))


def enumerate_beside_work(guest, before=":"):
    """The document of an enumeration, how many sectors the disks have written meanwhile, and whether one has come."""
    numbers, text = guest.run(f"""
nodes=$(ls /sys/block | wc -l); sectors=$({SECTORS_WRITTEN})
{before}
scsitool {PATIENT} --json devices >/run/told || [ $? = {DONE_IN_PART} ] || exit
echo $(( $({SECTORS_WRITTEN}) - sectors )) $(( $(ls /sys/block | wc -l) - nodes )); cat /run/told
""").stdout.split("\n", 1)
    written, come = map(int, numbers.split())
    return json.loads(text), written, come > 0


def check_beside_work(guest, checks):
    """Each volume is told by its map and both paths while they are written to."""
    document, written, _ = enumerate_beside_work(guest)
    checks.true(f"while disks are asked, {written} sectors are written", written > 0)
    checks.equal("every volume is told by a map and two paths", told_by(document), by_all_names(range(VOLUMES)))


def check_hot_add(guest, checks):
    """A volume comes while enumerations run: each tells all others whole, and of the new one nothing that is wrong. What
    is not ready yet, such as a map that is given its second path, may be told as such."""
    added = UDID.format(ADDED, ADDED)
    target.units[ADDED] = plain_unit(ADDED, "VOLUME")
    rounds = [enumerate_beside_work(guest, ADD_WHILE_ASKING)]
    while len(rounds) < MOST_ROUNDS and told_by(rounds[-1][0]).count(added) <= len(PORTALS):
        rounds.append(enumerate_beside_work(guest))
    checks.true("nodes come while disks are asked", any(come for _, _, come in rounds))
    checks.equal("every round tells the others by their maps and paths, and of the new one its UDID or nothing",
                 [[udid for udid in told_by(document) if udid != added] for document, _, _ in rounds],
                 [by_all_names(range(VOLUMES))] * len(rounds))
    checks.true("while each of them ran, something was written", all(written > 0 for _, written, _ in rounds),
                [written for _, written, _ in rounds])
    guest.run(SETTLE)
    document = guest.run(f"scsitool {PATIENT} --json volumes", None).json
    volumes = [one for one in document["volumes"] if one["udid"] == added]
    checks.equal("in the end it is one volume with both paths", [one["paths"] for one in volumes], [len(PORTALS)])


def rounds_of_work(guest):
    """How many rounds of I/O have ended."""
    return int(guest.run("wc -l </run/rounds").stdout)


def check_work(guest, checks):
    """The I/O has gone on, and what was written is what is read."""
    guest.wait_for("a round of I/O", f'[ "$(wc -l </run/rounds)" -gt {rounds_of_work(guest)} ]')
    guest.run("rm /run/working")
    guest.wait_for("the end of the I/O", "[ ! -e /run/pattern ]")
    checks.equal(f"in {rounds_of_work(guest)} rounds of I/O nothing is read otherwise than it was written",
                 guest.run("cat /run/damage").stdout, "")
    checks.equal("the mirror is whole", guest.run("cat /sys/block/md7/md/degraded").stdout.split(), ["0"])
    checks.equal("md's monitor tells of no trouble", MD_TROUBLE.findall(guest.run("cat /run/md-events").stdout), [])
    checks.equal("all paths are active",
                 set(guest.run("multipathd show paths raw format %t").stdout.split()), {"active"})
    checks.equal("the kernel tells of no trouble",
                 [line for line in guest.run("dmesg").stdout.splitlines() if TROUBLE.search(line)], [])
