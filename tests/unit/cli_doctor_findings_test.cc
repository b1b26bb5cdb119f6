#include <cerrno>
#include <functional>
#include <set>

#include "cli/doctor/finding.h"
#include "doctor_machine.h"
#include "sick_host.h"

namespace {

using recording::RecordedDevice;
using test::Bytes;
using test::CliResult;
using test::namedDisk;
using test::Page;
using test::SickHost;
using testing::HasSubstr;
using Json = nlohmann::ordered_json;

/// Two volumes of one array, each on two paths below a map, with all tools: nothing is to be found.
class Host : public SickHost {
  public:
    Host() {
        test::addTools(data);
        add("sda", "2:0:0:1", named(1), 0x02000100);
        add("sdb", "3:0:0:1", named(1), 0x03000100);
        add("sdc", "2:0:0:2", named(2), 0x02000200);
        add("sdd", "3:0:0:2", named(2), 0x03000200);
        addMap("dm-0", "mpatha", {"sda", "sdb"}, named(1));
        addMap("dm-1", "mpathb", {"sdc", "sdd"}, named(2));
    }

    static RecordedDevice named(std::uint8_t number) {
        return namedDisk("SERIAL000" + std::to_string(number), number);
    }

    RecordedDevice& add(const std::string& name, const std::string& address, RecordedDevice device,
                        std::uint32_t word) {
        device.idLun = word;
        const std::string folder = "/sys/class/scsi_device/" + address + "/device/";
        data.directories[folder + "block/"] = {".", "..", name};
        return addDisk(name, address, device);
    }

    RecordedDevice& disk(const std::string& name) { return data.devices["/dev/" + name]; }
    void name(const std::string& disk, const RecordedDevice& other) {
        const auto word = this->disk(disk).idLun;
        this->disk(disk) = other;
        this->disk(disk).idLun = word;
    }
};

// What is wrong with a host, and all that is found then, as "CODE devices: what was seen".
struct Sickness {
    std::string name;
    std::function<void(Host&)> bring;
    std::vector<std::string> found;
};

RecordedDevice diskOf(const std::string& vendor, const std::string& product,
                      const std::map<std::uint8_t, Page>& pages) {
    std::vector<std::uint8_t> codes = {0x00};
    for (const auto& [code, page] : pages) {
        codes.push_back(code);
    }
    std::map<std::uint8_t, Page> all = pages;
    all.emplace(0x00, Page::supported(codes));
    return test::diskOf(Page::inquiry(vendor, product), all);
}

Bytes naa6(std::uint8_t last) {
    return {0x60, 0, 0, 0x0a, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last};
}

// A page 0x83 with a page length of its own, filled up with a name of the target port.
Page longNames(std::size_t length) {
    const Page page = Page::names().naa(naa6(5));
    Bytes bytes = page.data();
    bytes.resize(length + 4);
    bytes[2] = static_cast<std::uint8_t>(length >> 8);
    bytes[3] = static_cast<std::uint8_t>(length & 0xFF);
    return Page(bytes);
}

// A disk that names itself by text of its own, in a T10 vendor ID designator.
RecordedDevice ownName(const std::string& text) {
    return diskOf("ACME", "RAID 5",
                  {{0x83, Page::names().designator(2, 0, 1, Bytes(text.begin(), text.end()))}});
}

// A volume of a family that takes the first designator for its name, which stands in the second.
RecordedDevice namedBehind(std::uint8_t number) {
    return diskOf("3PARdata", "VV",
                  {{0x80, Page::serial("13034215")},
                   {0x83, Page::names().designator(2, 0, 1, Bytes(16, 'A')).naa(naa6(number))}});
}

const std::string kOtherName =
    "bytes 8 to 23 of page 0x83 are no NAA name of the logical unit: the first designator has code "
    "set 2, association 0, type 1, 16 bytes";

void lone(Host& host, const RecordedDevice& device) {
    host.add("sde", "4:0:0:1", device, 0x04000100);
}

std::vector<Sickness> sicknesses() {
    return {
        {"a disk that does not answer",
         [](Host& host) {
             lone(host, Host::named(5));
             test::silence(host.disk("sde"), EIO);
         },
         {"DOC012 /dev/sde: no answer: input/output error"}},
        {"a disk that cannot be opened",
         [](Host& host) {
             lone(host, Host::named(5));
             host.disk("sde").openError = EBUSY;
         },
         {"DOC013 /dev/sde: cannot be opened: device or resource busy"}},
        {"a dead path",
         [](Host& host) { host.disk("sdb").openError = ENXIO; },
         {"DOC014 /dev/sdb: gone: no such device or address"}},
        {"an offline path",
         [](Host& host) {
             host.setAttribute("3:0:0:1", "state", "transport-offline\n");
             test::silence(host.disk("sdb"), EIO);
         },
         {"DOC014 /dev/sdb: offline: Input/output error"}},
        {"a blocked path",
         [](Host& host) { host.setAttribute("3:0:0:1", "state", "blocked\n"); },
         {"DOC015 /dev/sdb: its state is blocked; it was not asked"}},
        {"a remapped disk",
         [](Host& host) {
             lone(host, Host::named(5));
             host.name("sde", Host::named(6));
         },
         {"DOC016 /dev/sde: answers as 6000000a000000000000000000000006 (page 0x83), the kernel "
          "took it for 6000000a000000000000000000000005"}},
        {"a disk that does not open for writing",
         [](Host& host) {
             lone(host, Host::named(5));
             host.disk("sde").writeError = EROFS;
         },
         {"DOC017 /dev/sde: cannot be opened: read-only file system"}},
        {"a disk that the kernel has read-only",
         [](Host& host) { host.data.files["/sys/class/block/sda/ro"] = "1\n"; },
         {"DOC017 /dev/sda: the kernel has it read-only"}},
        {"a LUN of more than eight bits",
         [](Host& host) { host.add("sde", "4:0:0:16684", Host::named(5), 0x04002c00); },
         {"DOC018 /dev/sde: its address is 4:0:0:16684, the address word says 4:0:0:44"}},
        {"a host number of more than eight bits",
         [](Host& host) { host.add("sde", "256:0:0:1", Host::named(5), 0x00000100); },
         {"DOC018 /dev/sde: its address is 256:0:0:1, the address word says 0:0:0:1"}},
        {"a map without a path",
         [](Host& host) {
             host.disk("sda").openError = ENXIO;
             host.disk("sdb").openError = ENXIO;
             test::silence(host.data.devices["/dev/mapper/mpatha"], EIO);
         },
         {"DOC019 /dev/mapper/mpatha: none of its paths answers: sda sdb",
          "DOC014 /dev/sda: gone: no such device or address",
          "DOC014 /dev/sdb: gone: no such device or address"}},
        {"a map with a path less",
         [](Host& host) {
             host.data.directories["/sys/class/block/dm-1/slaves/"] = {".", "..", "sdc"};
         },
         {"DOC020 /dev/mapper/mpathb: 1 of the 2 paths that /dev/mapper/mpatha has: none through "
          "target 3:0:0"}},
        {"a page 0x83 that is too long by a byte",
         [](Host& host) {
             lone(host, diskOf("ACME", "RAID 5", {{0x83, longNames(249)}}));
         },
         {"DOC022 /dev/sde: page 0x83 has 253 bytes; 252 are asked for, and by the low byte of its "
          "length the library takes it for 253"}},
        {"a page 0x83 whose length needs two bytes",
         [](Host& host) {
             lone(host, diskOf("ACME", "RAID 5",
                               {{0x80, Page::serial("SERIAL0005")}, {0x83, longNames(256 + 20)}}));
         },
         {"DOC022 /dev/sde: page 0x83 has 280 bytes; 252 are asked for, and by the low byte of its "
          "length the library takes it for 24"}},
        {"a product that no family has",
         [](Host& host) {
             lone(host,
                  diskOf("NETAPP", "INF-01-00",
                         {{0x80, Page::serial("SERIAL0005")}, {0x83, Page::names().naa(naa6(5))}}));
         },
         {"DOC023 /dev/sde: no family of vendor \"NETAPP\" has a product \"INF-01-00\"; its UDID "
          "rests on page 0x80 and page 0x83"}},
        {"a disk that is named by its path",
         [](Host& host) { lone(host, diskOf("ACME", "RAID 5", {})); },
         {"DOC026 /dev/sde: its UDID is UDID##ACME##RAID_5##/DEV/SDE@GUEST: neither page 0x83 nor "
          "page 0x80 has an identifier to use"}},
        {"a serial number in page 0x80 alone",
         [](Host& host) {
             lone(host, diskOf("ACME", "RAID 5", {{0x80, Page::serial("SERIAL0005")}}));
         },
         {"DOC026 /dev/sde: its UDID is UDID##ACME##RAID_5##/DEV/SDE@GUEST: neither page 0x83 nor "
          "page 0x80 has an identifier to use"}},
        {"a name of seven characters",
         [](Host& host) { lone(host, ownName("ABCDEF7")); },
         {"DOC027 /dev/sde: its UDID rests on 7 characters: \"ABCDEF7\""}},
        {"a name of zeros",
         [](Host& host) { lone(host, ownName("000000000000")); },
         {"DOC027 /dev/sde: its UDID rests on 12 characters: \"000000000000\""}},
        {"a family that fails",
         [](Host& host) {
             lone(host, diskOf("3PARdata", "VV", {{0x83, Page::names().naa(naa6(5))}}));
         },
         {"DOC024 /dev/sde: HP:3PAR claims it and fails with "
          "MSG_UDID_ERROR_INVALID_SCSI_ENCLOSURE_DATA:: (page 0x80 is missing); its UDID rests on "
          "page 0x83"}},
        {"a first designator that is no name",
         [](Host& host) { lone(host, namedBehind(5)); },
         {"DOC025 /dev/sde: " + kOtherName}},
        {"two volumes of one UDID",
         [](Host& host) {
             lone(host, namedBehind(5));
             host.add("sdf", "5:0:0:1", namedBehind(6), 0x05000100);
         },
         {"DOC029 /dev/sde /dev/sdf: 2 volumes have the UDID "
          "UDID##HP##3PAR##13034215##41414141414141414141414141414141: /dev/sde: "
          "naa.6000000a000000000000000000000005, /dev/sdf: naa.6000000a000000000000000000000006",
          "DOC025 /dev/sde: " + kOtherName, "DOC025 /dev/sdf: " + kOtherName}},
        {"one volume of two UDIDs",
         [](Host& host) {
             lone(host, namedDisk("SERIAL0005", 5));
             host.add("sdf", "5:0:0:1", namedDisk("SERIAL0006", 5), 0x05000100);
         },
         {"DOC030 /dev/sde /dev/sdf: the volume naa.6000000a000000000000000000000005 has 2 UDIDs: "
          "/dev/sde: UDID##ACME##RAID_5##SERIAL0005##6000000A000000000000000000000005, /dev/sdf: "
          "UDID##ACME##RAID_5##SERIAL0006##6000000A000000000000000000000005"}},
        {"a page that does not come",
         [](Host& host) {
             recording::RecordedDevice disk = Host::named(5);
             disk.pages[0x80].status = 8;
             lone(host, disk);
         },
         {"DOC031 /dev/sde: answered in part: page 0x80: SCSI status 8"}},
        {"a map over two volumes",
         [](Host& host) {
             lone(host, Host::named(5));
             host.add("sdf", "5:0:0:1", Host::named(6), 0x05000100);
             host.addMap("dm-2", "mpathc", {"sde", "sdf"}, Host::named(5));
         },
         {"DOC028 /dev/mapper/mpathc /dev/sde /dev/sdf: the paths of /dev/mapper/mpathc are "
          "different volumes: /dev/sde: "
          "UDID##ACME##RAID_5##SERIAL0005##6000000A000000000000000000000005, /dev/sdf: "
          "UDID##ACME##RAID_5##SERIAL0006##6000000A000000000000000000000006"}},
        {"paths of different size",
         [](Host& host) { host.data.files["/sys/class/block/sda/size"] = "4194304\n"; },
         {"DOC021 /dev/mapper/mpatha /dev/sdb /dev/sda: the paths of "
          "naa.6000000a000000000000000000000001 differ in size: /dev/mapper/mpatha /dev/sdb: "
          "1048576 KiB, /dev/sda: 2097152 KiB"}},
    };
}

std::vector<std::string> foundIn(const CliResult& result) {
    std::vector<std::string> found;
    const Json document = result.json();
    for (const Json& finding : document["findings"]) {
        std::string text = finding["code"];
        for (const Json& device : finding["devices"]) {
            text += " " + device.get<std::string>();
        }
        found.push_back(text + ": " + finding["seen"].get<std::string>());
    }
    return found;
}

TEST(DoctorFindings, ThereAreNoneOnASoundHost) {
    const CliResult found = test::runOnMachine(Host().data, {"doctor", "--json"});
    EXPECT_EQ(foundIn(found), std::vector<std::string>());
    EXPECT_EQ(found.status, 0) << found.err;
}

TEST(DoctorFindings, SayWhatWasSeen) {
    for (const Sickness& sickness : sicknesses()) {
        Host host;
        sickness.bring(host);
        const CliResult found = test::runOnMachine(host.data, {"doctor", "--json"});
        EXPECT_EQ(foundIn(found), sickness.found) << sickness.name;
        EXPECT_EQ(found.status, 3) << sickness.name;
    }
}

TEST(DoctorFindings, AreThoseOfTheCapture) {
    for (const Sickness& sickness : sicknesses()) {
        Host host;
        sickness.bring(host);
        const test::TempFolder folder;
        const std::string file = folder.path("host.json");
        test::CliMachine machine(host.data);
        const test::CliResult captured = machine.run({"capture", file}, test::root());
        // 3: a page that did not come is told by whoever asks for it.
        ASSERT_THAT(captured.status, testing::AnyOf(0, 3)) << sickness.name << captured.err;
        const CliResult live = machine.run({"doctor"}, test::root());
        test::CliMachine nowhere({});
        const CliResult replayed = nowhere.run({"--host", file, "doctor"});
        EXPECT_EQ(replayed.out, live.out) << sickness.name;
        EXPECT_EQ(replayed.err, live.err) << sickness.name;
        EXPECT_EQ(machine.openDescriptors(), 0U) << sickness.name;
    }
}

// What the limits let pass.
TEST(DoctorFindings, ThereAreNoneUpToTheLimits) {
    const std::vector<std::pair<std::string, std::function<void(Host&)>>> sound = {
        {"a page 0x83 of 252 bytes",
         [](Host& host) {
             lone(host, diskOf("ACME", "RAID 5", {{0x83, longNames(248)}}));
         }},
        {"a name of eight characters", [](Host& host) { lone(host, ownName("ABCDEFG8")); }},
        {"LUN 255 on host 255",
         [](Host& host) { host.add("sde", "255:0:0:255", Host::named(5), 0xff00ff00); }},
        {"a map behind other targets",
         [](Host& host) {
             lone(host, Host::named(5));
             host.addMap("dm-2", "mpathc", {"sde"}, Host::named(5));
         }},
        {"a disk that may be written",
         [](Host& host) { host.data.files["/sys/class/block/sda/ro"] = "0\n"; }},
    };
    for (const auto& [name, bring] : sound) {
        Host host;
        bring(host);
        const CliResult found = test::runOnMachine(host.data, {"doctor", "--json"});
        EXPECT_EQ(foundIn(found), std::vector<std::string>()) << name;
    }
}

// Every kind from the first on that is no ability's.
TEST(DoctorFindings, EveryKindIsFound) {
    std::set<std::string> found;
    for (const Sickness& sickness : sicknesses()) {
        for (const std::string& line : sickness.found) {
            found.insert(line.substr(0, line.find(' ')));
        }
    }
    std::set<std::string> kinds;
    for (const cli::doctor::KindText& kind : cli::doctor::kindTexts()) {
        if (kind.kind > cli::doctor::Kind::kNoPowerPathTool) {
            kinds.insert(kind.code);
        }
    }
    EXPECT_EQ(found, kinds);
}

// A node that the recording does not have is no disk that cannot be opened.
TEST(DoctorFindings, ARecordingThatLacksANodeSaysNothingOfTheDisk) {
    Host host;
    lone(host, Host::named(5));
    host.data.devices.erase("/dev/sde");
    EXPECT_EQ(foundIn(test::runOnRecording(host.data, {"doctor", "--json"})),
              std::vector<std::string>());
    EXPECT_EQ(
        foundIn(test::runOnMachine(host.data, {"doctor", "--json"})),
        std::vector<std::string>{"DOC013 /dev/sde: cannot be opened: no such file or directory"});
}

}  // namespace
