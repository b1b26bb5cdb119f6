"""SCSI_IOCTL_SEND_COMMAND: what the kernel says of it, and how it is taken away."""
import errno
import re

SEND_COMMAND = 1
UNKNOWN = (errno.ENOTTY, errno.EINVAL, errno.ENOSYS, errno.EOPNOTSUPP)
WARNING = "is using a deprecated SCSI ioctl, please convert it to SG_IO"
SUPPRESSED = re.compile(r"(\d+) callbacks suppressed")
ASKED = "Entering CScsiTool::GetModePageInfo()"
# A kernel that limits the rate says ten lines in five seconds, and then how many it has kept back.
INTERVAL_SECONDS = 5
BURST = 10


def without(number, words):
    """The words of a command that runs where the kernel refuses SCSI_IOCTL_SEND_COMMAND with this number."""
    return ["without_ioctl", str(SEND_COMMAND), str(number), "scsitool", *words]


def kernel_lines(guest):
    """The lines of the kernel's log since the last look."""
    return guest.run("dmesg -c").stdout.splitlines()


def warnings_of_requests(guest):
    """How many requests an enumeration makes, of how many of them the kernel warns, and how many it has warned of or kept
    back when one disk more has been asked; the requests of that are counted too: (asked, said, asked in all, said in
    all)."""
    guest.run(f"sleep {INTERVAL_SECONDS + 1}")
    guest.run(["scsitool", "inquiry", "/dev/sda"])
    guest.run(f"sleep {INTERVAL_SECONDS + 1}")
    kernel_lines(guest)
    asked = guest.run(["scsitool", "--trace", "4", "devices"]).stderr.count(ASKED)
    lines = kernel_lines(guest)
    said = sum(WARNING in line for line in lines)
    guest.run(f"sleep {INTERVAL_SECONDS + 1}")
    last = guest.run(["scsitool", "--trace", "4", "udid", "/dev/sda"]).stderr.count(ASKED)
    lines += kernel_lines(guest)
    kept_back = sum(int(count) for line in lines for count in SUPPRESSED.findall(line))
    return asked, said, asked + last, sum(WARNING in line for line in lines) + kept_back
