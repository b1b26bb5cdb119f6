"""Disks in use and commands that remove, on the distribution's kernel: what is used stays, and then goes."""
import guard_array
from guard_array import IQN, PATHS_IQN, TWO_PATHS, Array
from guard_matrix import Matrix
from lab import rescan_script
from lab.job import Hardware

TYPICAL_SECONDS = 150

array = Array()
# The script looks at eight targets of every adapter; there is one.
ONE_TARGET = "--ids=0"
NO_MAP = "the command removes maps, and this disk has none"
NO_OWN_MAP = "the command drops multipath maps, and this disk is no path of one"


def hardware():
    """A card on the network of an array with a disk for every use."""
    return Hardware(targets=array.targets)


def run(guest, _, checks):
    """The job."""
    guard_array.prepare(guest)
    matrix = Matrix(guest, checks, array)
    matrix.begin_uses()
    check_unmended_script(guest, checks, matrix)
    rescan_script.mend(guest, "/dev/sda")
    check_while_used(matrix)
    matrix.end_uses()
    check_afterwards(matrix)


def check_unmended_script(guest, checks, matrix):
    """A script that cannot read this sg_inq takes every disk for gone: it is not run."""
    if not rescan_script.cannot_read(guest, "/dev/sda"):
        return
    for arguments in (["remove-stale"], ["rescan", "--", "--remove"], ["devices", "--rescan", "--rescan-args= -r"]):
        what = f"{arguments} with a script that cannot read sg_inq"
        result = matrix.check_all_stay(what, arguments)
        checks.equal(f"{what}: the status tells", result.status, 1)
        for version in rescan_script.versions(guest):
            checks.contains(f"{what}: version {version} is named", result.stderr + result.stdout, version)


def check_while_used(matrix):
    """Every disk in use stays; first those that answer, then those that are stale as well."""
    matrix.check_one_by_one("remove",
                            lambda use, disk: ["remove", matrix.map_of(disk)] if use.has_map else NO_MAP)
    matrix.check_flush(NO_OWN_MAP)
    matrix.check_refused("logout", ["iscsi", "logout", IQN], matrix.others_than(TWO_PATHS))
    matrix.check_refused("logout", ["iscsi", "logout", PATHS_IQN], matrix.only(TWO_PATHS))
    matrix.check_refused("--forcerescan", ["rescan", "--", "--forcerescan"])
    matrix.array.withdraw()
    matrix.check_refused("stale", ["remove-stale"])
    matrix.check_refused("--remove", ["rescan", "--", "--remove"])
    matrix.check_refused("devices", ["devices", "--rescan", "--rescan-args= --remove"])
    matrix.check_refused("prune", ["prune"])
    matrix.bring_back()


def check_afterwards(matrix):
    """The same commands take what nobody uses."""
    matrix.check_maps_taken()
    matrix.check_flush_taken()
    matrix.drop_maps()
    matrix.check_taken("logout", ["iscsi", "logout", IQN], matrix.others_than(TWO_PATHS))
    matrix.check_taken("logout", ["iscsi", "logout", PATHS_IQN], matrix.only(TWO_PATHS))
    for column, arguments in (("stale", ["remove-stale", "--", ONE_TARGET]),
                              ("--remove", ["rescan", "--", "--remove", ONE_TARGET]),
                              ("--forcerescan", ["rescan", "--", "--forcerescan", ONE_TARGET]),
                              ("devices", ["devices", "--rescan", f"--rescan-args= --remove {ONE_TARGET}"]),
                              ("prune", ["prune"])):
        matrix.bring_back()
        matrix.array.withdraw()
        matrix.check_taken(column, arguments)
