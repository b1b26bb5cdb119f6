"""What is checked of the running command beside the comparison with files."""

import json
import os
import pathlib
import pty
import re
import shlex
import shutil
import signal
import subprocess
import tempfile
import time

from cases import SICK_HOSTS, SITE

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def file_of(name):
    """Where a host stands: among the samples or among those that are written for the tests."""
    shipped = f"samples/{name}.json"
    return shipped if (ROOT / shipped).exists() else f"tests/integration/hosts/{name}.json"


def sample(name):
    return ["--host", file_of(name)]


def one_line(result, part):
    lines = result.stderr.splitlines()
    if len(lines) != 1 or not lines[0].startswith("scsitool: ") or part not in lines[0]:
        return [f"standard error is {result.stderr!r}, not one line with {part!r}"]
    return []


def device_maps_are_those_of_the_samples(scsitool, samples):
    """One entry a device in map order, with the UDIDs worked out beside the page bytes."""
    problems = []
    for name in samples:
        found = json.loads(scsitool.run([*sample(name), "devices", "--json"]).stdout)["devices"]
        names = [device["name"] for device in found]
        if names != sorted(set(names)):
            problems.append(f"{name}: not one entry a device in map order: {names}")
        expected = json.loads((ROOT / f"tests/samples/{name}.devices.json").read_text())
        udids = {device["name"]: device["udid"] for device in found}
        text = json.dumps(expected)
        problems += [f"{name}: {device}: {udid} is not in the expected map"
                     for device, udid in udids.items()
                     if json.dumps(device) not in text or json.dumps(udid) not in text]
    return problems


def trace_lines_come_in_their_order(scsitool, _samples):
    result = scsitool.run([*sample("enterprise"), "--trace", "6", "devices", "--json"])
    wanted = [
        r"\[6\] Entering Function clearDeviceCache ",
        r"\[6\] Entering Function rescan ",
        r"\[3\] libscsitool: Info: CDeviceDiscoveryBase::rescan\(\)\.",
        r"\[3\] Acquring lock \.",
        r"\[3\] Got the lock \.",
        r"\[6\] Entering Function enumerateDevices ",
        r"\[3\] INFO: enumerate DMP devices returned \[[0-9]+\] devices",
        r"\[6\] Entering Function enumerateNativeDevicePaths ",
        r"\[3\] INFO: reading /proc/partitions",
        r"\[3\] INFO: Native device /dev/sda added\. Native device enumeration done",
        r"\[6\] Exiting Function enumerateDevices ",
        r"\[6\] libscsitool: Info: CDeviceDiscoveryBase:: Getting data for disk /dev/sda\.",
        r"\[4\] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo\(\)",
        r"\[4\] libscsitool: DEBUG: Entering CScsiTool::UpdateTargetLunPortInfo\(\)",
        r"\[6\] CSciToolBase:UpdateModePageString for page\[131\]\.\.\.",
        r"\[6\] CSciToolBase:UpdateModePageString for page\[131\] done",
        r"\[3\] Releasing the lock \.",
        r"\[3\] libscsitool: DEBUG : CDeviceDiscoveryBase::rescan Exit\.",
        r"\[6\] Exiting Function rescan ",
        r"\[3\] Generated UDID is UDID##",
        r"\[3\] Printing m_deviceMap",
        r"\[3\] Uid \[.*\] \tDeviceName \[/dev/sda\] \tdmpClaimLevel \[0\]",
    ]
    place = 0
    lines = result.stderr.splitlines()
    for pattern in wanted:
        while place < len(lines) and not re.match(pattern, lines[place]):
            place += 1
        if place == len(lines):
            return [f"no line {pattern} behind those before it"]
    return [f"no trace line: {line}" for line in lines if not re.match(r"\[[0-9]\] .|scsitool: 1 of 25 disks did not answer: ", line)]


def hexadecimal_pages_are_what_sg_vpd_and_sg_inq_read(scsitool, _samples):
    if not shutil.which("sg_vpd") or not shutil.which("sg_inq"):
        print("sg3-utils is not installed: no page was handed to it")
        return []
    problems = []
    for disk in ("/dev/sda", "/dev/sdb", "/dev/sdk", "/dev/sdm"):
        record = json.loads(scsitool.run([*sample("enterprise"), "inquiry", disk, "--json"]).stdout)
        for key, digits in record["records"][0]["pages"].items():
            page = scsitool.run([*sample("enterprise"), "inquiry", disk, "--hex", "--page", key])
            with tempfile.NamedTemporaryFile("w", suffix=".hex") as file:
                file.write(page.stdout)
                file.flush()
                tool = (["sg_inq", "-HHH"] if key == "std"
                        else ["sg_vpd", "--page", f"0x{key}", "-HHHH"])
                read = subprocess.run([*tool, f"--inhex={file.name}"], text=True,
                                      capture_output=True, check=False)
            found = "".join(re.findall(r"^[0-9a-f]{2}(?: +[0-9a-f]{2})*$", read.stdout, re.M))
            if found.replace(" ", "") != digits:
                problems.append(f"{disk} {key}: {tool[0]} reads {read.stdout}{read.stderr}")
    return problems


def output_that_cannot_be_kept_is_a_failure(scsitool, _samples):
    problems = []
    for arguments in (["devices"], ["devices", "--json"]):
        with open("/dev/full", "w") as full:
            result = scsitool.run([*sample("families"), *arguments], stdout=full)
        problems += one_line(result, "cannot write to standard output: No space left on device")
        if result.returncode != 1:
            problems.append(f"exit status {result.returncode}")
    return problems


def a_reader_that_goes_away_changes_nothing(scsitool, _samples):
    problems = []
    for arguments in (["devices"], ["devices", "--json"], ["help"]):
        reading, writing = os.pipe()
        os.close(reading)
        result = scsitool.run([*sample("families"), *arguments], stdout=writing)
        os.close(writing)
        if result.returncode != 0 or result.stderr:
            problems.append(f"{arguments}: exit status {result.returncode}, {result.stderr!r}")
    return problems


def a_recorded_host_comes_from_standard_input(scsitool, _samples):
    problems = []
    direct = scsitool.run([*sample("families"), "devices"])
    with open(ROOT / "samples" / "families.json", "rb") as file:
        piped = scsitool.run(["--host", "-", "devices"], stdin=file)
    if (piped.stdout, piped.returncode) != (direct.stdout, direct.returncode):
        problems.append("another answer than by its name")
    empty = scsitool.run(["--host", "-", "devices"], stdin=subprocess.DEVNULL)
    return problems + one_line(empty, "standard input:")


def mailed_pages_come_from_standard_input(scsitool, _samples):
    problems = []
    page = ROOT / "tests" / "mailed" / "quoted-mail.txt"
    direct = scsitool.run(["explain", str(page)])
    with open(page, "rb") as file:
        piped = scsitool.run(["explain", "-"], stdin=file)
    if (piped.stdout, piped.returncode) != (direct.stdout, 0):
        problems.append("another answer than by its name")
    empty = scsitool.run(["explain", "-"], stdin=subprocess.DEVNULL)
    return problems + one_line(empty, "standard input: no page in it")


def on_a_terminal(scsitool, arguments, columns, stderr=subprocess.DEVNULL):
    reading, writing = pty.openpty()
    environment = {"COLUMNS": str(columns), "TERM": "xterm"}
    process = subprocess.Popen([scsitool.program, *arguments], cwd=ROOT, stdout=writing,
                               stderr=stderr, env=os.environ | environment)
    os.close(writing)
    output = b""
    try:
        while chunk := os.read(reading, 65536):
            output += chunk
    except OSError:
        pass  # the terminal's way to say that its other end is closed
    os.close(reading)
    process.wait()
    return output.decode()


def on_a_screen(scsitool, arguments, columns):
    """What a person sees there, without what sets it off."""
    with tempfile.TemporaryFile("w+") as errors:
        text = on_a_terminal(scsitool, arguments, columns, errors)
        errors.seek(0)
        return re.sub("\x1b\\[[0-9]*m|\r", "", text) + errors.read()


def tables_fit_the_terminal(scsitool, samples):
    problems = []
    for name in (*samples, *SICK_HOSTS):
        for command in ("devices", "volumes", "disks", "bus"):
            for columns in (200, 120, 100, 80):
                text = on_a_terminal(scsitool, [*sample(name), command], columns)
                for line in re.sub("\x1b\\[[0-9]*m", "", text).splitlines():
                    # A UDID stays whole for who copies it.
                    if len(line) > columns and not line.startswith("  UDID##"):
                        problems.append(f"{name} {command}: {len(line)} columns of {columns}")
    if not on_a_terminal(scsitool, [*sample("enterprise"), "devices"], 80).startswith("\x1b[1m"):
        problems.append("the titles are not set off on a terminal")
    return problems


def a_sample_leaves_no_question_unanswered(scsitool, samples):
    problems = []
    for name in (*samples, *SITE):
        with tempfile.NamedTemporaryFile("r") as journal:
            scsitool.run([*sample(name), "--journal", journal.name, "volumes"])
            problems += [f"{name}: {line}" for line in journal if "unanswered" in line]
    return problems


def closed_standard_streams_leave_the_journal_whole(scsitool, _samples):
    """Without standard output, input and error the next files opened must not take their place."""
    problems = []
    for redirections in (">&-", "2>&-", "<&-", "<&- >&- 2>&-"):
        with tempfile.TemporaryDirectory() as folder:
            journal = pathlib.Path(folder) / "journal"
            command = [str(scsitool.program), *sample("plain-server"), "--journal", str(journal),
                       "rescan", "--json", "--changes"]
            script = f"{shlex.join(command)} {redirections}"
            subprocess.run(["/bin/sh", "-c", script], cwd=ROOT, check=False,
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            for line in journal.read_text().splitlines():
                if not line.startswith(('{"run":{', '{"effect":')):
                    problems.append(f"{redirections}: {line}")
            if not journal.read_text().startswith('{"run":{'):
                problems.append(f"{redirections}: the run is not in the journal")
    return problems


def a_capture_replays_as_its_host(scsitool, samples):
    """Every command that reads, on a sample and on the capture of it; none of the secrets of the
    one stands in the redacted other."""
    problems = []
    commands = (["devices"], ["volumes"], ["disks"], ["bus"], ["wwpn"], ["iscsi", "iqn"], ["doctor"],
                ["--dry-run", "rescan"], ["--dry-run", "flush-multipath"])
    for name in (*samples, *SICK_HOSTS):
        with tempfile.TemporaryDirectory() as folder:
            copy, other = f"{folder}/copy.json", f"{folder}/other.json"
            for arguments in (["capture", copy], ["capture", other, "--redact"]):
                result = scsitool.run([*sample(name), *arguments])
                if result.returncode != 0:
                    problems.append(f"{name}: {arguments}: {result.stderr}")
            if os.stat(copy).st_mode & 0o777 != 0o600 or len(os.listdir(folder)) != 2:
                problems.append(f"{name}: {os.listdir(folder)}, mode {os.stat(copy).st_mode:o}")
            for command in commands:
                if name in SICK_HOSTS and command == ["doctor"]:
                    continue  # what these do not speak of, a capture of them has answers to
                wanted = scsitool.run([*sample(name), *command])
                found = scsitool.run(["--host", copy, "--journal", f"{folder}/journal", *command]
                                     if "--dry-run" not in command else ["--host", copy, *command])
                if (wanted.returncode, wanted.stdout) != (found.returncode, found.stdout):
                    problems.append(f"{name}: {command} differs on the capture")
            text = pathlib.Path(other).read_text()
            problems += [f"{name}: {secret} stands in the redacted capture"
                         for secret in secrets_of(json.loads((ROOT / file_of(name)).read_text()))
                         if secret in text]
    return problems


def an_ended_capture_leaves_the_file_as_it_was(scsitool, _samples):
    problems = []
    ended = set()
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        for milliseconds in range(0, 60, 6):
            with tempfile.TemporaryDirectory() as folder:
                file = pathlib.Path(folder) / "host.json"
                file.write_text("old")
                process = subprocess.Popen([scsitool.program, *sample("families"), "capture", file, "--redact"],
                                           cwd=ROOT, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
                time.sleep(milliseconds / 1000)
                process.send_signal(number)
                message = process.communicate()[1].decode()
                status = process.returncode
                ended.add(status)
                whole = file.read_text()
                if os.listdir(folder) != ["host.json"]:
                    problems.append(f"{number.name} after {milliseconds} ms left {os.listdir(folder)}")
                # Before the handlers stand the signal ends the process by itself.
                if status == 0 and json.loads(whole)["format"] != "scsitool-host/1":
                    problems.append(f"{number.name} after {milliseconds} ms: exit status 0 and no capture")
                if status != 0 and (whole != "old" or status not in (-number, 128 + number)):
                    problems.append(f"{number.name} after {milliseconds} ms: {status}, {message}, {whole[:40]}")
    return problems + ([] if len(ended) > 1 else [f"every one ended with {ended}"])


def secrets_of(host):
    """Serial numbers and logical-unit names as text and in digits, worked out from the pages."""
    found = {host["hostname"]}
    for device in host["devices"].values():
        pages = {code: page for code, page in device.get("inquiry", {}).items()
                 if isinstance(page, str)}
        serial = bytes.fromhex(pages.get("80", ""))[4:].decode("latin-1").strip(" \0")
        if len(serial) > 3:
            found |= {serial, serial.lower(), serial.encode("latin-1").hex()}
        names = bytes.fromhex(pages.get("83", ""))
        place = 4
        while place + 4 <= len(names):
            end = place + 4 + names[place + 3]
            if names[place] & 15 == 1 and names[place + 1] & 15 in (2, 3):
                digits = names[place + 4:end].hex()
                found |= {digits, digits.upper(), names[place + 4:end].hex(":")}
            place = end
    return {secret for secret in found if len(secret) > 3}


CHECKS = (
    a_capture_replays_as_its_host,
    an_ended_capture_leaves_the_file_as_it_was,
    device_maps_are_those_of_the_samples,
    trace_lines_come_in_their_order,
    hexadecimal_pages_are_what_sg_vpd_and_sg_inq_read,
    output_that_cannot_be_kept_is_a_failure,
    a_reader_that_goes_away_changes_nothing,
    a_recorded_host_comes_from_standard_input,
    mailed_pages_come_from_standard_input,
    tables_fit_the_terminal,
    a_sample_leaves_no_question_unanswered,
    closed_standard_streams_leave_the_journal_whole,
)
