"""The runs of the command that are compared with expected/: name, arguments, sample.

Every case also runs with --json, and its document is held against the schema.
"""

SAMPLES = ("plain-server", "enterprise", "families", "kernel-2.4")


def on(sample, *arguments):
    return ["--host", f"samples/{sample}.json", *arguments]


def sample_cases():
    for sample in SAMPLES:
        for command in (["devices"], ["volumes"], ["disks"], ["bus"], ["wwpn"], ["iscsi", "iqn"],
                        ["rescan"], ["rescan", "--changes"], ["devices", "--rescan"],
                        ["remove-dead"], ["remove-dead", "--lun0", "--force"], ["remove-stale"],
                        ["flush-multipath"]):
            yield f"{sample}.{'_'.join(command).replace('--', '')}", on(sample, *command)


CASES = dict(sample_cases()) | {
    "inquiry": on("enterprise", "inquiry", "/dev/sdb"),
    "inquiry_hex": on("enterprise", "inquiry", "/dev/sdb", "--hex"),
    "inquiry_hex_page": on("enterprise", "inquiry", "/dev/sdb", "--hex", "--page", "83"),
    "explain": on("enterprise", "explain", "/dev/sdb"),
    "explain_failure": on("enterprise", "explain", "/dev/sdj"),
    "udid": on("enterprise", "udid", "/dev/mapper/mpatha"),
    "udid_rescan": on("enterprise", "udid", "/dev/sdzz", "--rescan-if-missing"),
    "validate": on("enterprise", "validate", "/dev/sdb"),
    "validate_taq": on("enterprise", "validate", "/dev/sdb", "--taq"),
    "trace": on("enterprise", "--trace", "6", "devices", "/dev/sdb"),
    "trace_rescan": on("kernel-2.4", "--trace", "3", "rescan"),
    "dry_rescan": on("kernel-2.4", "--dry-run", "rescan"),
    "dry_remove_address": on("kernel-2.4", "--dry-run", "remove-address", "1", "0", "0", "1"),
    "dry_remove": on("enterprise", "--dry-run", "remove", "/dev/mapper/mpatha"),
    "dry_login": on("enterprise", "--dry-run", "iscsi", "login", "iqn.2003-01.org.example:a"),
    "iscsi_discover": on("enterprise", "iscsi", "discover", "192.0.2.10:3260"),
    "iscsi_login": on("enterprise", "iscsi", "login", "iqn.1992-08.com.netapp:sn.135902718"),
    "iscsi_logout": on("enterprise", "iscsi", "logout", "iqn.1992-08.com.netapp:sn.135902718"),
    "iscsi_rescan": on("enterprise", "iscsi", "rescan", "--changes"),
    "iscsi_option_as_name": on("enterprise", "iscsi", "login", "--", "-x"),
    "remove_address": on("kernel-2.4", "remove-address", "1", "0", "0", "1"),
    "remove_untrusted": on("enterprise", "remove-address", "2", "0", "0", "300"),
    "remove_no_map": on("enterprise", "remove", "/dev/sdb"),
    "no_such_device": on("enterprise", "devices", "/dev/sdzz"),
    "silent_device": on("enterprise", "inquiry", "/dev/sdw"),
    "no_such_file": ["--host", "/nonexistent.json", "devices"],
    "not_json": ["--host", "docs/scsitool.md", "devices"],
    "unknown_command": ["frobnicate"],
    "no_command": [],
    "help": ["--help"],
    "version": ["--version"],
}
