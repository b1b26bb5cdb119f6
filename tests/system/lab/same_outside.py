"""A capture of a guest says outside it what the guest itself says."""
import sick

CAPTURE = "/run/same-outside.json"
CAPTURE_SECONDS = 900
# Nothing here is to be given up: a busy machine has its guests answer late.
PATIENT = ("--deadline", "120")
COMMANDS = [["devices"], ["--json", "volumes"], ["--json", "disks"], ["doctor"]]


def check(guest, checks, what, options=PATIENT, more=()):
    """Captures a guest as it stands, and compares commands, and what more the job wants, on the capture with the same in
    the guest."""
    taken = guest.run(["scsitool", *options, "capture", CAPTURE], None, CAPTURE_SECONDS)
    checks.true(f"{what}: the guest is captured", taken.status in (0, 3), taken.stderr)
    commands = [[*options, *words] for words in [*COMMANDS, *more]]
    live = [sick.comparable(result) for result in sick.run_all(guest, commands)]
    capture = guest.run(["cat", CAPTURE]).stdout
    guest.outside.keep(what, capture)
    sick.compare(checks, f"{what}: the capture", commands, live, guest.outside.replay(capture, commands), str)
