"""Logical units of the array families, with the bytes that each family is known by and the UDID that follows.

The UDIDs are written out by hand from the bytes beside them. In page 0x83 the first identifier begins at byte 8.
"""
import collections

from lab.pages import (ASCII, IDENTIFICATION, T10_VENDOR, array_pages, designator, naa_designator,
                       standard_inquiry, vpd_page, vpd_page_with)

from iscsi_target import LogicalUnit

Family = collections.namedtuple("Family", "what unit udid")

CONTROLLER_QUERY = bytes.fromhex("c000000a980a22100000")


def unit(vendor, product, naa, serial="SN0001", vendor_specific=None, length=96, others=None, commands=None,
         more_designators=()):
    """A logical unit whose page 0x83 begins with an NAA name."""
    inquiry = standard_inquiry(vendor, product, "0430", vendor_specific, length)
    return LogicalUnit(inquiry, array_pages(serial, [naa_designator(naa), *more_designators], others), commands)


def clariion(naa="60060160a1b2c3d4e5f6071829304a01"):
    """A CLARiiON volume: byte 49 of page 0xC0 holds the length of the array's number, which follows it."""
    return unit("DGC", "VRAID", naa,
                others={0xC0: vpd_page_with(0xC0, 64, {49: bytes([14]), 50: b"CKM00112233445"})})


def netapp():
    """A NetApp volume: its page 0x83 begins with the T10 name, its controller answers a vendor command."""
    serial = "HnTKWZ3bqXyz"
    record = b"\x22\0\0\x38" + bytes(24) + b"4082367488:controller-17\0"
    answer = (8 + len(record)).to_bytes(4, "big") + bytes(4) + record
    pages = array_pages(serial, [designator(T10_VENDOR, ASCII, f"NETAPP   LUN {serial}".encode()),
                                 naa_designator("60a98000486e544b575a336271587a00")])
    return LogicalUnit(standard_inquiry("NETAPP", "LUN", "811a"), pages, {CONTROLLER_QUERY: answer})


def msa():
    """An MSA volume: the array's number in the INQUIRY data, the volume's in the second designator."""
    volume = designator(T10_VENDOR, ASCII, b"HP      " + b"00c0ffd5a1b20000c3d4e5f600112233")
    return unit("HP", "MSA2012fc", "600c0ff000d5a1b2c3d4e5f601000000", length=160,
                vendor_specific={96: b"00c0ffd5a1b2XY"}, more_designators=[volume])


def old_layout():
    """A disk from before SPC-3: page 0x83 holds bare bytes, told by a byte 6 that is not zero."""
    pages = array_pages("SN0015", [], {IDENTIFICATION: vpd_page(IDENTIFICATION, bytes.fromhex("2001020304050607"))})
    return LogicalUnit(standard_inquiry("ACME", "OLD LAYOUT", "1"), pages)


FAMILIES = {
    0: Family("a Hitachi volume: hexadecimal 12345 and 10 in the INQUIRY data",
              unit("HITACHI", "OPEN-V", "60060e80164eb50000014eb500000010",
                   vendor_specific={36: b"50012345" + b"0010"}),
              "UDID##HITACHI##HDS##74565##16"),
    1: Family("a CLARiiON volume with page 0xC0", clariion(),
              "UDID##DGC##CLARIION##CKM00112233445##60:06:01:60:A1:B2:C3:D4:E5:F6:07:18:29:30:4A:01"),
    2: Family("an LSI volume with page 0xC8",
              unit("LSI", "INF-01-00", "600a0b80001122330000aabbccddeeff",
                   others={0xC8: vpd_page_with(0xC8, 106,
                                               {90: bytes.fromhex("600a0b80000f1e2d0000000048aabbcc")})}),
              "UDID##ENGENIO##UNIVERSAL##600A0B80000F1E2D0000000048AABBCC##600A0B80001122330000AABBCCDDEEFF"),
    3: Family("a NetApp volume: 23 characters of the controller's answer, 12 of the T10 name", netapp(),
              "UDID##NETAPP##LUN##4082367488:CONTROLLER-1##486E544B575A33627158797A"),
    4: Family("a DS8000 volume",
              unit("IBM", "2107900", "6005076303ffc123000000000000100a", vendor_specific={36: b"7512345"}),
              "UDID##IBM##TOTALSTORAGE##IBM.2107-7512345##100A"),
    5: Family("a DS4700 volume with page 0xD0",
              unit("IBM", "1814      FAStT", "600a0b8000290ffe00001111222233aa",
                   others={0xC8: vpd_page_with(0xC8, 106, {}),
                           0xD0: vpd_page_with(0xD0, 24,
                                               {8: bytes.fromhex("600a0b8000290ffe000000004566778a")})}),
              "UDID##IBM##DISKSYSTEM##IBM.1814-600A0B8000290FFE000000004566778A"
              "##60:0A:0B:80:00:29:0F:FE:00:00:11:11:22:22:33:AA"),
    6: Family("a DS4800 volume without page 0xD0",
              unit("IBM", "1815      FAStT", "600a0b8000290ffe00001111222233ab"),
              "UDID##IBM##DISKSYSTEM##IBM.1815-##60:0A:0B:80:00:29:0F:FE:00:00:11:11:22:22:33:AB"),
    7: Family("an EVA volume",
              unit("HP", "HSV200", "600508b4000a12340000900000550000", length=240,
                   vendor_specific={130: bytes.fromhex("50014380025a3d40")}),
              "UDID##HP##HSV##5001-4380-025A-3D40##6005-08B4-000A-1234-0000-9000-0055-0000"),
    8: Family("an ETERNUS volume, its array number between blanks",
              unit("FUJITSU", "ETERNUS_DXL", "600000e00d2800000028001700010000",
                   vendor_specific={36: b" 280017 "}),
              "UDID##FUJITSU##ETERNUS##280017##600000E00D2800000028001700010000"),
    9: Family("an XP volume: hexadecimal 23456 and A5 in the INQUIRY data",
              unit("HP", "OPEN-V", "60060e80056f110000006f11000000a5",
                   vendor_specific={36: b"50023456" + b"00A5"}),
              "UDID##HP##XP##144470##165"),
    10: Family("an MSA volume", msa(),
               "UDID##HP##MSA##00C0FFD5A1B2XY##00C0FFD5A1B20000C3D4E5F600112233"),
    11: Family("a 3PAR volume, blanks before its serial number",
               unit("3PARdata", "VV", "60002ac0000000000000000500001234", serial="   1628834"),
               "UDID##HP##3PAR##1628834##60002AC0000000000000000500001234"),
    12: Family("a DS300 volume: characters of the INQUIRY data up to the first NUL",
               unit("IBM", "1724-100  FAStT", "600a0b8000290ffe00001111222233ac",
                    vendor_specific={36: b"SN0042-B\0ignored"}),
               "UDID##IBM##DISKSYSTEM##IBM.1724-SN0042-B##60:0A:0B:80:00:29:0F:FE:00:00:11:11:22:22:33:AC"),
    13: Family("a FAStT volume with page 0xC8",
               unit("IBM", "3552", "600a0b8000290ffe00001111222233ad",
                    others={0xC8: vpd_page_with(0xC8, 106,
                                                {90: bytes.fromhex("200600a0b8290ffe0000000011223344")})}),
               "UDID##IBM##TOTALSTORAGE##IBM.3552-200600A0B8290FFE0000000011223344##33AD"),
    14: Family("a Symmetrix volume whose byte 132 is zero",
               unit("EMC", "SYMMETRIX", "60000970000187910500533030374633", length=160,
                    vendor_specific={38: b"7F3", 124: bytes.fromhex("0187910599")}),
               "UDID##EMC##SYMMETRIX##000187910599##07F3"),
    15: Family("a disk with the older layout of page 0x83", old_layout(),
               "UDID##ACME##OLD_LAYOUT##SN0015##52001020304050607"),
    300: Family("a Symmetrix volume under a number above 255",
                unit("EMC", "SYMMETRIX", "60000970000187910500533030374634", length=160,
                     vendor_specific={124: bytes.fromhex("0123456789"), 132: b"ABCD"}),
                "UDID##EMC##SYMMETRIX##000123456789##ABCD"),
}
