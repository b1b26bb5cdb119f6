"""Builders for INQUIRY data and VPD pages in the layouts of SPC-4."""

DISK = 0x00
SPC_4 = 0x06
RESPONSE_FORMAT = 0x12
COMMAND_QUEUEING = 0x02
BINARY, ASCII, UTF_8 = 1, 2, 3
T10_VENDOR, EUI_64, NAA, RELATIVE_PORT, PORT_GROUP, SCSI_NAME = 1, 2, 3, 4, 5, 8
# Whom a designator names, but for the logical unit.
TARGET_PORT, TARGET_DEVICE = 1, 2
# Names of the pages that arrays serve beside their own.
SUPPORTED_PAGES, UNIT_SERIAL, IDENTIFICATION = 0x00, 0x80, 0x83


def standard_inquiry(vendor, product, revision, vendor_specific=None, length=96):
    """Standard INQUIRY data; `vendor_specific` maps a byte position from 36 on to what stands there."""
    data = bytearray(length)
    data[0] = DISK
    data[2] = SPC_4
    data[3] = RESPONSE_FORMAT
    data[4] = length - 5
    data[7] = COMMAND_QUEUEING
    data[8:16] = vendor.encode().ljust(8)
    data[16:32] = product.encode().ljust(16)
    data[32:36] = revision.encode().ljust(4)
    for position, content in (vendor_specific or {}).items():
        data[position:position + len(content)] = content
    if len(data) != length:
        raise ValueError(f"vendor-specific bytes reach beyond {length} bytes of INQUIRY data")
    return bytes(data)


def vpd_page(code, payload):
    """A VPD page: header of four bytes, then the payload."""
    return bytes([DISK, code]) + len(payload).to_bytes(2, "big") + payload


def vpd_page_with(code, length, parts):
    """A VPD page of a given length, header included; `parts` maps a byte position of the page to its content."""
    page = bytearray(vpd_page(code, bytes(length - 4)))
    for position, content in parts.items():
        page[position:position + len(content)] = content
    return bytes(page)


def designator(kind, code_set, identifier, association=0):
    """One descriptor of the Device Identification page."""
    return bytes([code_set, association << 4 | kind, 0, len(identifier)]) + identifier


def naa_designator(digits):
    """An NAA name given in hexadecimal digits, for the logical unit."""
    return designator(NAA, BINARY, bytes.fromhex(digits))


def array_pages(serial, designators, others=None):
    """The pages of a logical unit: the list of pages, the serial number, the identification, and the array's own."""
    pages = {UNIT_SERIAL: vpd_page(UNIT_SERIAL, serial.encode()),
             IDENTIFICATION: vpd_page(IDENTIFICATION, b"".join(designators)),
             **(others or {})}
    pages[SUPPORTED_PAGES] = vpd_page(SUPPORTED_PAGES, bytes(sorted([SUPPORTED_PAGES, *pages])))
    return pages
