"""How long many disks of an array take that takes its time: one after the other, side by side, and with others' tools."""
import statistics

from iscsi_target import Target
from lab import disks_of
from lab.command_overlay import DISK_COST
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 120
NEEDS_QUIET = True

IQN = "iqn.2026-01.lab.example:slow"
MORE_IQN = "iqn.2026-01.lab.example:slower"
DISKS = 64
MORE_DISKS = 192
ROUNDS = 3
# What else this machine does can only hide that a limit holds: so many times as many rounds are run before it counts as
# broken.
TRIES = 4
# By the array of the gain, and by that of the cost.
SLOW_ANSWER = 0.005
USUAL_ANSWER = 0.0003
LEAST_GAIN = 8
MOST_PERCENT = 105
ALONE = "scsitool --jobs 1 --deadline 0 devices"
TOGETHER = "scsitool devices"
OTHERS = ("lsscsi -U", "lsblk -J", "for disk in /dev/sd*; do sg_inq $disk; done")

target = Target(IQN, {lun: plain_unit(lun, "SLOW") for lun in range(DISKS)})
more = Target(MORE_IQN, {lun: plain_unit(DISKS + lun, "SLOW") for lun in range(MORE_DISKS)})


def hardware():
    """A processor that takes a nanosecond an instruction: an emulated one is so slow otherwise that a process costs as
    much as ten commands of this array."""
    return Hardware(["-icount", "shift=0"], targets=[target, more], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    guest.run("iscsiadm -m discovery -t sendtargets -p 10.0.2.100")
    log_in(guest, IQN, DISKS)
    check_gain(guest, checks)
    log_in(guest, MORE_IQN, DISKS + MORE_DISKS)
    check_cost(guest, checks)


def log_in(guest, name, disks):
    """One target more; returns when its disks are there and nobody works on them any more."""
    guest.run(f"iscsiadm -m node -T {name} --login", seconds=900)
    disks_of.wait_for_disks(guest, disks)
    guest.run("udevadm settle -t 60", None, seconds=90)


def check_gain(guest, checks):
    """Side by side is faster by what the array takes for a command; what others take stands beside it."""
    target.seconds_an_answer = SLOW_ANSWER
    taken = {script: [] for script in (ALONE, TOGETHER, *OTHERS)}
    add_rounds(guest, taken)
    for _ in range(TRIES - 1):
        if gain(taken) >= LEAST_GAIN:
            break
        add_rounds(guest, taken)
    target.seconds_an_answer = 0
    medians = {script: statistics.median(values) for script, values in taken.items()}
    checks.lines += [f"        {seconds:7.3f} s  {what}" for what, seconds in medians.items()]
    checks.true(f"{DISKS} disks that take {SLOW_ANSWER * 1000:.0f} ms a command: {gain(taken):.1f} times as fast, at "
                f"least {LEAST_GAIN}", gain(taken) >= LEAST_GAIN, taken)


def add_rounds(guest, taken):
    """What each way takes, in turns."""
    for _ in range(ROUNDS):
        for script, values in taken.items():
            values.append(seconds_of(guest, script))


def gain(taken):
    """How many times as fast it is side by side."""
    return statistics.median(taken[ALONE]) / statistics.median(taken[TOGETHER])


def check_cost(guest, checks):
    """An enumeration takes no longer than its system calls."""
    target.seconds_an_answer = more.seconds_an_answer = USUAL_ANSWER
    taken = {"calls": [], "library": []}
    for _ in range(TRIES):
        add_costs(guest, taken)
        calls, library = (statistics.median(values) for values in taken.values())
        if library * 100 <= calls * MOST_PERCENT:
            break
    checks.lines += [f"        {seconds:7.3f} s  {way}" for way, seconds in (("calls", calls), ("library", library))]
    checks.true(f"{DISKS + MORE_DISKS} disks that take {USUAL_ANSWER * 1000:.1f} ms a command or more: the library takes "
                f"{library * 100 / calls:.1f} % of the system calls' time, at most {MOST_PERCENT} %",
                library * 100 <= calls * MOST_PERCENT, taken)


def add_costs(guest, taken):
    """The seconds of some enumerations each way, in turns."""
    for _ in range(ROUNDS):
        for way, values in taken.items():
            lines = guest.run([DISK_COST, way], seconds=900).stdout.splitlines()
            values += [int(took) / 1e9 for _, took in map(str.split, lines)]


def seconds_of(guest, script):
    """How long a script takes by the guest's clock."""
    clock = guest.run(f"begun=$EPOCHREALTIME\n{{ {script}\n}} >/dev/null 2>&1\necho $begun $EPOCHREALTIME").stdout
    begun, ended = map(float, clock.split())
    return ended - begun
