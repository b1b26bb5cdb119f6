#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "recording/capture/recorded_host_writer.h"
#include "recording/redaction/host_redaction.h"
#include "recording/redaction/mount_table.h"
#include "recording/redaction/page_redaction.h"
#include "recording/redaction/scrambler.h"
#include "recording/redaction/secret_table.h"
#include "recording/redaction/text_scan.h"
#include "recording/redaction/words.h"
#include "recording/replay/recorded_host_file.h"
#include "recording/text/hex.h"

namespace {

using recording::Bytes;
using recording::RecordedHostData;
using recording::RedactionKey;
using recording::Scrambler;
using recording::SecretTable;

constexpr RedactionKey kKey = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string textOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

Bytes fromHex(const std::string& digits) {
    Bytes bytes;
    std::size_t bad = 0;
    recording::fromHex(digits, bytes, bad);
    return bytes;
}

// Each letter and digit as its alphabet.
std::string shapeOf(const std::string& text) {
    std::string shape = text;
    for (char& c : shape) {
        c = c >= '0' && c <= '9'   ? '0'
            : c >= 'a' && c <= 'f' ? 'a'
            : c >= 'g' && c <= 'z' ? 'g'
            : c >= 'A' && c <= 'F' ? 'A'
            : c >= 'G' && c <= 'Z' ? 'G'
                                   : c;
    }
    return shape;
}

// The vectors of the paper: bytes 0, 1, 2 ... under the key 0, 1, 2 ...
TEST(KeyedHash, IsSipHash) {
    std::string text;
    const auto hashOf = [&](std::size_t size) {
        text.clear();
        for (std::size_t index = 0; index < size; ++index) {
            text += static_cast<char>(index);
        }
        return recording::keyedHash(kKey, text);
    };
    EXPECT_EQ(hashOf(0), 0x726fdb47dd0e0e31U);
    EXPECT_EQ(hashOf(1), 0x74f839c593dc67fdU);
    EXPECT_EQ(hashOf(8), 0x93f5f5799a932462U);
    EXPECT_EQ(hashOf(15), 0xa129ca6149be45e5U);
}

TEST(KeyedHash, TakesAnotherKeyEachTime) {
    EXPECT_NE(recording::randomKey(), recording::randomKey());
}

TEST(Scrambler, KeepsLengthAlphabetsAndPunctuation) {
    const Scrambler scrambler(kKey);
    for (const char* const text : {"50026B7785A1C2D3", "80Ab2?IpTK8l", "a-b_c d.e", "", "0", "z"}) {
        const std::string result = scrambler.text(text);
        EXPECT_EQ(shapeOf(result), shapeOf(text)) << text;
        for (std::size_t index = 0; index < result.size(); ++index) {
            EXPECT_EQ(result[index] == text[index], !recording::isAlphanumeric(text[index]))
                << text;
        }
        EXPECT_EQ(scrambler.text(text), result);
    }
}

TEST(Scrambler, MapsEveryTwoTextsToTwo) {
    const Scrambler scrambler(kKey);
    std::set<std::string> results;
    for (int number = 0; number < 10000; ++number) {
        results.insert(scrambler.text(std::to_string(number + 10000)));
    }
    EXPECT_EQ(results.size(), 10000U);
}

TEST(Scrambler, KeepsCommonBeginningsAndTheCase) {
    const Scrambler scrambler(kKey);
    EXPECT_EQ(scrambler.text("APM0014A").substr(0, 7), scrambler.text("APM0014B").substr(0, 7));
    EXPECT_EQ(recording::lowerCase(scrambler.text("ABCD")), scrambler.text("abcd"));
    EXPECT_EQ(scrambler.text("6006016012345678", 7).substr(0, 7), "6006016");
    EXPECT_NE(scrambler.text("abcd"), Scrambler(RedactionKey{}).text("abcd"));
}

TEST(Scrambler, LeavesThePOfAPartitionsName) {
    const Scrambler scrambler(kKey);
    const std::string name = scrambler.text("orap1", 0, Scrambler::Alphabet::kWithoutP);
    EXPECT_EQ(name[3], 'p');
    for (int number = 0; number < 200; ++number) {
        const std::string other = scrambler.text("ora" + std::to_string(number) + "q1", 0,
                                                 Scrambler::Alphabet::kWithoutP);
        EXPECT_EQ(other.find('p'), std::string::npos) << other;
    }
}

TEST(Scrambler, MakesAnAddressOfAnAddress) {
    const Scrambler scrambler(kKey);
    for (const char* const text : {"192.0.2.10", "10.1.99.255", "100.0.0.9"}) {
        const std::string result = scrambler.ipv4(text);
        EXPECT_EQ(shapeOf(result), shapeOf(text));
        SecretTable table(kKey);
        recording::scanText(result, table);
        table.settle();
        EXPECT_NE(table.replaced(result), result) << "no address: " << result;
    }
    const auto network = [](const std::string& text) { return text.substr(0, text.rfind('.')); };
    EXPECT_EQ(network(scrambler.ipv4("192.0.2.10")), network(scrambler.ipv4("192.0.2.11")));
}

/// Everything that is found in texts, settled.
SecretTable tableOf(const std::vector<std::string>& texts) {
    SecretTable table(kKey);
    for (const std::string& text : texts) {
        recording::scanText(text, table);
    }
    table.settle();
    return table;
}

TEST(TextScan, FindsNamesAndAddressesByTheirForm) {
    for (const char* const text :
         {"iqn.1994-05.com.redhat:6a1f20c9d3b4", "192.0.2.10:3260", "[2001:db8::10]:3260",
          "fe80:0:0:0:5054:ff:fe12:3456", "52:54:00:12:34:56", "50:06:01:60:3b:20:f5:a0",
          "0x21000024ff3a6e10", "naa.60060160f5a03600c8a41f9b2d11e411", "eui.0025385a71b0c2d4",
          "mpath-360060160f5a03600c8a41f9b2d11e411", "123e4567-e89b-12d3-a456-426614174000",
          "LVM-K8zVt6sWfXbGdWmC4v2bTgTqgUqXcd9QK8zVt6sWfXbGdWmC4v2bTgTqgUqXcd9Q"}) {
        const std::string result = tableOf({text}).replaced(text);
        EXPECT_EQ(shapeOf(result), shapeOf(text)) << text << " became " << result;
        EXPECT_NE(result, text);
    }
}

TEST(TextScan, LeavesNumbersOfTheKernelAlone) {
    for (const char* const text :
         {"2:0:0:16684", "8:16", "4.18.0-553.el8_10.x86_64", "127.0.0.1", "0.0.0.0",
          "/sys/devices/pci0000:00/0000:00:1f.2/ata1/host0/target0:0:0/0:0:0:0", "12:30:45",
          "   8        0  500107608 sda", "256.1.1.1", "1.2.3.4.5"}) {
        EXPECT_EQ(tableOf({text}).replaced(text), text);
    }
}

TEST(TextScan, CutsAnIscsiNameWhereUdevGoesOn) {
    const SecretTable table = tableOf({"ip-192.0.2.10:3260-iscsi-iqn.1992-08.com.a:sn.1-lun-0"});
    const std::string whole = table.replaced("iqn.1992-08.com.a:sn.1");
    EXPECT_EQ(whole.substr(0, 12), "iqn.1992-08.");
    EXPECT_NE(whole.substr(12), "com.a:sn.1");
    EXPECT_EQ(table.replaced("x-iqn.1992-08.com.a:sn.1-lun-0"), "x-" + whole + "-lun-0");
}

TEST(SecretTable, ReplacesEveryFormAlike) {
    SecretTable table(kKey);
    table.addText("80Ab2?IpTK8l");
    table.addHex("60060160F5A03600C8A41F9B2D11E411");
    table.settle();
    const std::string serial = table.replaced("80Ab2?IpTK8l");
    EXPECT_NE(serial, "80Ab2?IpTK8l");
    EXPECT_EQ(table.replaced(recording::toHex(bytesOf("80Ab2?IpTK8l"))),
              recording::toHex(bytesOf(serial)));
    const std::string name = table.replaced("60060160f5a03600c8a41f9b2d11e411");
    EXPECT_EQ(name.substr(0, 7), "6006016");
    EXPECT_EQ(table.replaced("3" + name), "3" + name);
    EXPECT_EQ(table.replaced("60060160F5A03600C8A41F9B2D11E411"), recording::upperCase(name));
    EXPECT_EQ(table.replaced("60:06:01:60:f5:a0:36:00:c8:a4:1f:9b:2d:11:e4:11").substr(12, 5),
              name.substr(8, 2) + ":" + name.substr(10, 2));
    EXPECT_EQ(table.replaced("6006-0160-F5A0-3600-C8A4-1F9B-2D11-E411").substr(10, 4),
              recording::upperCase(name.substr(8, 4)));
    EXPECT_EQ(table.replaced(textOf(fromHex("60060160f5a03600c8a41f9b2d11e411"))),
              textOf(fromHex(name)));
}

TEST(SecretTable, ReplacesASecretWithinALongerOneByTheSame) {
    SecretTable table(kKey);
    table.addText("noprqstuv8w");
    table.addHex("60a98000" + recording::toHex(bytesOf("noprqstuv8wx")));
    table.addWhole("iqn.1992-08.com.a:noprqstuv8w", 12);
    table.settle();
    const std::string serial = table.replaced("noprqstuv8w");
    EXPECT_EQ(table.replaced("60a98000" + recording::toHex(bytesOf("noprqstuv8wx"))).substr(8, 22),
              recording::toHex(bytesOf(serial)));
    EXPECT_EQ(table.replaced("iqn.1992-08.com.a:noprqstuv8w").substr(18), serial);
}

TEST(SecretTable, LeavesShortOnesWithinWordsAndKnownWordsAlone) {
    SecretTable table(kKey);
    table.addKnownWord("VRAID");
    table.addText("VRAID");
    table.addText("12345");
    table.addName("sda");
    table.addName("mpathb");
    table.addName("data");
    table.settle();
    EXPECT_EQ(table.replaced("VRAID 912345 /dev/sda mpathb data"),
              "VRAID 912345 /dev/sda mpathb data");
    EXPECT_NE(table.replaced("x_12345_y"), "x_12345_y");
}

// Pages.

TEST(PageRedaction, KeepsTheShapeOfAPage83) {
    Bytes page = fromHex(
        "0083003001030010"
        "60060160f5a03600c8a41f9b2d11e411"
        "01930008"
        "5000e1e0c0ffef40"
        "0194000400000001"
        "0195000400000002");
    const Bytes original = page;
    SecretTable table(kKey);
    recording::collectPage(0x83, page, table);
    table.settle();
    recording::redactPage(0x83, page, table);
    ASSERT_EQ(page.size(), original.size());
    EXPECT_TRUE(std::equal(page.begin(), page.begin() + 11, original.begin()));  // NAA and OUI
    EXPECT_EQ(page[11] >> 4, original[11] >> 4);
    EXPECT_NE(page, original);
    // The target port's name is another one, its number and its group are the same.
    EXPECT_FALSE(std::equal(page.begin() + 32, page.begin() + 36, original.begin() + 32));
    EXPECT_TRUE(std::equal(page.begin() + 36, page.end(), original.begin() + 36));
}

TEST(PageRedaction, KeepsTheVendorAndTheProductOfAT10Name) {
    const std::string id = "LIO-ORG volume-17:c0a16f3d-1b7e";
    Bytes page = {0, 0x83, 0, static_cast<std::uint8_t>(id.size() + 4),
                  2, 1,    0, static_cast<std::uint8_t>(id.size())};
    page.insert(page.end(), id.begin(), id.end());
    SecretTable table(kKey);
    table.addKnownWord("volume-17");
    recording::collectPage(0x83, page, table);
    table.settle();
    recording::redactPage(0x83, page, table);
    EXPECT_EQ(textOf(page).substr(8, 18), "LIO-ORG volume-17:");
    EXPECT_EQ(shapeOf(textOf(page).substr(8)), shapeOf(id));
    EXPECT_EQ(textOf(page).find("c0a16f3d"), std::string::npos);
}

TEST(PageRedaction, NeverReadsBeyondABrokenPage) {
    for (const char* const digits :
         {"", "00", "0083", "00830004", "0083ffff010300ff60", "00830004010300",
          "008300080103001060060160", "0083000801ff0600aa"}) {
        for (const recording::PageCode code :
             {recording::PageCode(0x83), recording::PageCode(0x80), recording::PageCode(0xC8),
              recording::PageCode(0xC0), recording::PageCode()}) {
            Bytes page = fromHex(digits);
            SecretTable table(kKey);
            recording::collectPage(code, page, table);
            table.settle();
            recording::redactPage(code, page, table);
            EXPECT_EQ(page.size(), fromHex(digits).size());
        }
    }
}

TEST(PageRedaction, TakesAnInquiryForOneWhateverAskedForIt) {
    SecretTable table(kKey);
    recording::RecordedPage serial(Bytes{0, 0x80, 0, 8, 'S', 'E', 'R', '1', '2', '3', '4', '5'});
    serial.sense = {0x70, 0, 5, 0, 0, 0,   0,   18,  0,   0,   0,   0,   0x25,
                    0,    0, 0, 0, 0, 'S', 'E', 'R', '1', '2', '3', '4', '5'};
    const Bytes block = {0x12, 1, 0x80, 0, 255, 0};
    recording::collectAnswer(block, serial, table);
    table.settle();
    recording::RecordedPage other = serial;
    recording::redactAnswer(block, other, table);
    EXPECT_EQ(textOf(other.bytes).substr(4), table.wholly("SER12345"));
    EXPECT_EQ(textOf(other.sense).substr(18), table.wholly("SER12345"));
    EXPECT_TRUE(std::equal(other.sense.begin(), other.sense.begin() + 18, serial.sense.begin()));
    EXPECT_TRUE(std::equal(other.bytes.begin(), other.bytes.begin() + 4, serial.bytes.begin()));
}

TEST(MountTable, KeepsTheMountsOfDevices) {
    SecretTable table(kKey);
    const std::string mounts =
        "36 25 253:1 / /u01/oradata rw,noatime shared:1 - xfs /dev/mapper/orap1 rw,logbsize=64k\n"
        "37 25 0:40 / /mnt/share rw - nfs4 filer.example.com:/export rw,addr=192.0.2.7\n"
        "38 25 8:1 / /boot ro,relatime - ext4 /dev/sda1 ro,errors=continue\n"
        "/dev/sda2 / ext4 rw,relatime 0 0\n"
        "proc /proc proc rw 0 0\n"
        "broken\n";
    recording::collectMounts(mounts, table);
    table.settle();
    const std::string result = recording::redactedMounts(mounts, table);
    EXPECT_EQ(shapeOf(result),
              shapeOf("36 25 253:1 / " + table.replaced("/u01/oradata") + " rw - xfs " +
                      table.replaced("/dev/mapper/orap1") + " rw\n" +
                      "38 25 8:1 / /boot ro - ext4 /dev/sda1 ro\n"
                      "/dev/sda2 / ext4 rw 0 0\n"));
    for (const char* const original : {"oradata", "u01", "orap1", "filer", "192.0.2.7"}) {
        EXPECT_EQ(result.find(original), std::string::npos) << original;
    }
}

// Whole hosts.

std::set<std::string> formsOf(const std::string& text) {
    const std::string hex = recording::toHex(bytesOf(text));
    return {text, recording::lowerCase(text), recording::upperCase(text), hex,
            recording::upperCase(hex)};
}

std::set<std::string> binaryFormsOf(const Bytes& bytes) {
    const std::string hex = recording::toHex(bytes);
    std::string colons;
    std::string dashes;
    for (std::size_t index = 0; index < hex.size(); index += 2) {
        colons += (index > 0 ? ":" : "") + hex.substr(index, 2);
        dashes += (index > 0 ? "-" : "") + hex.substr(index, 2);
    }
    return {hex, recording::upperCase(hex), colons, recording::upperCase(colons), dashes};
}

/// The serial numbers and names of a host in all their forms, worked out here from the bytes.
std::set<std::string> secretsOf(const RecordedHostData& data) {
    std::set<std::string> forms;
    const auto add = [&](const std::set<std::string>& more) {
        forms.insert(more.begin(), more.end());
    };
    for (const auto& [path, device] : data.devices) {
        const auto serial = device.pages.find(0x80);
        if (serial != device.pages.end()) {
            std::string text = textOf(serial->second.bytes).substr(4);
            text.erase(0, text.find_first_not_of(' '));
            text.erase(text.find_last_not_of(std::string(" \0", 2)) + 1);
            if (text.size() > 3) {
                add(formsOf(text));
            }
        }
        const auto names = device.pages.find(0x83);
        for (std::size_t at = 4;
             names != device.pages.end() && at + 4 <= names->second.bytes.size();
             at += 4U + names->second.bytes[at + 3]) {
            const Bytes& page = names->second.bytes;
            const std::size_t end = std::min(page.size(), at + 4 + page[at + 3]);
            const bool isName = (page[at + 1] & 0xF) == 2 || (page[at + 1] & 0xF) == 3;
            if (isName && (page[at] & 0xF) == 1 && end - at > 8) {
                add(binaryFormsOf({page.begin() + static_cast<long>(at + 4),
                                   page.begin() + static_cast<long>(end)}));
            }
        }
    }
    add({"iqn.1994-05.com.redhat:6a1f20c9d3b4", "6a1f20c9d3b4", "iqn.1992-08.com.netapp",
         "135902718", "192.0.2.1", "21000024ff3a6e10", "210000e08b015a7c", "vg00",
         data.hostName.value_or("localhost")});
    return forms;
}

TEST(HostRedaction, LeavesNothingOfTheSamples) {
    for (const auto& entry : std::filesystem::directory_iterator(SCSITOOL_SAMPLES)) {
        if (entry.path().extension() != ".json") {
            continue;
        }
        const RecordedHostData data = recording::loadRecordedHost(entry.path());
        const RecordedHostData result = recording::redactHost(data, {}, kKey).data;
        const std::string text = recording::recordedHostText(result);
        std::size_t looked = 0;
        for (const std::string& secret : secretsOf(data)) {
            EXPECT_EQ(text.find(secret), std::string::npos) << entry.path() << ": " << secret;
            ++looked;
        }
        EXPECT_GT(looked, 8U);
        EXPECT_EQ(result.devices.size(), data.devices.size());
        EXPECT_EQ(result.files.size(), data.files.size());
        EXPECT_EQ(result.directories.size(), data.directories.size());
        EXPECT_EQ(result.commands.size(), data.commands.size());
        for (const auto& [path, device] : data.devices) {
            if (device.standardInquiry && result.devices.count(path) != 0) {
                const Bytes& before = device.standardInquiry->bytes;
                const Bytes& after = result.devices.at(path).standardInquiry->bytes;
                ASSERT_EQ(after.size(), before.size());
                // A device that refused the command sent nothing.
                const auto kept = static_cast<long>(std::min<std::size_t>(before.size(), 36));
                EXPECT_TRUE(std::equal(before.begin(), before.begin() + kept, after.begin()));
            }
        }
    }
}

TEST(HostRedaction, ReplacesNamesInLinksAndFilesAlike) {
    RecordedHostData data;
    data.hostName = "db01.corp.test";
    data.files["/sys/class/block/dm-0/dm/name"] = "oravol\n";
    data.files["/sys/class/block/dm-0/dm/uuid"] = "mpath-360060160f5a03600c8a41f9b2d11e411\n";
    data.files["/sys/class/block/sda/device/vpd_pg80"] = std::string("\0\x80\0\x8", 4) + "SER12345";
    data.files["/sys/class/block/sda/device/vendor"] = "ACME    \n";
    data.files["/proc/partitions"] = "   8   0  12345678 sda\n";
    data.directories["/dev/mapper/"] = {".", "..", "control", "oravol", "mpatha", "vg_db01-root"};
    data.links["/dev/disk/by-id/wwn-0x60060160f5a03600c8a41f9b2d11e411"] = "../../sda";
    data.links["/dev/disk/by-id/scsi-SACME_DISK_SER12345"] = "../../sda";
    data.links["/dev/disk/by-id/dm-name-oravol"] = "../../dm-0";
    data.links["/dev/disk/by-id/nvme-Fast_S5GXNX0R1"] = "../../nvme0n1";
    data.devices["/dev/mapper/oravol"] = {};
    const auto result = recording::redactHost(data, {"/dev/mapper/oravol: broke"}, kKey);
    const std::string text = recording::recordedHostText(result.data) + result.remarks.at(0);
    for (const char* const original :
         {"oravol", "60060160f5a03600c8a41f9b2d11e411", "SER12345", "db01", "corp", "S5GXNX0R1"}) {
        EXPECT_EQ(text.find(original), std::string::npos) << original << " in " << text;
    }
    const std::vector<std::string>& maps = result.data.directories.at("/dev/mapper/");
    const std::string name = maps[3];
    EXPECT_EQ(maps[2], "control");
    EXPECT_EQ(maps[4], "mpatha");
    EXPECT_EQ(maps[5].substr(maps[5].size() - 5), "-root");
    EXPECT_EQ(result.data.files.at("/sys/class/block/dm-0/dm/name").content, name + "\n");
    EXPECT_EQ(result.data.devices.count("/dev/mapper/" + name), 1U);
    EXPECT_EQ(result.data.links.count("/dev/disk/by-id/dm-name-" + name), 1U);
    const std::string serial =
        result.data.files.at("/sys/class/block/sda/device/vpd_pg80").content.substr(4);
    EXPECT_EQ(result.data.links.count("/dev/disk/by-id/scsi-SACME_DISK_" + serial), 1U);
    EXPECT_EQ(result.data.files.at("/proc/partitions").content, "   8   0  12345678 sda\n");
    EXPECT_EQ(result.data.files.at("/sys/class/block/sda/device/vendor").content, "ACME    \n");
}

TEST(HostRedaction, DependsOnTheKeyAlone) {
    const RecordedHostData data =
        recording::loadRecordedHost(std::string(SCSITOOL_SAMPLES) + "/enterprise.json");
    const auto textUnder = [&](const RedactionKey& key) {
        return recording::recordedHostText(recording::redactHost(data, {}, key).data);
    };
    EXPECT_EQ(textUnder(kKey), textUnder(kKey));
    EXPECT_NE(textUnder(kKey), textUnder(RedactionKey{}));
}

}  // namespace
