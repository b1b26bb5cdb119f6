"""A guest is captured, and every command says on the capture what it said in the guest."""
import base64
import difflib
import json
import re
import shlex

CAPTURE = "/run/host.json"
REDACTED = "/run/redacted.json"
CAPTURE_SECONDS = 900
# What reads, and what acts tried without an effect.
COMMANDS = [["devices"], ["volumes"], ["disks"], ["bus"], ["wwpn"], ["iscsi", "iqn"], ["--dry-run", "prune"],
            ["--dry-run", "remove-stale"], ["--dry-run", "remove-dead", "--lun0"], ["--dry-run", "flush-multipath"], ["doctor"]]
OF_A_NODE = ["inquiry", "explain", "udid", "validate"]
SHOWS_BYTES = {"inquiry", "explain"}
# The advice differs: on a recorded host nobody can rescan.
ADVICE = re.compile(r"(no SCSI disk found: )[^\n\"]*")
# Letters and digits of a name are others in a redacted capture, and a table is as wide as its longest name.
WORD = re.compile(r"[0-9A-Za-z]+")
LONGEST_DIFFERENCE = 60
# What earlier runs have left behind on a disk that hangs is a user of it, and there are more of them with every run. By
# the name of the agent's loader, which starts the command in the guest.
LEFT_BEHIND = re.compile(r"process \d+ \((?:loader|scsitool)\)")


def commands_for(guest, options):
    """The command lines to try in a guest as it stands, without and with --json."""
    lines = list(COMMANDS)
    nodes = guest.run("ls -d /dev/sd* /dev/mapper/mpath* 2>/dev/null; true").stdout.split()
    lines += [[verb, node] for node in nodes for verb in OF_A_NODE]
    lines += [["--dry-run", "remove", node] for node in nodes if node.startswith("/dev/mapper/")]
    addresses = guest.run("ls /sys/class/scsi_device").stdout.split()
    lines += [["--dry-run", "remove-address", address] for address in addresses]
    return [[*options, *more, *line] for line in lines for more in ([], ["--json"])]


def run_all(guest, commands, seconds=CAPTURE_SECONDS):
    """Exit status and both outputs of every command in the guest."""
    script = "\n".join(f"scsitool {shlex.join(words)} >/run/out 2>/run/err\n"
                       'echo "$? $(base64 -w0 /run/out).$(base64 -w0 /run/err)"' for words in commands)
    results = []
    for line in guest.run(script, None, seconds).stdout.splitlines():
        status, outputs = line.split()
        results.append((int(status), *(base64.b64decode(part).decode("utf-8", "replace")
                                       for part in outputs.split("."))))
    return results


def comparable(result):
    """A result without the command line that a document begins with."""
    status, out, err = result
    out, err = ADVICE.sub(r"\1", out), ADVICE.sub(r"\1", err)
    try:
        document = json.loads(out)
        document["scsitool"].pop("command")
        out = json.dumps(without_left_behind(document), indent=1)
    except (ValueError, KeyError, TypeError):
        # A column is as wide as its longest cell.
        out = re.sub(r" {2,}|-{3,}", "  ", re.sub(rf"{LEFT_BEHIND.pattern}(?:, {LEFT_BEHIND.pattern})*", "process", out))
    return f"{status}\n{out}\n{err}"


def without_left_behind(value):
    """A document without the processes that earlier runs have left behind."""
    if isinstance(value, dict):
        return {name: without_left_behind(member) for name, member in value.items()}
    if isinstance(value, list):
        return [without_left_behind(one) for one in value if not (
            isinstance(one, dict) and one.get("kind") == "process" and LEFT_BEHIND.match(f"process {one['name']}"))]
    return value


def shape_of(text):
    """What of an output is no name."""
    return re.sub(r"[ x]+|-{2,}", " ", WORD.sub("x", text))


def check_capture(guest, checks, sample, proof, options=(), but_for=()):
    """Captures the guest twice, and compares every command on the captures with the same in the guest.

    The proof is a script that succeeds where the guest is as ill as it shall be. The options go with every command; one
    with a word of `but_for` is left out.
    """
    checks.equal(f"{sample}: the guest is in that state", guest.run(proof, None).status, 0)
    commands = [words for words in commands_for(guest, options) if not set(but_for).intersection(words)]
    for words in ([CAPTURE], [REDACTED, "--redact"]):
        taken = guest.run(["scsitool", *options, "capture", *words], None, CAPTURE_SECONDS)
        checks.true(f"{sample}: scsitool capture {' '.join(words)}", taken.status in (0, 3), taken.stderr)
    live = [comparable(result) for result in run_all(guest, commands)]
    capture = guest.run(["cat", CAPTURE]).stdout
    redacted = guest.run(["cat", REDACTED]).stdout
    guest.outside.keep(f"sick-{sample}", capture)
    guest.outside.keep(f"sick-{sample}-redacted", redacted)
    compare(checks, f"{sample}: the capture", commands, live, guest.outside.replay(capture, commands), str)
    # What shows bytes also as text is compared as a document: a byte that was no letter may be one now. The names of
    # nodes stay in these guests.
    readable = [number for number, words in enumerate(commands)
                if "--json" in words or not SHOWS_BYTES.intersection(words)]
    compare(checks, f"{sample}: the redacted capture", [commands[number] for number in readable],
            [live[number] for number in readable],
            guest.outside.replay(redacted, [commands[number] for number in readable]), shape_of)


def compare(checks, what, commands, live, replayed, view):
    """One check: all commands say the same, seen in this view."""
    differences = []
    for words, wanted, got in zip(commands, live, map(comparable, replayed)):
        wanted, got = view(wanted), view(got)
        if wanted != got:
            lines = difflib.unified_diff(wanted.splitlines(), got.splitlines(), "guest", "capture", lineterm="", n=1)
            differences += [shlex.join(words), *list(lines)[:LONGEST_DIFFERENCE]]
    checks.true(f"{what} says what the guest said to {len(commands)} command lines", not differences,
                "\n".join(differences))
