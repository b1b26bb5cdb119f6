"""Builders of INQUIRY responses as SPC-4 lays them out."""

BINARY, ASCII = 1, 2  # code sets of a designator
LOGICAL_UNIT, TARGET_PORT = 0, 1  # associations
VENDOR_SPECIFIC, T10, EUI64, NAA, RELATIVE_PORT, PORT_GROUP = range(6)  # designator types

FIBRE_CHANNEL, SAS = 0x0, 0x6  # protocol identifiers


def padded(text, length):
    """Left-aligned ASCII, filled with blanks."""
    assert len(text) <= length, text
    return text.ljust(length).encode("ascii")


def standard_inquiry(vendor, product, revision, length=36, device_type=0x00, removable=False,
                     version=6, implicit_alua=False, extra=None):
    """SPC-4 table 139. `extra`: offset to the vendor specific bytes that stand there."""
    data = bytearray(length)
    data[0] = device_type
    data[1] = 0x80 if removable else 0
    data[2] = version
    data[3] = 0x12  # HISUP, response data format 2
    data[4] = length - 5
    data[5] = 0x10 if implicit_alua else 0  # TPGS
    data[7] = 0x02  # CMDQUE
    data[8:16] = padded(vendor, 8)
    data[16:32] = padded(product, 16)
    data[32:36] = padded(revision, 4)
    for offset, content in (extra or {}).items():
        assert 36 <= offset and offset + len(content) <= length, (vendor, offset)
        data[offset:offset + len(content)] = content
    return bytes(data)


def vpd_page(code, payload, device_type=0x00):
    """The four-byte header that all VPD pages have, and what follows it."""
    return bytes([device_type, code]) + len(payload).to_bytes(2, "big") + payload


def page_from_byte(code, end, parts):
    """A vendor specific page of `end` bytes; `parts`: byte of the page to its content."""
    data = bytearray(end)
    for offset, content in parts.items():
        data[offset:offset + len(content)] = content
    return vpd_page(code, bytes(data[4:]))


def designator(kind, code_set, identifier, association=LOGICAL_UNIT, protocol=None):
    """SPC-4 table 456. The protocol is told for target ports only (PIV)."""
    first = code_set if protocol is None else (protocol << 4) | code_set
    second = (0 if protocol is None else 0x80) | (association << 4) | kind
    return bytes([first, second, 0, len(identifier)]) + identifier


def naa5(company, vendor_id):
    """NAA IEEE Registered: 24-bit company id, 36-bit vendor specific identifier."""
    return ((5 << 60) | (company << 36) | vendor_id).to_bytes(8, "big")


def naa6(company, vendor_id, extension):
    """NAA IEEE Registered Extended: as NAA 5, and 64 bits more."""
    return ((6 << 60) | (company << 36) | vendor_id).to_bytes(8, "big") + \
        extension.to_bytes(8, "big")


def logical_unit_naa(name):
    return designator(NAA, BINARY, name)


def logical_unit_t10(vendor, text):
    return designator(T10, ASCII, padded(vendor, 8) + text)


def path_designators(port_name, group, relative_port):
    """What an array tells of the port that the command came through."""
    return (designator(NAA, BINARY, port_name, TARGET_PORT, FIBRE_CHANNEL)
            + designator(RELATIVE_PORT, BINARY, relative_port.to_bytes(4, "big"), TARGET_PORT,
                         FIBRE_CHANNEL)
            + designator(PORT_GROUP, BINARY, group.to_bytes(4, "big"), TARGET_PORT,
                         FIBRE_CHANNEL))


def serial_page(serial, device_type=0x00):
    return vpd_page(0x80, serial.encode("ascii"), device_type)


def block_limits_page():
    payload = bytearray(60)
    payload[2:4] = (1).to_bytes(2, "big")  # optimal transfer length granularity
    payload[4:8] = (65535).to_bytes(4, "big")  # maximum transfer length
    return vpd_page(0xB0, bytes(payload))


def characteristics_page(rotation_rate):
    payload = bytearray(60)
    payload[0:2] = rotation_rate.to_bytes(2, "big")
    payload[3] = 0x03  # 2.5 inch
    return vpd_page(0xB1, bytes(payload))
