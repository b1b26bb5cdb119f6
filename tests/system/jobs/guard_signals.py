"""Removals that are ended at random: nothing of ours runs on, the lock is free, and no more was done than was told."""
import json
import random
import time

from gap import ENABLE_CACHE, SYNCHRONIZE_CACHE
from iscsi_target import Target
from lab import disks_of, rescan_script
from lab.initiator import start_initiator
from lab.job import Hardware
from plain_unit import plain_unit

TYPICAL_SECONDS = 60

IQN = "iqn.2026-01.lab.example:stale"
UNITS = 6
# The kernel flushes a disk's cache before it lets go of the disk: as long as a removal takes at least.
FLUSH_SECONDS = 0.3
# With as many disks left the removal runs for longer than its end takes to arrive: it cannot have ended by itself.
LEFT_FOR_CERTAIN = 3
END_SECONDS = 200
COMMANDS = [["remove-stale", "--", "--ids=0"], ["rescan", "--", "--remove", "--ids=0"], ["prune"]]
# What a person sees of the processes of ours, the script's included.
OURS = "[s]csitool|[r]escan-scsi-bus|[s]g_inq|[s]g_turs"
LOCK_IS_FREE = """
set=$(ipcs -s | awk '$1 == "0x000003e9" { print $2 }')
[ -z "$set" ] || [ "$(ipcs -s -i "$set" | awk '$1 == "0" { print $2 }')" = 0 ]
"""
WAIT_FOR_END = f"""
for ((i = 0; i < {END_SECONDS * 5}; i++)); do
  ps | grep -qE '{OURS}' || exit 0
  sleep 0.2
done
ps | grep -E '{OURS}'
"""
START = """
rm -f /run/journal /run/status
(setsid sh -c 'echo $$ >/run/process; exec scsitool --journal /run/journal {command}' >/run/out 2>&1
echo $? >/run/status) </dev/null >/dev/null 2>&1 &
"""
START_IN_TERMINAL = """
rm -f /run/journal /run/status
script -q -c 'scsitool --journal /run/journal {command}' /dev/null </dev/null >/dev/null 2>&1 &
echo $! >/run/process
"""
# What ends it: how it was started, the signal, the exit status or None. A terminal closes when the program behind it
# is gone.
ENDS = {"SIGKILL": (START, "KILL", "137"), "SIGINT": (START, "INT", "130"),
        "a closed terminal": (START_IN_TERMINAL, "KILL", None)}


# Ends it when so many disks are left and it is seen to run, or it has ended by itself.
END = """
for ((i = 0; i < 1500; i++)); do
  set -- /sys/block/sd*
  if [ -s /run/status ]; then break; fi
  if [ $# -le {left} ] && ps | grep -qE '{shows}'; then break; fi
  sleep 0.05
done
ps | grep -E '{shows}'
sleep {delay:.2f}
kill -{number} $(cat /run/process)
"""


class SlowTarget(Target):
    """A target whose disks take their time to flush their cache."""

    def execute(self, lun, block, data_out):
        """Carries out one command for one logical unit number."""
        if block[0] in SYNCHRONIZE_CACHE:
            time.sleep(FLUSH_SECONDS)
        return super().execute(lun, block, data_out)


units = {number: plain_unit(number, "STALE") for number in range(1, UNITS + 1)}
target = SlowTarget(IQN, units)


def hardware():
    """A card on the network of an array."""
    return Hardware(targets=[target], portals=1)


def run(guest, _, checks):
    """The job."""
    start_initiator(guest)
    guest.run("iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null\niscsiadm -m node --login >/dev/null")
    disks_of.wait_for_disks(guest, UNITS)
    rescan_script.mend(guest, "/dev/sda")
    for command in COMMANDS:
        for what in ENDS:
            check_end(guest, checks, command, what)


def present(guest):
    """All disks are there, and then fall silent."""
    target.units.update(units)
    guest.run("iscsiadm -m session -R >/dev/null")
    disks_of.wait_for_disks(guest, UNITS)
    guest.run(ENABLE_CACHE)
    target.units.clear()


def check_end(guest, checks, command, what):
    """One removal that is ended."""
    present(guest)
    start, number, status = ENDS[what]
    left = random.randint(LEFT_FOR_CERTAIN if what == "SIGINT" else 1, UNITS)
    name = f"{command[0]}, {what} when {left} disks are left"
    guest.run(start.format(command=" ".join(command)))
    shows = "[s]csitool" if command[0] == "prune" else "[r]escan-scsi-bus.sh .*-d"
    seen = guest.run(END.format(left=left, shows=shows, delay=random.uniform(0, FLUSH_SECONDS), number=number), None)
    checks.true(f"{name}: it was seen to run", seen.stdout, guest.run("cat /run/out", None))
    ended = guest.run(WAIT_FOR_END, None)
    checks.equal(f"{name}: no process is left", ended.stdout, "")
    checks.equal(f"{name}: the lock is free", guest.run(LOCK_IS_FREE, None).status, 0)
    if status:
        got = guest.run("cat /run/status").stdout.strip()
        possible = [status] if left >= LEFT_FOR_CERTAIN else [status, "0"]
        checks.true(f"{name}: the exit status tells", got in possible, f"{got}\n{guest.run('cat /run/out')}")
    check_effects(guest, checks, command, name)
    guest.run("kill -KILL $(cat /run/process)", None)


def check_effects(guest, checks, command, name):
    """Between what was told and what was done lies one effect at most."""
    gone = UNITS - len(disks_of.disks_by_address(guest))
    lines = guest.run("cat /run/journal", None).stdout.splitlines()
    effects = [line for line in map(json.loads, lines) if "effect" in line]
    if command[0] == "prune":
        told = [effect for effect in effects if effect.get("path", "").endswith("/delete")]
        checks.true(f"{name}: {gone} gone, {len(told)} told", abs(gone - len(told)) <= 1, effects)
    else:
        checks.true(f"{name}: {gone} gone, told as one command", gone == 0 or len(effects) == 1, effects)
