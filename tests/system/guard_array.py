"""The disks of the guard's jobs: an array with one for every use, and the login that brings them all."""
import uses
from iscsi_target import Target
from lab import disks_of, multipath
from lab.initiator import start_initiator
from plain_unit import plain_unit

IQN = "iqn.2026-01.lab.example:used"
PATHS_IQN = "iqn.2026-01.lab.example:paths"
TWO_PATHS = "multipath"
PLAIN = [use for use in uses.USES if use.name != TWO_PATHS]
LUNS = {use.name: number for number, use in enumerate(uses.USES, 1)}
COUNT = len(PLAIN) + 2
# Every disk is big enough for the log of an XFS, and nothing is kept of what was never written.
SIZE_BYTES = 128 << 20
PRODUCT_OF_USED = "USED"
# The maps that the test makes are the only ones.
MULTIPATH_BLACKLIST = f"""
mkdir -p /etc/multipath/conf.d
cat >/etc/multipath/conf.d/used.conf <<'END'
blacklist {{
  device {{
    vendor "ACME"
    product "{PRODUCT_OF_USED}"
  }}
}}
END
"""
# The second path is for the volume that has a map, and for no other.
LOGIN = f"""
iscsiadm -m discovery -t sendtargets -p 10.0.2.100 >/dev/null
iscsiadm -m node -T {IQN} -p 10.0.2.101 -o delete
iscsiadm -m node --login >/dev/null
"""


class Array:
    """Two targets: the disks of all uses but one, and the volume with two paths. LUN 0 is nobody's."""

    def __init__(self):
        self._used = {LUNS[use.name]: plain_unit(LUNS[use.name], PRODUCT_OF_USED, SIZE_BYTES) for use in PLAIN}
        self._paths = {LUNS[TWO_PATHS]: plain_unit(LUNS[TWO_PATHS], "PATHS", SIZE_BYTES)}
        self.targets = [Target(IQN, {}), Target(PATHS_IQN, {})]
        self.present()

    def present(self):
        """All volumes answer."""
        self.targets[0].units.update(self._used)
        self.targets[1].units.update(self._paths)

    def withdraw(self):
        """None does: the kernel keeps the disks, which are now stale."""
        for target in self.targets:
            target.units.clear()


def prepare(guest):
    """Brings up initiator, udev and multipath, and waits for all disks and the map."""
    start_initiator(guest)
    multipath.start_udev(guest)
    multipath.link_pidof(guest)
    guest.run(MULTIPATH_BLACKLIST + LOGIN)
    disks_of.wait_for_disks(guest, COUNT)
    multipath.start_multipathd(guest, 1)
    uses.copy_scripts(guest)


def bring_back(guest, array):
    """All volumes answer, and the kernel knows them all."""
    array.present()
    guest.run("iscsiadm -m node --login >/dev/null 2>&1\niscsiadm -m session -R >/dev/null", status=None)
    disks_of.wait_for_disks(guest, COUNT)
    guest.run("udevadm settle -t 20", status=None)
