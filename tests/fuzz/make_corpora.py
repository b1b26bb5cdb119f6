#!/usr/bin/env python3
"""Makes what the fuzzers begin with: the samples and the mailed pages, in the form that each target reads."""
import json
import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = sorted((TOP / "samples").glob("*.json"))
# A small input is changed in more places in the same time.
LARGEST = 16000
NODE = re.compile(r"\b(sd[a-z]+|sg\d+|dm-\d+|emcpower[a-z]+)(?=\d*\b)")
ADDRESS = re.compile(r"\b\d+:\d+:\d+:\d+\b")
# How many commands the targets choose from, and more than there are does no harm.
COMMANDS = 32


def host(path):
    data = json.loads(path.read_text())
    data.pop("comment", None)
    return data


def content(value):
    """The bytes of a file; None for one that is no more than an errno."""
    if isinstance(value, str):
        return value.encode()
    if "text" in value:
        return content(value["text"])
    return bytes.fromhex(value["hex"]) if "hex" in value else None


def data_of(page):
    return bytes.fromhex(page) if isinstance(page, str) else bytes.fromhex(page.get("data", ""))


def said(device):
    """A device as the bytes that pages.h reads."""
    parts = []
    for name, page in device.get("inquiry", {}).items():
        parts.append((0 if name == "std" else 1 if name == "00" else int(name, 16), data_of(page)))
    if "id_lun" in device and isinstance(device["id_lun"], str):
        parts.append((0xFD, int(device["id_lun"], 16).to_bytes(4, "little")))
    if "size_bytes" in device:
        parts.append((0xFC, device["size_bytes"].to_bytes(8, "little")))
    for reply in device.get("sg_io", {}).values():
        parts.append((0xFE, data_of(reply)))
    return b"".join(bytes([code]) + len(data).to_bytes(2, "big") + data for code, data in parts)


def disk_lines(device):
    """A device as machine_text.h reads it."""
    for name, page in device.get("inquiry", {}).items():
        if isinstance(page, dict) and "errno" in page:
            yield f"refused {name} {page['errno']}"
        else:
            yield f"{name} {data_of(page).hex()}"
    for block, reply in device.get("sg_io", {}).items():
        yield f"sg {block} {data_of(reply).hex()}"
    if isinstance(device.get("id_lun"), str):
        yield f"id {device['id_lun']}"
    if "size_bytes" in device:
        yield f"size {device['size_bytes']}"
    if "number" in device:
        yield "number " + device["number"].split()[-1].replace(":", " ")
    if "open_errno" in device:
        yield f"open {device['open_errno']}"
    if device.get("in_use"):
        yield "used"


def machine(data, ask):
    lines = [f"@ask {ask}".encode()]
    for path, value in data.get("files", {}).items():
        text = content(value)
        error = value.get("read_errno", value.get("errno")) if isinstance(value, dict) else None
        title = f"@closed {error} {path}" if text is None else f"@unread {error} {path}" if error else f"@file {path}"
        lines += [title.encode()] + (text or b"").rstrip(b"\n").split(b"\n")
    for path, names in data.get("directories", {}).items():
        known = isinstance(names, list)
        lines += [(f"@dir {path}" if known else f"@closed {names['errno']} {path}").encode()]
        lines += [name.encode() for name in names if isinstance(name, str)] if known else []
    for path, target in data.get("links", {}).items():
        lines.append(f"@link {path} {target}".encode())
    for path, device in data.get("devices", {}).items():
        lines += [f"@disk {path}".encode()] + [line.encode() for line in disk_lines(device)]
    for command in data.get("commands", []):
        status = 256 if command.get("timed_out") else command.get("exit_status", 0)
        lines.append(f"@run {status} {command['command']}".encode())
        lines += [line.encode() for line in command.get("output", []) if isinstance(line, str)]
    return b"\n".join(lines) + b"\n"


def nodes(text):
    return set(NODE.findall(text)) | set(ADDRESS.findall(text))


def slim(data, kept):
    """A host with what speaks of some of its disks alone, or of none."""
    def stays(text):
        return nodes(text) <= kept

    result = {"format": data["format"]}
    for kind in ("files", "directories", "devices", "links"):
        result[kind] = {path: value for path, value in data.get(kind, {}).items() if stays(path)}
    result["commands"] = [one for one in data.get("commands", []) if stays(one["command"])]
    for path, value in result["files"].items():
        if isinstance(value, str) and len(value) > 400:
            result["files"][path] = "\n".join(line for line in value.split("\n") if stays(line))
    for path, names in result["directories"].items():
        if isinstance(names, list) and len(names) > 20:
            result["directories"][path] = [name for name in names if stays(str(name))]
    return result


def slim_hosts():
    for path in SAMPLES:
        data = host(path)
        disks = [name for name in data.get("devices", {}) if re.fullmatch(r"/dev/sd[a-z]+", name)]
        for disk in disks[:8] if path.stem != "families" else disks:
            name = disk[5:]
            kept = {name}
            for link, target in data.get("links", {}).items():
                if link.endswith(f"/{name}") or link.endswith(f"/{name}/device"):
                    kept |= set(ADDRESS.findall(target)[-1:])
            yield f"{path.stem}.{name}", slim(data, kept)


def as_sda(name, text):
    """The commands ask for /dev/sda."""
    return re.sub(rf"\b{name}\b".encode(), b"sda", text)


def devices():
    for path in SAMPLES:
        for name, device in host(path).get("devices", {}).items():
            if device.get("inquiry"):
                yield f"{path.stem}.{name.strip('/').replace('/', '-')}", device


def device_seeds():
    seen = set()
    for name, device in devices():
        bytes_ = said(device)
        # One device of a vendor and product and of so many pages stands for its like.
        kind = (data_of(device["inquiry"].get("std", ""))[8:32], tuple(device["inquiry"]))
        if kind not in seen:
            seen.add(kind)
            yield name, bytes_


def files_seeds():
    for number, (name, data) in enumerate(slim_hosts()):
        text = as_sda(name.split(".")[-1], machine(data, 0))
        if len(text) <= LARGEST:
            for ask in range(number % 4, COMMANDS, 4):
                yield f"{name}.{ask}", text.replace(b"@ask 0\n", f"@ask {ask}\n".encode(), 1)


def recorded_seeds():
    for name, data in slim_hosts():
        text = as_sda(name.split(".")[-1], json.dumps(data, separators=(",", ":")).encode())
        if len(text) <= LARGEST:
            yield name, text
    cases = json.loads((TOP / "tests/schema/recorded_host_cases.json").read_text())
    for kind in ("accepted", "refused"):
        for number, case in enumerate(cases[kind]):
            yield f"{kind}-{number}", json.dumps({"format": "scsitool-host/1", **case}).encode()


def mailed_seeds():
    for path in [*(TOP / "tests/mailed").glob("*.txt"), TOP / "samples/mailed-pages.txt"]:
        yield path.stem, path.read_bytes()
    for name, device in list(device_seeds())[:10]:
        yield f"binary.{name}", device


def saved_document(name, size, state):
    devices = [{"name": f"/dev/sd{letter}", "hctl": f"{number}:0:0:1", "state": state}
               for number, letter in enumerate("ab")]
    return {"scsitool": {"json_format": 1}, "host": "db01", "time": "2026-01-01T00:00:00.000Z",
            "volumes": [{"name": name, "udid": "UDID##ACME##DISK##5000C50012345678", "identity": "array",
                         "logical_unit_name": "naa.5000c50012345678", "size_kb": size, "revision": "0430",
                         "devices": devices}],
            "unidentified": [{"name": "/dev/sdc", "hctl": "3:0:0:2", "state": "no answer",
                              "last_known_udid": "UDID##X"}]}


def saved_seeds():
    for indent in (None, 2):
        before = json.dumps(saved_document("/dev/mapper/mpatha", 1024, "ok"), indent=indent)
        after = json.dumps(saved_document("/dev/mapper/mpathb", None, "offline"), indent=indent)
        for number, blanks in enumerate(("", " ", "  ", "   ")):
            yield f"pair-{indent}-{number}", (before + "\n----\n" + after + blanks).encode()
            yield f"one-{indent}-{number}", (before + blanks).encode()
    lines = [json.dumps({"host": f"db0{n}", **saved_document("/dev/sda", n, "ok")["volumes"][0]}) for n in (1, 2)]
    yield "lines", "\n".join(lines).encode()
    for name, text in list(recorded_seeds())[:6]:
        yield f"host-{name}", text + b"\n----\n" + text


def command_line_seeds():
    sys.path.insert(0, str(TOP / "tests/integration"))
    import cases
    for number, case in enumerate(cases.sample_cases()):
        yield f"case-{number}", "\n".join(case[1]).replace("samples/", "").encode()
    for number, words in enumerate((
            ["explain", "--inhex", "83=pages.txt"], ["--host", "host.json", "devices"],
            ["capture", "new.json", "--redact"], ["--journal", "j", "--trace", "6", "rescan"],
            ["report", "--output", "page.html"], ["help", "volumes"], ["__complete", "de"],
            ["find", "2:0:0:5", "--json"], ["diff", "host.json", "live"], ["remove-address", "[2:0:0:5]"])):
        yield f"words-{number}", "\n".join(words).encode()


def guard_seeds():
    for kind in range(24):
        for way in range(5):
            yield f"{kind}.{way}", bytes([kind, way]) + b"\x00\x00\x0030 20 8:32 / /x rw - xfs x rw\n"
    yield "process", bytes([23, 0, 3, 0]) + b"mnt:[9]\n/dev/sdc\nflags: 02\n1 2 8:9 / / rw - x y rw\n"
    yield "name", bytes([4, 1, 1, 3]) + b"loop7\n\x02\x00\x05\x00"


def answers_seeds():
    def entry(question, result, key, data):
        return (len(data).to_bytes(4, "little") + result.to_bytes(4, "little", signed=True)
                + len(key).to_bytes(2, "little") + bytes([question, 0]) + key + data)

    def inquiry(evpd, page):
        block = bytes([0x12, evpd, page, 0, 252, 0]).ljust(16, b"\0")
        return (0).to_bytes(4, "little") + (252).to_bytes(4, "little") + block

    for name, device in list(device_seeds())[:24]:
        text = entry(1, 0, b"\0", b"") + entry(4, 0, b"", bytes(8))
        for page, value in device_pages(name):
            text += entry(3, 0, inquiry(0, 0) if page == "std" else inquiry(1, int(page, 16)), value)
        yield name, text + entry(2, 0, b"", b"")


def device_pages(wanted):
    for name, device in devices():
        if name == wanted:
            return [(page, data_of(value)) for page, value in device["inquiry"].items()]
    return []


def configuration_seeds():
    yield "usual", (b"# a comment\n[TUNING_PARAMS]\nOPEN_DEVICE_RETRY_DELAY_IN_SEC = 1\n"
                    b"OPEN_DEVICE_RETRY_ATTEMPTS=4294967295 ; all\n[a]\nk = -1\n")
    yield "broken", b"[TUNING_PARAMS\n]\n=\n[]\nk\n\n[a]k=1"


SEEDS = {"record": device_seeds, "device": device_seeds, "files": files_seeds, "recorded": recorded_seeds,
         "mailed": mailed_seeds, "saved": saved_seeds, "command_line": command_line_seeds,
         "guard": guard_seeds, "answers": answers_seeds, "configuration": configuration_seeds}


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in SEEDS:
        sys.exit("usage: make_corpora.py TARGET FOLDER")
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in SEEDS[sys.argv[1]]():
        (folder / name).write_bytes(text)


main()
