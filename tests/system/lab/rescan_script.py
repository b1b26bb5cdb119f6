"""The distribution's rescan script, which may not understand the distribution's own sg_inq."""

SCRIPT = "/usr/bin/rescan-scsi-bus.sh"
# Debian 12's script looks for "Device_type=" where its own sg_inq prints "PDT=": it then takes every disk for one that
# does not answer and removes all that are not in use. Adding works as it is; before a removal the two lines are mended.
MEND_SCRIPT = rf"""
if grep -q 'Device_type=' {SCRIPT} && ! sg_inq {{disk}} | grep -q 'Device_type='; then
  sed -i -e 's/\.\* Device_type=/.* PDT=/' -e 's/\\)  Device\.\*/\\)  PDT.*/' {SCRIPT}
fi
"""


def cannot_read(guest, disk):
    """Tells whether the script looks for what this sg_inq does not print."""
    return guest.run(f"grep -q 'Device_type=' {SCRIPT} && ! sg_inq {disk} | grep -q 'Device_type='",
                     status=None).status == 0


def mend(guest, disk):
    """Makes the script understand sg_inq, where it does not."""
    guest.run(MEND_SCRIPT.format(disk=disk))


def versions(guest):
    """What script and sg_inq call their versions."""
    script, inquiry = guest.run(f"{SCRIPT} --version\nsg_inq -V 2>&1").stdout.splitlines()
    return script.strip(), inquiry.split()[2]


def silence(guest):
    """Puts a script in its place that does nothing, for jobs that are about something else: the real one takes long."""
    guest.run(f"printf '#!/bin/sh\\n' >{SCRIPT}")
