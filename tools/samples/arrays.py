"""Volumes of the array families: what they answer, and the UDID that must come of it.

The UDID is put together from the same facts as the pages (serial numbers, names), never by reading
the pages back, so that the library and this script can only agree by both being right.
"""

from dataclasses import dataclass, field

from . import pages as p

# Company identifiers (IEEE OUI) that the makers' NAA names begin with.
CLARIION, SYMMETRIX, HITACHI, COMPAQ = 0x006016, 0x000097, 0x0060E8, 0x00508B
DOT_HILL, THREE_PAR, ENGENIO, NETAPP = 0x00C0FF, 0x0002AC, 0x00A0B8, 0x00A098
FUJITSU, IBM, SEAGATE, KINGSTON = 0x00000E, 0x005076, 0x000C50, 0x0026B7

NETAPP_QUERY = "c000000a980a22100000"


@dataclass
class Volume:
    """One logical unit. `body` is None where the UDID is no more than path and host."""
    vendor: str
    product: str
    revision: str
    prefix: str
    body: str | None
    designators: bytes = b""
    serial: str | None = None
    std_length: int = 36
    std_extra: dict = field(default_factory=dict)
    device_type: int = 0x00
    version: int = 6
    alua: bool = True
    asymmetric: bool = False  # its port groups are not equally near to the volume
    more_pages: dict = field(default_factory=dict)
    sg_io: dict = field(default_factory=dict)
    size: int = 100 << 30
    comment: str | None = None

    def inquiry(self, path_part=b""):
        """All pages as one path to the volume answers them; page 0x00 lists just these."""
        made = dict(self.more_pages)
        if self.serial is not None:
            made[0x80] = p.serial_page(self.serial, self.device_type)
        if self.designators:
            made[0x83] = p.vpd_page(0x83, self.designators + path_part, self.device_type)
        codes = sorted([0x00] + list(made))
        made[0x00] = p.vpd_page(0x00, bytes(codes), self.device_type)
        answer = {"std": p.standard_inquiry(
            self.vendor, self.product, self.revision, self.std_length, self.device_type,
            self.device_type == 0x05, self.version, self.alua, self.std_extra).hex()}
        answer.update({f"{code:02x}": made[code].hex() for code in codes})
        return answer

    def naa(self):
        """The logical unit's NAA name; empty where it has none."""
        at = 0
        while at < len(self.designators):
            length = self.designators[at + 3]
            if self.designators[at + 1] == p.NAA:
                return self.designators[at + 4:at + 4 + length]
            at += 4 + length
        return b""

    def udid(self, device, host):
        body = f"{device}@{host}" if self.body is None else self.body
        return (self.prefix + body).upper()


def pairs(name):
    return ":".join(f"{byte:02x}" for byte in name)


def groups(name):
    text = name.hex()
    return "-".join(text[start:start + 4] for start in range(0, len(text), 4))


def by_default(volume, serial, identifier, why):
    """The same volume as no array's own format names it: by its serial and best designator."""
    volume.prefix = f"UDID##{volume.vendor}##{volume.product.replace(' ', '_')}##"
    volume.body = None if identifier is None else f"{serial}##{identifier}"
    volume.comment = why
    return volume


def local_disk(vendor, product, revision, serial, name, size, rotation_rate=10000):
    """A SAS disk of the server itself."""
    return Volume(vendor, product, revision, f"UDID##{vendor}##{product.replace(' ', '_')}##",
                  f"{serial.strip()}##{name.hex()}", p.logical_unit_naa(name), serial,
                  std_length=96, alua=False, size=size,
                  more_pages={0xB0: p.block_limits_page(),
                              0xB1: p.characteristics_page(rotation_rate)})


def ata_disk(model, revision, serial, name, size):
    """A SATA disk as the kernel's SCSI/ATA translation shows it: names in three forms."""
    product = model[:16].rstrip()
    return Volume("ATA", product, revision, f"UDID##ATA##{product.replace(' ', '_')}##",
                  f"{serial.strip()}##{name.hex()}",
                  p.designator(p.VENDOR_SPECIFIC, p.ASCII, p.padded(serial, 20))
                  + p.logical_unit_t10("ATA", p.padded(model, 40) + p.padded(serial, 20))
                  + p.logical_unit_naa(name),
                  serial.ljust(20), std_length=96, version=5, alua=False, size=size,
                  more_pages={0xB0: p.block_limits_page(), 0xB1: p.characteristics_page(1)})


def cd_rom(serial):
    return Volume("HL-DT-ST", "DVDRAM GUD1N", "LD02", "", None, b"", serial, std_length=96,
                  device_type=0x05, version=5, alua=False, size=0x3FFFFF * 512)


def clariion(number, array="APM00143812345", product="VRAID"):
    name = p.naa6(CLARIION, 0x0F5A03600 + number, 0xC8A41F9B2D11E411)
    return Volume("DGC", product, "0533", "UDID##DGC##CLARIION##", f"{array}##{pairs(name)}",
                  p.logical_unit_naa(name), f"{array}CL", std_length=123, version=4,
                  asymmetric=True, more_pages={0xC0: p.page_from_byte(0xC0, 96, {
                      49: bytes([len(array)]), 50: array.encode()})})


def symmetrix(number, frame="0192600123"):
    """The frame's number is in packed decimal digits, the device's in four characters."""
    device = f"{number:04X}"
    name = (SYMMETRIX << 4 | 6 << 28).to_bytes(4, "big") + bytes.fromhex("00" + frame) \
        + f"S0{device}".encode()
    return Volume("EMC", "SYMMETRIX", "5876", "UDID##EMC##SYMMETRIX##", f"00{frame}##{device}",
                  p.logical_unit_naa(name), f"{frame[-5:]}{device}00", std_length=160,
                  std_extra={36: p.padded(frame[-5:] + device, 12),
                             124: bytes.fromhex(frame), 132: device.encode()})


def hitachi_inquiry(serial, ldev):
    """Bytes 36 to 55: serial number and LDEV number in hexadecimal characters."""
    return {36: f"500{serial:05X}{ldev:04X}".encode() + p.padded("CL1-A", 8)}


def hitachi(ldev, serial=0x12345):
    name = p.naa6(HITACHI, 0x007000000 + serial, 0x5000 << 48 | serial << 16 | ldev)
    return Volume("HITACHI", "OPEN-V", "7006", "UDID##HITACHI##HDS##", f"{serial}##{ldev}",
                  p.logical_unit_naa(name), f"50 {serial:05X}{ldev:04X}", std_length=96,
                  version=3, std_extra=hitachi_inquiry(serial, ldev))


def hp_xp(ldev, serial=0x2F0A1):
    volume = hitachi(ldev, serial)
    volume.vendor, volume.prefix = "HP", "UDID##HP##XP##"
    return volume


def hp_eva(number, controller=bytes.fromhex("50001fe15003a1b0")):
    name = p.naa6(COMPAQ, 0x400000000 + number, 0x0001300000A00000 | number)
    return Volume("HP", "HSV300", "1000", "UDID##HP##HSV##",
                  f"{groups(controller)}##{groups(name)}", p.logical_unit_naa(name),
                  f"P5512A1B0{number:05d}", std_length=164, std_extra={130: controller})


def hp_msa(number, array="00C0FFD71A4C00"):
    """Both pieces are text: the array's in the INQUIRY data, the volume's in a T10 name."""
    name = p.naa6(DOT_HILL, 0x0001A4C0 + number, 0x5F3C4A5101000000)
    label = f"{number:04X}D71A4C0000C0FF5F3C4A51010000"
    return Volume("HP", "MSA2324fc", "M114", "UDID##HP##MSA##", f"{array}##{label}",
                  p.logical_unit_naa(name) + p.logical_unit_t10("HP", label.encode()),
                  name.hex()[-20:], std_length=120, std_extra={96: array.encode()})


def three_par(number, array="1303421"):
    """The serial number comes right-aligned; the blanks in front are no part of it."""
    name = p.naa6(THREE_PAR, 0x000000000, number << 32 | int(array))
    return Volume("3PARdata", "VV", "3224", "UDID##HP##3PAR##", f"{array}##{name.hex()}",
                  p.logical_unit_naa(name), array.rjust(16), std_length=96)


def lsi(number, array=bytes.fromhex("600a0b80005ab9c2000000004b1f6c11")):
    name = p.naa6(ENGENIO, 0x0005AB9C2, 0x00000A5A4B200000 + number)
    return Volume("LSI", "INF-01-00", "0760", "UDID##ENGENIO##UNIVERSAL##",
                  f"{array.hex()}##{name.hex()}", p.logical_unit_naa(name),
                  f"SP91{number:08d}", std_length=96, version=5,
                  more_pages={0xC8: p.page_from_byte(0xC8, 140, {90: array})})


def netapp_answer(controller):
    """Records from byte 8: type, a byte, the length in two bytes; 0x22 is the controller's."""
    other = bytes([0x10, 0x00]) + (24).to_bytes(2, "big") + bytes(20)
    own = bytearray(64)
    own[0] = 0x22
    own[2:4] = len(own).to_bytes(2, "big")
    own[28:28 + len(controller)] = controller.encode()
    return bytes(8) + other + bytes(own)


def netapp(serial="80Ab2?IpTK8l", controller="4082368-508-0131887417"):
    """The volume's twelve characters stand right behind the T10 vendor and the word LUN."""
    name = p.naa6(NETAPP, 0x038303634, int.from_bytes(serial[-8:].encode(), "big"))
    return Volume("NETAPP", "LUN", "8200", "UDID##NETAPP##LUN##",
                  f"{controller}##{serial.encode().hex()}",
                  p.logical_unit_t10("NETAPP", b"LUN  " + serial.encode())
                  + p.logical_unit_naa(name), serial, std_length=96, version=5, asymmetric=True,
                  sg_io={NETAPP_QUERY: netapp_answer(controller).hex()})


def netapp_name(serial):
    return p.naa6(NETAPP, 0x038303634, int.from_bytes(serial[-8:].encode(), "big"))


def fujitsu(number, array="4601A2B3"):
    name = p.naa6(FUJITSU, 0x00D110000, 0x001100A200000000 | number << 16)
    return Volume("FUJITSU", "ETERNUS_DXL", "0000", "UDID##FUJITSU##ETERNUS##",
                  f"{array}##{name.hex()}", p.logical_unit_naa(name), f"{array}{number:04X}",
                  std_length=96, std_extra={36: array.encode()})


def ibm_2107(number, serial="75ABCD1"):
    """Only the last two bytes of the name, the volume's number in its image, are taken."""
    name = p.naa6(IBM, 0x303FFC123, number)
    return Volume("IBM", "2107900", "3210", "UDID##IBM##TOTALSTORAGE##",
                  f"IBM.2107-{serial}##{name.hex()[-4:]}", p.logical_unit_naa(name),
                  f"{serial}{number:04X}", std_length=96, std_extra={36: serial.encode()})


def ibm_2105(number, serial="7F31A40"):
    name = p.naa6(IBM, 0x30AFFC029, number)
    return Volume("IBM", "2105F20", "1.13", "UDID##IBM##TOTALSTORAGE##",
                  f"IBM.2105-{serial}##{name.hex()[-4:]}", p.logical_unit_naa(name),
                  f"{serial}{number:04X}", std_length=96, version=3)


def ibm_ds(number, machine="1814", array=bytes.fromhex("600a0b800048a36e0000000049c2f1d0")):
    name = p.naa6(ENGENIO, 0x00048A36E, 0x0000128C49F10000 + number)
    return Volume("IBM", f"{machine}      FAStT", "0916", "UDID##IBM##DISKSYSTEM##",
                  f"IBM.{machine}-{array.hex()}##{pairs(name)}", p.logical_unit_naa(name),
                  f"SV8470{number:04d}", std_length=96, version=5,
                  more_pages={0xC8: p.page_from_byte(0xC8, 140, {90: array}),
                              0xD0: p.page_from_byte(0xD0, 24, {8: array})})


def compellent(number):
    """No generator of its own: named by the general rule."""
    name = p.naa6(0x000D31, 0x00036A100, number)
    return Volume("COMPELNT", "Compellent Vol", "0606", "UDID##COMPELNT##COMPELLENT_VOL##",
                  f"000036a1-{number:08x}##{name.hex()}", p.logical_unit_naa(name),
                  f"000036a1-{number:08x}", std_length=96)


def clariion_lunz():
    """What a storage processor shows at LUN 0 when nothing is mapped there."""
    name = p.naa6(CLARIION, 0x0F5A00000, 0)
    return by_default(Volume("DGC", "LUNZ", "0533", "", "", p.logical_unit_naa(name), "",
                             std_length=123, version=4, size=0), "", name.hex(),
                      "No volume is mapped at LUN 0; LUNZ is none of the array's product names.")
