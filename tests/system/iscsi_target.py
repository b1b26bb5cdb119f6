#!/usr/bin/env python3
"""A small iSCSI target whose logical units answer INQUIRY with any bytes a test wants.

The emulator's closed network starts one relay for every connection of the guest ("--relay SOCKET" below); the relay
passes the bytes on to the TargetServer in the test's own process. So all paths share one medium, and a test adds and
withdraws logical units by calling a function. No port is opened on this machine.

RFC 7143 names the fields; the target knows as much of it as an initiator without digests, authentication, error
recovery and multiple connections asks for.
"""
import collections
import os
import queue
import socket
import socketserver
import struct
import sys
import threading
import time

HEADER_BYTES = 48
BLOCK_BYTES = 512
DEFAULT_SIZE_BYTES = 64 << 20
NO_TASK_TAG = 0xFFFFFFFF
COMMAND_WINDOW = 32
BURST_BYTES = 262144
MOST_RELAYED_BYTES = 65536

# Opcodes of the initiator and of the target.
NOP_OUT, SCSI_COMMAND, TASK_REQUEST, LOGIN_REQUEST, TEXT_REQUEST, DATA_OUT, LOGOUT_REQUEST = range(7)
NOP_IN, SCSI_RESPONSE, TASK_RESPONSE, LOGIN_RESPONSE, TEXT_RESPONSE, DATA_IN, LOGOUT_RESPONSE = range(0x20, 0x27)
READY_TO_TRANSFER = 0x31

FINAL = 0x80
READ_FLAG = 0x40
UNDERFLOW = 0x02
STATUS_FLAG = 0x01
IMMEDIATE = 0x40
FULL_FEATURE_PHASE = 3
OPERATIONAL_STAGE = 1
TARGET_NOT_FOUND = b"\x02\x03"

# The addressing methods of logical unit numbers, each with the first number that needs it.
FLAT_SPACE_FROM, FLAT_SPACE = 256, 0x4000
EXTENDED_FROM, EXTENDED_FLAT_SPACE = 16384, 0xD2

GOOD, CHECK_CONDITION = 0x00, 0x02
ILLEGAL_REQUEST = 0x05
INVALID_OPCODE, INVALID_FIELD, UNIT_NOT_SUPPORTED = 0x20, 0x24, 0x25

# What this target says to a key that the initiator wants to negotiate; any other key gets its own value back.
NEGOTIATED = {
    "AuthMethod": "None", "HeaderDigest": "None", "DataDigest": "None", "InitialR2T": "Yes",
    "ImmediateData": "Yes", "MaxOutstandingR2T": "1", "MaxConnections": "1", "ErrorRecoveryLevel": "0",
    "DefaultTime2Retain": "0", "MaxRecvDataSegmentLength": str(BURST_BYTES),
}
DECLARED_BY_INITIATOR = {"InitiatorName", "InitiatorAlias", "SessionType", "TargetName"}

Reply = collections.namedtuple("Reply", "status data sense")


def good(data=b""):
    """The reply to a command that went well."""
    return Reply(GOOD, data, b"")


def illegal_request(additional_code):
    """CHECK CONDITION with fixed-format sense data of 18 bytes."""
    sense = bytes([0x70, 0, ILLEGAL_REQUEST, 0, 0, 0, 0, 10, 0, 0, 0, 0, additional_code, 0, 0, 0, 0, 0])
    return Reply(CHECK_CONDITION, b"", sense)


class LogicalUnit:
    """A disk: its INQUIRY data, its VPD pages by code, vendor commands by command block, and its blocks."""

    def __init__(self, standard_inquiry, pages, vendor_commands=None, size_bytes=DEFAULT_SIZE_BYTES):
        self.is_write_protected = False
        self.standard_inquiry = standard_inquiry
        self.pages = pages
        self.vendor_commands = vendor_commands or {}
        self.blocks = size_bytes // BLOCK_BYTES
        self.medium = {}

    def execute(self, block, data_out):
        """Carries out one command block and returns its Reply."""
        for prefix, answer in self.vendor_commands.items():
            if block.startswith(prefix):
                return good(answer)
        if block[0] in TRANSFERS:
            return self._transfer(block, data_out)
        operation = COMMANDS.get(block[0])
        return operation(self, block) if operation else illegal_request(INVALID_OPCODE)

    def _inquiry(self, block):
        wants_page = block[1] & 1
        page = self.pages.get(block[2]) if wants_page else self.standard_inquiry
        if page is None or (block[2] and not wants_page):
            return illegal_request(INVALID_FIELD)
        return good(page[:int.from_bytes(block[3:5], "big")])

    def _nothing_to_do(self, _):
        return good()

    def _request_sense(self, _):
        return good(bytes([0x70, 0, 0, 0, 0, 0, 0, 10]) + bytes(10))

    def _read_capacity_10(self, _):
        return good(struct.pack(">II", min(self.blocks - 1, 0xFFFFFFFF), BLOCK_BYTES))

    def _read_capacity_16(self, _):
        return good(struct.pack(">QI20x", self.blocks - 1, BLOCK_BYTES))

    def _protection(self):
        return 0x80 if self.is_write_protected else 0

    def _mode_sense_6(self, _):
        return good(bytes([3, 0, self._protection(), 0]))

    def _mode_sense_10(self, _):
        return good(bytes([0, 6, 0, self._protection()]) + bytes(4))

    def _transfer(self, block, data_out):
        first, count = TRANSFERS[block[0]](block)
        if block[0] & 0x02:
            for index in range(count):
                self.medium[first + index] = data_out[index * BLOCK_BYTES:(index + 1) * BLOCK_BYTES]
            return good()
        return good(b"".join(self.medium.get(first + index, bytes(BLOCK_BYTES)) for index in range(count)))


# pylint: disable=protected-access
COMMANDS = {
    0x00: LogicalUnit._nothing_to_do,       # TEST UNIT READY
    0x03: LogicalUnit._request_sense,
    0x12: LogicalUnit._inquiry,
    0x1A: LogicalUnit._mode_sense_6,
    0x1B: LogicalUnit._nothing_to_do,       # START STOP UNIT
    0x25: LogicalUnit._read_capacity_10,
    0x35: LogicalUnit._nothing_to_do,       # SYNCHRONIZE CACHE (10)
    0x5A: LogicalUnit._mode_sense_10,
    0x91: LogicalUnit._nothing_to_do,       # SYNCHRONIZE CACHE (16)
    0x9E: LogicalUnit._read_capacity_16,
}
# First block and number of blocks of READ and WRITE with 6, 10 and 16 bytes.
TRANSFERS = {
    0x08: lambda block: (int.from_bytes(block[1:4], "big") & 0x1FFFFF, block[4] or 256),
    0x28: lambda block: (int.from_bytes(block[2:6], "big"), int.from_bytes(block[7:9], "big")),
    0x88: lambda block: (int.from_bytes(block[2:10], "big"), int.from_bytes(block[10:14], "big")),
}
TRANSFERS.update({opcode | 0x02: reader for opcode, reader in list(TRANSFERS.items())})


class Target:
    """One target name with its logical units; a test changes the members while the guest runs.

    Each command takes `seconds_an_answer`, any number of them at the same time; the units whose numbers are in `silent`
    swallow every command; a portal whose number (from 1) is in `dead_portals` loses its connections and takes no other.
    `before_command` is called with the number and the command block of every command.
    """

    def __init__(self, name, units):
        self.name = name
        self.units = dict(units)
        self.seconds_an_answer = 0
        self.silent = frozenset()
        self.dead_portals = set()
        self.before_command = lambda lun, block: None

    def execute(self, lun, block, data_out):
        """Carries out one command for one logical unit number; None when nothing is ever said to it."""
        self.before_command(lun, block)
        if lun in self.silent:
            return None
        unit = self.units.get(lun)
        if block[0] == 0xA0:
            return good(self._report_luns())
        if unit:
            return unit.execute(block, data_out)
        if block[0] == 0x12 and not block[1] & 1:
            # Peripheral qualifier 3: no unit can stand behind this number.
            return good((b"\x7f\0\x05\x02\x1f" + bytes(31))[:int.from_bytes(block[3:5], "big")])
        return illegal_request(UNIT_NOT_SUPPORTED)

    def _report_luns(self):
        entries = [lun_field(lun) for lun in sorted(self.units)]
        return struct.pack(">I4x", 8 * len(entries)) + b"".join(entries)


def lun_field(lun):
    """The eight bytes of a logical unit number (SAM): peripheral, flat space or extended flat space addressing."""
    if lun < FLAT_SPACE_FROM:
        return struct.pack(">H6x", lun)
    if lun < EXTENDED_FROM:
        return struct.pack(">H6x", FLAT_SPACE | lun)
    return struct.pack(">I4x", EXTENDED_FLAT_SPACE << 24 | lun)


class Pdu:
    """One protocol data unit as it came from the initiator."""

    def __init__(self, header, data):
        self.opcode = header[0] & 0x3F
        self.immediate = bool(header[0] & IMMEDIATE)
        self.flags = header[1]
        self.lun_field = header[8:16]
        self.task_tag = header[16:20]
        self.expected_bytes, self.command_number = struct.unpack(">II", header[20:28])
        self.command_block = header[32:48]
        self.data = data

    @property
    def lun(self):
        """The logical unit number."""
        if self.lun_field[0] == EXTENDED_FLAT_SPACE:
            return int.from_bytes(self.lun_field[1:4], "big")
        return (self.lun_field[0] & 0x3F) << 8 | self.lun_field[1]

    def text_pairs(self):
        """The key=value pairs of a login or text request."""
        texts = self.data.decode("utf-8", "replace").split("\0")
        return dict(text.split("=", 1) for text in texts if "=" in text)


class Connection:
    """One connection of an initiator from login to logout."""

    def __init__(self, stream_in, stream_out, targets, portals, number):
        self._in = stream_in
        self._out = stream_out
        self._targets = targets
        self._portals = portals
        self._number = number
        self._target = None
        self._status_number = 1
        self._expected_command = 0
        self._segment_bytes = 8192
        self._waiting = collections.deque()
        self._sending = threading.Lock()
        self._late_answers = queue.SimpleQueue()
        threading.Thread(target=self._answer_late, daemon=True).start()

    def serve(self):
        """Answers requests until the initiator logs out or goes away."""
        try:
            self._serve()
        finally:
            self._late_answers.put(None)

    def _answer_late(self):
        """Sends the answers that take their time, in the order of the commands."""
        while late := self._late_answers.get():
            due, pdu, reply = late
            time.sleep(max(due - time.monotonic(), 0))
            try:
                self._answer(pdu, reply)
            except (OSError, ValueError):
                return

    def _serve(self):
        answers = {NOP_OUT: self._nop, SCSI_COMMAND: self._scsi_command, TASK_REQUEST: self._task_request,
                   LOGIN_REQUEST: self._login, TEXT_REQUEST: self._text}
        while True:
            pdu = self._waiting.popleft() if self._waiting else self._receive()
            if self._is_cut():
                return
            if pdu.opcode == LOGOUT_REQUEST:
                self._send(LOGOUT_RESPONSE, FINAL, pdu.task_tag)
                return
            if pdu.opcode not in answers or answers[pdu.opcode](pdu) is False:
                return

    def _is_cut(self):
        return self._target is not None and self._number in self._target.dead_portals

    def _read(self, count):
        content = b""
        while len(content) < count:
            piece = self._in.read(count - len(content))
            if not piece:
                raise EOFError
            content += piece
        return content

    def _receive(self):
        header = self._read(HEADER_BYTES)
        additional_headers = 4 * header[4]
        self._read(additional_headers)
        length = int.from_bytes(header[5:8], "big")
        data = self._read(length + -length % 4)[:length]
        pdu = Pdu(header, data)
        if not pdu.immediate and pdu.opcode != DATA_OUT:
            self._expected_command = (pdu.command_number + 1) & 0xFFFFFFFF
        return pdu

    def _send(self, opcode, flags, task_tag, data=b"", response=b"\0\0", lun_field=bytes(8),
              transfer_tag=0, tail=(0, 0, 0), carries_status=True):
        with self._sending:
            self._send_alone(opcode, flags, task_tag, data, response, lun_field, transfer_tag, tail, carries_status)

    def _send_alone(self, opcode, flags, task_tag, data, response, lun_field, transfer_tag, tail, carries_status):
        most = (self._expected_command + COMMAND_WINDOW) & 0xFFFFFFFF
        header = struct.pack(">BB2sI8s4sIIII", opcode, flags, response, len(data), lun_field, task_tag,
                             transfer_tag, self._status_number, self._expected_command, most)
        if carries_status:
            self._status_number = (self._status_number + 1) & 0xFFFFFFFF
        self._out.write(header + struct.pack(">III", *tail) + data + bytes(-len(data) % 4))
        self._out.flush()

    def _nop(self, pdu):
        if pdu.task_tag != NO_TASK_TAG.to_bytes(4, "big"):
            self._send(NOP_IN, FINAL, pdu.task_tag, pdu.data, lun_field=pdu.lun_field,
                       transfer_tag=NO_TASK_TAG)

    def _task_request(self, pdu):
        self._send(TASK_RESPONSE, FINAL, pdu.task_tag)

    def _login(self, pdu):
        # A login is immediate: its number is the one that the first command will carry.
        self._expected_command = pdu.command_number
        wanted = pdu.text_pairs()
        if "TargetName" in wanted:
            self._target = self._targets.get(wanted["TargetName"])
            if self._target is None:
                status_class_and_detail = struct.unpack(">I", TARGET_NOT_FOUND + b"\0\0")[0]
                self._send(LOGIN_RESPONSE, 0, pdu.task_tag, lun_field=pdu.lun_field,
                           tail=(status_class_and_detail, 0, 0))
                return False
        if self._is_cut():
            return False
        self._segment_bytes = int(wanted.get("MaxRecvDataSegmentLength", self._segment_bytes))
        answer = {key: NEGOTIATED.get(key, value) for key, value in wanted.items()
                  if key not in DECLARED_BY_INITIATOR}
        stage, next_stage = pdu.flags >> 2 & 3, pdu.flags & 3
        if stage < OPERATIONAL_STAGE:
            answer["TargetPortalGroupTag"] = "1"
        transit = pdu.flags & FINAL
        session = pdu.lun_field[:6] + b"\0\1"
        self._send(LOGIN_RESPONSE, transit | stage << 2 | (next_stage if transit else 0), pdu.task_tag,
                   _text_data(answer.items()), lun_field=session)
        return True

    def _text(self, pdu):
        pairs = []
        for target in self._targets.values():
            pairs.append(("TargetName", target.name))
            pairs += [("TargetAddress", f"{portal},{group}") for group, portal in enumerate(self._portals, 1)]
        self._send(TEXT_RESPONSE, FINAL, pdu.task_tag, _text_data(pairs), transfer_tag=NO_TASK_TAG)

    def _scsi_command(self, pdu):
        if self._target is None:
            return False
        reads = bool(pdu.flags & READ_FLAG)
        data_out = b"" if reads else self._collect_data_out(pdu)
        reply = self._target.execute(pdu.lun, pdu.command_block, data_out)
        if reply and self._target.seconds_an_answer:
            self._late_answers.put((time.monotonic() + self._target.seconds_an_answer, pdu, reply))
        elif reply:
            self._answer(pdu, reply)
        return True

    def _answer(self, pdu, reply):
        reads = bool(pdu.flags & READ_FLAG)
        data = reply.data[:pdu.expected_bytes] if reads else b""
        missing = pdu.expected_bytes - len(data) if reads else 0
        if reply.status == GOOD and data:
            self._send_data_in(pdu, data, missing)
        else:
            sense = struct.pack(">H", len(reply.sense)) + reply.sense if reply.sense else b""
            self._send(SCSI_RESPONSE, FINAL | (UNDERFLOW if missing else 0), pdu.task_tag, sense,
                       response=bytes([0, reply.status]), tail=(0, 0, missing))

    def _send_data_in(self, pdu, data, missing):
        """Sends the data in segments; the last one carries the status, so that no response of its own is needed."""
        for number, start in enumerate(range(0, len(data), self._segment_bytes)):
            segment = data[start:start + self._segment_bytes]
            last = start + len(segment) == len(data)
            flags = (FINAL | STATUS_FLAG | (UNDERFLOW if missing else 0)) if last else 0
            self._send(DATA_IN, flags, pdu.task_tag, segment, transfer_tag=NO_TASK_TAG,
                       tail=(number, start, missing if last else 0), carries_status=last)

    def _collect_data_out(self, pdu):
        """The data of a write: what came with the command, then burst after burst on request."""
        data = pdu.data
        number = 0
        while len(data) < pdu.expected_bytes:
            wanted = min(pdu.expected_bytes - len(data), BURST_BYTES)
            self._send(READY_TO_TRANSFER, FINAL, pdu.task_tag, lun_field=pdu.lun_field, transfer_tag=1,
                       tail=(number, len(data), wanted), carries_status=False)
            end = len(data) + wanted
            while len(data) < end:
                part = self._receive()
                if part.opcode == DATA_OUT and part.task_tag == pdu.task_tag:
                    data += part.data
                else:
                    self._waiting.append(part)
            number += 1
        return data


def _text_data(pairs):
    return b"".join(f"{key}={value}\0".encode() for key, value in pairs)


class TargetServer:
    """Serves one portal of targets on a Unix socket from the test's own process; used in a `with` statement."""

    program = os.path.abspath(__file__)

    def __init__(self, socket_path, targets, portals, number):
        self.socket_path = socket_path
        names = {target.name: target for target in targets}

        class Handler(socketserver.StreamRequestHandler):
            """One thread for every connection."""

            def handle(self):
                try:
                    Connection(self.rfile, self.wfile, names, portals, number).serve()
                except (EOFError, ConnectionError):
                    pass

        class Server(socketserver.ThreadingMixIn, socketserver.UnixStreamServer):
            """Threads that still serve a connection do not keep the test from ending."""
            daemon_threads = True
            block_on_close = False

        self._server = Server(str(socket_path), Handler)
        self._thread = threading.Thread(target=self._server.serve_forever, kwargs={"poll_interval": 0.1},
                                        daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._server.shutdown()
        self._server.server_close()


def relay(socket_path):
    """Copies standard input to the server and the server's answers to standard output."""
    with socket.socket(socket.AF_UNIX) as line:
        line.connect(socket_path)
        threading.Thread(target=_copy, args=(sys.stdin.fileno(), line), daemon=True).start()
        while piece := line.recv(MOST_RELAYED_BYTES):
            while piece:
                piece = piece[os.write(sys.stdout.fileno(), piece):]


def _copy(descriptor, line):
    try:
        while piece := os.read(descriptor, MOST_RELAYED_BYTES):
            line.sendall(piece)
    except OSError:
        pass
    # The initiator has gone: the server's side ends, and with it the relay.
    line.shutdown(socket.SHUT_RDWR)


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[1] != "--relay":
        sys.exit(f"usage: {sys.argv[0]} --relay SOCKET")
    try:
        relay(sys.argv[2])
    except OSError as problem:
        sys.exit(f"relay: {problem}")
