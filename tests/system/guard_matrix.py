"""Kinds of use by commands that can remove: what stays while it is used, why, and what goes afterwards."""
import json
import re
import shlex

import guard_array
import uses
from guard_array import LUNS, PLAIN, TWO_PATHS
from lab.table import Table

RUN_SECONDS = 900

COLUMNS = ["remove", "address", "dead", "stale", "flush", "logout", "--remove", "--forcerescan", "devices", "prune"]
LEGEND = ["U: left alone by the tool itself while it was used, and its user was named",
          "R: refused while it was used, with the user named; T: taken once the use had ended",
          "X: taken though it was used; x: had been taken before; S: stayed, and nobody said why",
          "K: kept though nobody used it any more"]
# A program more costs as much as all the work of one.
LIST_INSTANCES = r"""
cd /sys/block
find . -name 'sd*' -printf '%f %l\n'
grep . sd*/diskseq /dev/null
"""
END_OF_DOCUMENT = "end of document"


class Matrix:
    """One guest with all disks, each put to its use."""

    def __init__(self, guest, checks, array):
        self.guest = guest
        self.checks = checks
        self.array = array
        self.table = Table("kinds of use by commands that can remove", [use.title for use in uses.USES], COLUMNS,
                           LEGEND)
        checks.tables.append(self.table)
        self._disks = {}
        self._left = {}

    def begin_uses(self):
        """Puts every disk to its use; what the kernel says of it is checked."""
        self._disks = self._disks_of_uses()
        for use in uses.USES:
            node = self._disks[use.name][1]
            is_free = uses.change(self.guest, "begin", use, node)
            self.checks.equal(f"{use.title}: the kernel gives the disk to one more exclusive user", is_free,
                              not use.exclusive)
        self.guest.run("sync")

    def end_uses(self):
        """Ends every use; the kernel has no user left then."""
        for use in uses.USES:
            is_free = uses.change(self.guest, "end", use, self._disks[use.name][1])
            self.checks.equal(f"{use.title}: the disk is free afterwards, but for a map", is_free, not use.has_map)

    def others_than(self, name):
        """All uses but one."""
        return [use for use in uses.USES if use.name != name]

    def only(self, name):
        """One use."""
        return [use for use in uses.USES if use.name == name]

    def map_of(self, disk):
        """The map over a disk."""
        return uses.call(self.guest, "map_of", disk[1]).stdout.strip()

    def check_flush(self, reason_of_others):
        """`flush-multipath` while a map is used: the tool leaves that alone, and the command says who uses it."""
        use, = self.only(TWO_PATHS)
        name = self.map_of(self._disks[TWO_PATHS])
        result = self.guest.run(["scsitool", "--json", "flush-multipath"], None)
        here = self.guest.run(f"[ -e {name} ]", None).status == 0
        said = [entry["reason"] for entry in result.json.get("kept", []) if entry["device"] == name]
        self._cell(use, "flush", "X" if not here else "U" if said else "S", "U", result)
        for other in PLAIN:
            self.table.leave_out(other.title, "flush", reason_of_others)

    def check_maps_taken(self):
        """`remove` takes the maps that nobody uses."""
        for use in filter(lambda one: one.has_map, uses.USES):
            name = self.map_of(self._disks[use.name])
            result = self.guest.run(["scsitool", "--json", "remove", name], None)
            self._check_map_gone(use, "remove", name, result)

    def check_flush_taken(self):
        """`flush-multipath` takes it too, once there is one again."""
        use, = self.only(TWO_PATHS)
        self.guest.run("multipath -v0\nudevadm settle -t 20", status=None)
        name = self.map_of(self._disks[TWO_PATHS])
        result = self.guest.run(["scsitool", "--json", "flush-multipath"], None)
        self._check_map_gone(use, "flush", name, result)

    def _check_map_gone(self, use, column, name, result):
        here = self.guest.run(f"udevadm settle -t 20\n[ -e {name} ]", None).status == 0
        self._cell(use, column, "K" if here else "T", "T", result)

    def drop_maps(self):
        """No map is left, and none comes again."""
        self.guest.run("kill $(pidof multipathd)\nudevadm settle -t 20\ndmsetup remove_all --retry\nudevadm settle -t 20",
                       status=None)

    def bring_back(self):
        """All volumes answer, and the kernel knows them all."""
        guard_array.bring_back(self.guest, self.array)
        self._disks = self._disks_of_uses()

    def check_all_stay(self, what, arguments):
        """Runs a command that must do nothing at all; returns how it ended."""
        before = self._left
        result, left = self._remove(arguments, RUN_SECONDS)
        self.checks.equal(f"{what}: every disk stays", left, before)
        return result

    def check_one_by_one(self, column, arguments_of, seconds=RUN_SECONDS):
        """A command that names a disk or a map: each is refused, and the use is the reason."""
        for use in uses.USES:
            arguments = arguments_of(use, self._disks[use.name])
            if isinstance(arguments, str):
                self.table.leave_out(use.title, column, arguments)
            else:
                self.check_refused(column, arguments, [use], seconds)

    def check_refused(self, column, arguments, which=None, seconds=RUN_SECONDS):
        """One run of a command while the disks are used: every disk stays, and its user is named."""
        before = self._left
        result, left = self._remove(arguments, seconds)
        said = reasons(result.stdout)
        for use in which or uses.USES:
            address, node, instance = self._disks[use.name]
            names = {node, address, *arguments[1:]}
            mine = " / ".join(reason for name in names for reason in said.get(name, []))
            named = result.status == 1 and re.search(use.reason, mine)
            mark = "R" if named else "S"
            if left.get(address) != (node, instance):
                mark = "X" if before.get(address) == (node, instance) else "x"
            self._cell(use, column, mark, "R", f"{arguments}\nstatus {result.status}, said of {names}: {mine!r}\n"
                       f"{result.stderr}")

    def check_taken_one_by_one(self, column, arguments_of):
        """The same, once nobody uses them."""
        for use in uses.USES:
            arguments = arguments_of(use, self._disks[use.name])
            if not isinstance(arguments, str):
                self.check_taken(column, arguments, [use])

    def check_taken(self, column, arguments, which=None, seconds=RUN_SECONDS):
        """One run of a command when nobody uses the disks: each goes, or comes again as another instance."""
        result, left = self._remove(arguments, seconds)
        for use in which or uses.USES:
            address, node, instance = self._disks[use.name]
            mark = "K" if left.get(address) == (node, instance) else "T"
            self._cell(use, column, mark, "T", f"{arguments}\n{result}")

    def _cell(self, use, column, mark, wanted, detail):
        self.table.add(use.title, column, mark)
        self.checks.quietly(f"{use.title}, {column}: {wanted}", mark, wanted, detail)

    def _remove(self, arguments, seconds):
        """Runs a command; returns how it ended, and what is left."""
        command = shlex.join(["scsitool", "--json", *arguments])
        result = self.guest.run(f"{command}\nstatus=$?\necho '{END_OF_DOCUMENT}'\n{LIST_INSTANCES}\nexit $status", None,
                                seconds)
        result.stdout, _, listing = result.stdout.partition(END_OF_DOCUMENT)
        self._left = instances(listing)
        return result, self._left

    def _disks_of_uses(self):
        """Address, node and instance of the disk of every use; of two paths the first."""
        self._left = instances(self.guest.run(LIST_INSTANCES, None).stdout)
        found = {}
        for address, (node, instance) in sorted(self._left.items()):
            found.setdefault(int(address.split(":")[3]), (address, node, instance))
        return {use.name: found[LUNS[use.name]] for use in uses.USES}


def instances(listing):
    """Node and sequence number of every disk by its address. The number tells a disk from one that came to its place,
    and its node, later."""
    numbers = dict(re.findall(r"^(sd\w+)/diskseq:(\d+)$", listing, re.MULTILINE))
    links = re.findall(r"^(sd\w+) \S*/(\d+:\d+:\d+:\d+)/block/", listing, re.MULTILINE)
    return {address: (f"/dev/{name}", numbers.get(name)) for name, address in links}


def reasons(text):
    """What a command refused: {name: [reason, ...]}."""
    said = {}
    for entry in json.loads(text).get("refused", []) if text.startswith("{") else []:
        said.setdefault(entry["device"], []).append(entry["reason"])
    return said


def by_address(_, disk):
    """`remove-address` for a disk."""
    return ["remove-address", *disk[0].split(":")]
