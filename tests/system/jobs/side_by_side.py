"""Many disks of an array, asked side by side; one of them silent, and all of them."""
from iscsi_target import Target
from lab import disks_of
from lab.command_overlay import PROCESS_NAME
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 75

IQN = "iqn.2026-01.lab.example:slow"
DISKS = 64
SILENT = 17
DEADLINE = 3
# How much longer than the deadline it may take, whatever does not answer.
GRACE = 2
TRIES = 3
ALONE = "scsitool --jobs 1 --deadline 0"
# The kernel gives a command of the initiator up and sends it again by then.
RETRY_SECONDS = 600

target = Target(IQN, {lun: plain_unit(lun, "SLOW") for lun in range(DISKS)})


def hardware():
    """A card on the array's network, one portal."""
    return Hardware(targets=[target], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    guest.run(f"iscsiadm -m discovery -t sendtargets -p 10.0.2.100 && iscsiadm -m node -T {IQN} --login")
    disks_of.wait_for_disks(guest, DISKS)
    nodes = disks_of.disks_by_lun(guest, disks_of.host_of_driver(guest, "iscsi_tcp"))
    check_outputs(guest, checks)
    everything = guest.scsitool("devices")["devices"]
    check_one_silent(guest, checks, nodes[SILENT], everything)
    check_all_silent(guest, checks, nodes)
    check_end(guest, checks, everything)


def seconds_of(guest, script):
    """How long a script takes in the guest, whatever comes of it."""
    clock = guest.run(f"begun=$EPOCHREALTIME\n{{ {script}\n}} >/dev/null 2>&1\necho $begun $EPOCHREALTIME").stdout
    begun, ended = map(float, clock.split())
    return ended - begun


def seconds_within(guest, script, limit):
    """The same; another try or two where something else on this machine may have held it up."""
    taken = seconds_of(guest, script)
    for _ in range(TRIES - 1):
        if taken <= limit:
            break
        taken = min(taken, seconds_of(guest, script))
    return taken


def check_outputs(guest, checks):
    """Every command prints and traces what it does when it asks one disk after the other."""
    for command in ("devices", "volumes", "disks", "inquiry /dev/sda", "explain /dev/sdb", "udid /dev/sdc"):
        told = guest.run(f"{ALONE} --trace 9 --trace-file /run/alone {command} >/run/alone.out 2>/run/alone.err\n"
                         f"scsitool --trace 9 --trace-file /run/asked {command} >/run/asked.out 2>/run/asked.err\n"
                         "for kind in '' .out .err; do cmp /run/alone$kind /run/asked$kind; done\n"
                         "[ -s /run/asked ] && [ -s /run/asked.out ]", status=None)
        checks.equal(f"{command}: output and trace are the same", str(told.stdout + told.stderr), "")


def check_one_silent(guest, checks, node, everything):
    """One disk swallows its commands: it is named, the others are right, and nobody waits for it."""
    target.silent = frozenset([SILENT])
    taken = seconds_within(guest, f"scsitool --deadline {DEADLINE} --json devices", DEADLINE + GRACE)
    checks.true(f"one silent disk costs {taken:.1f} s", DEADLINE <= taken <= DEADLINE + GRACE)
    answer = guest.run(f"scsitool --deadline {DEADLINE} --json devices", status=3)
    checks.equal("it is named", answer.stderr, f"scsitool: 1 of {DISKS} disks did not answer: {node}\n")
    checks.equal("so in the document", answer.json["unanswered"], [{"name": node, "seconds": DEADLINE}])
    checks.equal("all others are right", answer.json["devices"],
                 [device for device in everything if device["name"] != node])
    check_left_behind(guest, checks, "one silent disk")
    healthy = everything[0]["name"]
    checks.true("the lock is free", seconds_of(guest, f"{ALONE} devices {healthy}") < GRACE)


def check_all_silent(guest, checks, nodes):
    """No disk answers any more."""
    target.silent = frozenset(range(DISKS))
    taken = seconds_within(guest, f"scsitool --deadline {DEADLINE} --json devices", DEADLINE + GRACE)
    checks.true(f"{DISKS} silent disks cost {taken:.1f} s", DEADLINE <= taken <= DEADLINE + GRACE)
    answer = guest.run(f"scsitool --deadline {DEADLINE} --json devices", status=None)
    checks.equal("all are named", {one["name"] for one in answer.json["unanswered"]}, set(nodes.values()))
    check_left_behind(guest, checks, "all silent")


def check_left_behind(guest, checks, when):
    """What is left of the command hangs in the kernel, and nothing else of it runs."""
    states = guest.run("for stat in /proc/[0-9]*/stat; do\n"
                       f"  read -r _ name state _ <$stat && [ $name = '({PROCESS_NAME})' ] && echo $state\n"
                       "done; true").stdout
    checks.true(f"{when}: nothing runs on but what hangs in the kernel", set(states.split()) <= {"D"}, states)


def check_end(guest, checks, everything):
    """When the disks answer again all is as before, but that what hung holds its disks until the kernel, minutes
    later, gives their commands up."""
    target.silent = frozenset()
    # The kernel may have given the disks up until their commands' time is over.
    guest.wait_for("the disks", f"scsitool --deadline {DEADLINE} devices >/dev/null 2>&1", RETRY_SECONDS)
    devices = guest.scsitool("devices")["devices"]
    for device in devices:
        device["used_by"] = [user for user in device["used_by"]
                             if user["kind"] != "process" or not user["name"].endswith(f"({PROCESS_NAME})")]
    checks.equal("the disks are all there again", devices, everything)
