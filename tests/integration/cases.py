"""The runs of the command that are compared with expected/: name, arguments, sample.

Every case also runs with --json, and its document is held against the schema.
"""

SAMPLES = ("plain-server", "enterprise", "families", "kernel-2.4", "in-use")

# The site of the enterprise sample: the same host a day before, and its cluster partner.
SITE = ("enterprise-yesterday", "enterprise-partner")

# Captures of sick guests, each with a disk that suffers.
SICK = {"sick-dead-path": "/dev/sda", "sick-all-paths-down": "/dev/mapper/mpathb",
        "sick-withdrawn-lun": "/dev/sdb", "sick-remapped-lun": "/dev/sdb",
        "sick-far-lun": "/dev/sdc", "sick-write-protected": "/dev/sdb", "sick-slow-array": "/dev/sdd",
        "sick-silent-disk": "/dev/sdb"}


def on(sample, *arguments):
    return ["--host", f"samples/{sample}.json", *arguments]


def sample_cases():
    for sample in SAMPLES:
        for command in (["devices"], ["volumes"], ["disks"], ["bus"], ["wwpn"], ["iscsi", "iqn"],
                        ["rescan"], ["rescan", "--changes"], ["devices", "--rescan"],
                        ["remove-dead"], ["remove-dead", "--lun0", "--force"], ["remove-stale"],
                        ["flush-multipath"], ["prune"], ["doctor"]):
            yield f"{sample}.{'_'.join(command).replace('--', '')}", on(sample, *command)


def sick_cases():
    for sample, node in SICK.items():
        for command in (["devices"], ["volumes"], ["disks"], ["bus"], ["inquiry", node], ["explain", node],
                        ["udid", node], ["validate", node], ["doctor"], ["--dry-run", "prune"],
                        ["--dry-run", "remove-dead", "--lun0"], ["--dry-run", "flush-multipath"]):
            words = [word for word in command if word[0] != "/"]
            yield f"{sample}.{'_'.join(words).replace('--', '').replace('dry-run', 'dry')}", on(sample, *command)


# Target and LUN of the disks of that host: each is used in another way, the last two are unused.
IN_USE = ("0:0", "0:1", "0:2", "0:3", "1:0", "1:1", "2:0", "2:1", "3:0", "3:1", "3:2", "3:3", "3:4",
          "4:0", "4:1", "4:2", "5:1", "6:1", "7:1", "9:1", "10:1")


def use_cases():
    for place in IN_USE:
        target, lun = place.split(":")
        yield (f"in-use.remove_{target}_{lun}",
               on("in-use", "remove-address", "0", "0", target, lun))


# Hosts written by hand, on which nothing is as it should be.
SICK_HOSTS = ("sick", "all_down")


def written_cases():
    for host in SICK_HOSTS:
        for command in ("devices", "volumes", "disks"):
            yield f"{host}.{command}", ["--host", f"tests/integration/hosts/{host}.json", command]


def site_cases():
    for sample in SITE:
        for command in (["devices"], ["volumes"], ["doctor"], ["--dry-run", "prune"]):
            yield f"{sample}.{command[-1]}", on(sample, *command)


CASES = dict(sample_cases()) | dict(site_cases()) | dict(use_cases()) | dict(sick_cases()) | dict(written_cases()) | {
    "diff": ["diff", "samples/sick-slow-array.json", "samples/sick-withdrawn-lun.json"],
    "diff_remapped": ["diff", "samples/sick-remapped-lun.json", "samples/sick-dead-path.json"],
    "diff_same": ["diff", "samples/in-use.json", "samples/in-use.json"],
    "diff_live": on("plain-server", "diff", "samples/enterprise.json", "live"),
    "diff_day": ["diff", "samples/enterprise-yesterday.json", "samples/enterprise.json"],
    "diff_no_file": ["diff", "samples/in-use.json", "nonexistent.json"],
    "diff_no_host": ["diff", "samples/in-use.json", "docs/scsitool.md"],
    "matrix": ["matrix", "samples/sick-slow-array.json", "samples/sick-dead-path.json",
               "samples/enterprise.json"],
    "matrix_some": ["matrix", "--some", "--shared", "samples/sick-slow-array.json",
                    "samples/sick-withdrawn-lun.json", "samples/enterprise.json"],
    "matrix_cluster": ["matrix", "--shared", "samples/enterprise.json", "samples/enterprise-partner.json"],
    "matrix_lines": ["matrix", "samples/plain-server.json", "--ndjson"],
    "volumes_lines": on("plain-server", "volumes", "--ndjson"),
    "devices_lines": on("sick-withdrawn-lun", "devices", "--ndjson"),
    "inquiry": on("enterprise", "inquiry", "/dev/sdb"),
    "inquiry_hex": on("enterprise", "inquiry", "/dev/sdb", "--hex"),
    "inquiry_page_list": on("enterprise", "inquiry", "/dev/sdb", "--hex", "--page", "00"),
    "inquiry_hex_page": on("enterprise", "inquiry", "/dev/sdb", "--hex", "--page", "83"),
    "explain": on("enterprise", "explain", "/dev/sdb"),
    "explain_failure": on("enterprise", "explain", "/dev/sdj"),
    "udid": on("enterprise", "udid", "/dev/mapper/mpatha"),
    "udev_export": on("enterprise", "udev-export", "/dev/mapper/mpatha"),
    "udev_export_disk": on("families", "udev-export", "/dev/sdk"),
    "udev_export_path_udid": on("families", "udev-export", "/dev/sdw"),
    "udev_export_partition": on("plain-server", "udev-export", "/dev/sda1"),
    "udev_export_silent": on("sick-silent-disk", "udev-export", "/dev/sdb"),
    "udev_export_nothing": on("enterprise", "udev-export"),
    "udev_export_relink": on("enterprise", "udev-export", "--relink", "UDID##A"),
    "udid_by_address": on("sick-dead-path", "udid", "[0:0:0:0]"),
    "udid_by_part": on("enterprise", "udid", "4082368-508"),
    "udid_ambiguous": on("enterprise", "udid", "DGC##CLARIION"),
    "udid_unknown": on("enterprise", "udid", "frobnicate"),
    "udid_empty": on("enterprise", "udid", ""),
    "find": on("sick-dead-path", "find", "wwn-0x6000c500000000000000000000000000"),
    "find_path": on("sick-dead-path", "find", "sda"),
    "find_mount": on("sick-dead-path", "find", "/mnt"),
    "find_nothing": on("in-use", "find", "/dev/sdzz"),
    "remove_by_name": on("in-use", "remove", "mpathm", "--force"),
    "remove_address_by_name": on("in-use", "remove-address", "sdu"),
    "remove_address_of_a_map": on("in-use", "remove-address", "mpathm"),
    "remove_address_of_a_volume": on("sick-dead-path", "remove-address", "6000c500000000000000000000000000"),
    "volumes_paths": on("sick-dead-path", "volumes", "--paths"),
    "volumes_unused": on("in-use", "volumes", "--unused", "--no-headings", "-o", "volume,used"),
    "volumes_columns": on("enterprise", "volumes", "-o", "+driver,initiator", "--sort", "size", "--reverse"),
    "volumes_nothing": on("enterprise", "volumes", "--vendor", "ACME"),
    "volumes_identity": on("families", "volumes", "-o", "volume,family,array,id,serial,unit,udid"),
    "devices_identity": on("families", "devices", "-o", "device,family,array,id,serial,target,group,udid"),
    "volumes_no_column": on("enterprise", "volumes", "-o", "frob"),
    "columns": ["devices", "-o", "help"],
    "udid_rescan": on("enterprise", "udid", "/dev/sdzz", "--rescan-if-missing"),
    "validate": on("enterprise", "validate", "/dev/sdb"),
    "validate_taq": on("enterprise", "validate", "/dev/sdb", "--taq"),
    "trace": on("enterprise", "--trace", "6", "devices", "/dev/sdb"),
    "trace_rescan": on("kernel-2.4", "--trace", "3", "rescan"),
    "dry_rescan": on("kernel-2.4", "--dry-run", "rescan"),
    "dry_remove_address": on("kernel-2.4", "--dry-run", "remove-address", "1", "0", "0", "1"),
    "dry_remove": on("enterprise", "--dry-run", "remove", "/dev/mapper/mpathc"),
    "dry_remove_used": on("enterprise", "--dry-run", "remove", "/dev/mapper/mpatha"),
    "dry_login": on("enterprise", "--dry-run", "iscsi", "login", "iqn.2003-01.org.example:a"),
    "iscsi_discover": on("enterprise", "iscsi", "discover", "192.0.2.10:3260"),
    "iscsi_login": on("enterprise", "iscsi", "login", "iqn.1992-08.com.netapp:sn.135902718"),
    "iscsi_logout": on("enterprise", "iscsi", "logout", "iqn.1992-08.com.netapp:sn.135902718"),
    "iscsi_rescan": on("enterprise", "iscsi", "rescan", "--changes"),
    "iscsi_option_as_name": on("enterprise", "iscsi", "login", "--", "-x"),
    "remove_address": on("kernel-2.4", "remove-address", "1", "0", "0", "1"),
    "remove_long_lun": on("enterprise", "remove-address", "2", "0", "0", "300"),
    "remove_map_in_use": on("in-use", "remove", "/dev/mapper/mpathm"),
    "remove_one_word": on("in-use", "remove-address", "0:0:010:01"),
    "remove_nothing_there": on("in-use", "remove-address", "0:0:0:16684"),
    "remove_no_address": on("in-use", "remove-address", "0:0:0"),
    "dry_prune": on("in-use", "--dry-run", "prune"),
    "prune_forced": on("in-use", "prune", "--force"),
    "remove_forced": on("in-use", "remove-address", "0", "0", "0", "0", "--force"),
    "dry_refused": on("in-use", "--dry-run", "remove-address", "0", "0", "0", "0"),
    "rescan_that_removes": on("in-use", "devices", "--rescan", "--rescan-args=-r"),
    "logout_in_use": on("in-use", "iscsi", "logout", "iqn.1992-08.com.netapp:sn.135902718"),
    "bus_negative": ["--host", "tests/integration/hosts/negative_target.json", "bus"],
    "remove_negative": ["--host", "tests/integration/hosts/negative_target.json", "remove-dead",
                        "--lun0", "--force"],
    "remove_no_map": on("enterprise", "remove", "/dev/sdb"),
    "capture_dry": on("enterprise", "--dry-run", "capture", "db01.json"),
    "capture_no_file": on("enterprise", "capture", "/dev/null"),
    "no_such_device": on("enterprise", "devices", "/dev/sdzz"),
    "silent_device": on("enterprise", "inquiry", "/dev/sdw"),
    "no_such_file": ["--host", "/nonexistent.json", "devices"],
    "not_json": ["--host", "docs/scsitool.md", "devices"],
    "unknown_command": ["frobnicate"],
    "no_command": [],
    "help": ["--help"],
    "help_command": ["help", "rescan"],
    "explain_mail": ["explain", "tests/mailed/quoted-mail.txt"],
    "explain_short": on("enterprise", "explain", "/dev/sdq", "--short"),
    "explain_same": on("enterprise", "explain", "samples/mailed-pages.txt", "--same-as", "/dev/sdq"),
    "explain_other": on("enterprise", "explain", "samples/mailed-pages.txt", "--same-as", "mpathb"),
    "explain_same_as_nothing": on("enterprise", "explain", "/dev/sdq", "--same-as", "/dev/sdr"),
    "explain_hexdump": ["explain", "tests/mailed/hexdump-C.txt"],
    "explain_no_page": ["explain", "cmake/install.cmake"],
    "version": ["--version"],
}
