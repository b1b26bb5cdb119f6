"""A mail with pages of a disk, as sg_inq and sg_vpd print them, and the lines that a reader adds."""

from . import arrays as a
from . import pages as p
from .parts import front_ports

BYTES_A_LINE = 16
PORT = front_ports(a.IBM, 0x303080123, 4)[2]  # the server of enterprise.json has two others


def dump(page):
    """Lines as sg3_utils writes them: the offset, the bytes, their characters."""
    for start in range(0, len(page), BYTES_A_LINE):
        line = page[start:start + BYTES_A_LINE]
        digits = f"{line[:8].hex(' ')}  {line[8:].hex(' ')}"
        characters = "".join(chr(byte) if 0x20 <= byte < 0x7F else "." for byte in line)
        yield f" {start:02x}     {digits:48}    {characters}"


def mail():
    pages = a.ibm_2107(0x100A).inquiry(p.path_designators(*PORT))
    lines = ["Hello,", "", "> here is what app07 says of the disk that we talked about.", ">"]
    for command, title, code in (("sg_inq -H", None, "std"),
                                 ("sg_vpd -p sn -H", "Unit serial number VPD page:", "80"),
                                 ("sg_vpd -p di -H", "Device Identification VPD page:", "83")):
        lines += [f"> # {command} /dev/sdh"] + ([f"> {title}"] if title else [])
        lines += ["> " + line for line in dump(bytes.fromhex(pages[code]))]
    return "\n".join(lines + ["", "Is this the same volume as /dev/sdq of db01?", ""])
