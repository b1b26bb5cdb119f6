"""A disk of no particular array."""
from iscsi_target import DEFAULT_SIZE_BYTES, LogicalUnit
from lab import pages


def plain_unit(number, product, size_bytes=DEFAULT_SIZE_BYTES):
    """A logical unit with a name and a serial number made of its number."""
    name = pages.naa_designator(f"6000c50000000000000000000000{number:04x}")
    return LogicalUnit(pages.standard_inquiry("ACME", product, "1.00"), pages.array_pages(f"S{number:03d}", [name]),
                       size_bytes=size_bytes)
