#include <gtest/gtest.h>

#include <filesystem>

#include "cli/mailed/dump_line.h"
#include "cli/mailed/dump_reader.h"
#include "cli/mailed/mailed_text.h"
#include "cli/mailed/page_kind.h"
#include "cli_harness.h"
#include "family_samples.h"

namespace {

using cli::mailed::DumpLine;
using cli::mailed::findDumps;
using cli::mailed::pagesIn;
using cli::mailed::readDumpLine;
using test::Bytes;
using test::CliMachine;
using test::CliResult;
using test::Page;
using test::TempFolder;

constexpr const char* kVolume =
    "UDID##DGC##CLARIION##APM00143812345##60:06:01:60:F5:A0:36:01:C8:A4:1F:9B:2D:11:E4:11";

std::string lastLine(const std::string& text) {
    const std::size_t end = text.empty() ? 0 : text.size() - 1;
    const std::size_t start = text.rfind('\n', end == 0 ? 0 : end - 1);
    return text.substr(start == std::string::npos ? 0 : start + 1, end - (start + 1));
}

CliResult explained(std::vector<std::string> arguments) {
    CliMachine machine(test::smallHost());
    arguments.insert(arguments.begin(), "explain");
    CliResult result = machine.run(arguments);
    EXPECT_EQ(machine.journal(), std::vector<std::string>{}) << "the machine is not asked";
    return result;
}

std::string bytesOf(const Page& page) {
    return {page.data().begin(), page.data().end()};
}

std::string hexOf(const Page& page) {
    std::string text;
    for (const std::uint8_t byte : page.data()) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += {kDigits[byte >> 4], kDigits[byte & 0xF], ' '};
    }
    return text + "\n";
}

Page inquiryOf(const std::string& product) {
    return Page::inquiry("ACME", product);
}

/// A line, what it is, its offset and its bytes.
struct LineCase {
    std::string line;
    DumpLine::Kind kind;
    std::string offset;
    Bytes bytes;
};

TEST(MailedDumpLine, IsReadInEveryFormThatToolsWrite) {
    using Kind = DumpLine::Kind;
    const LineCase cases[] = {
        {" 00     00 83 00 30 01 03 00 10  60 06 01 60 f5 a0 36 01    ...0....`..`..6.",
         Kind::kBytes,
         "00",
         {0, 0x83, 0, 0x30, 1, 3, 0, 0x10, 0x60, 6, 1, 0x60, 0xf5, 0xa0, 0x36, 1}},
        {" 10     34 35 43 4c                                         45CL",
         Kind::kBytes,
         "10",
         {0x34, 0x35, 0x43, 0x4c}},
        {"00000010: c8a4 1f9b 2d11 e411 0193  ABCD",
         Kind::kBytes,
         "00000010",
         {0xc8, 0xa4, 0x1f, 0x9b, 0x2d, 0x11, 0xe4, 0x11, 1, 0x93}},
        {"0000020 00 83 00", Kind::kBytes, "0000020", {0, 0x83, 0}},
        {"00000030  00 00 00 01                                       |....|",
         Kind::kBytes,
         "00000030",
         {0, 0, 0, 1}},
        {"  00 [00 80]00(08 31 32)                     ....12",
         Kind::kBytes,
         "00",
         {0, 0x80, 0, 8, 0x31, 0x32}},
        {"> > 00 83 00 30\r", Kind::kBytes, "", {0, 0x83, 0, 0x30}},
        {"00,83,00,30", Kind::kBytes, "", {0, 0x83, 0, 0x30}},
        {"0x00 0x83 0x00 0x30", Kind::kBytes, "", {0, 0x83, 0, 0x30}},
        {"0083003001030010", Kind::kBytes, "", {0, 0x83, 0, 0x30, 1, 3, 0, 0x10}},
        {"0000064", Kind::kEnd, "0000064", {}},
        {"*", Kind::kRepeat, "", {}},
        {"0000000 8300 3000", Kind::kWords, "0000000", {0x83, 0, 0x30, 0}},
        {"", Kind::kText, "", {}},
        {"Unit serial number VPD page:", Kind::kText, "", {}},
        {"face to face", Kind::kText, "", {}},
        {"00 83 0", Kind::kText, "", {}},
        {"00 8g", Kind::kText, "", {}},
    };
    for (const LineCase& one : cases) {
        const DumpLine line = readDumpLine(one.line);
        EXPECT_EQ(line.kind, one.kind) << one.line;
        EXPECT_EQ(line.offset, one.offset) << one.line;
        if (one.kind != Kind::kEnd) {
            EXPECT_EQ(line.bytes, one.bytes) << one.line;
        }
    }
}

TEST(MailedDumps, ARepeatedLineIsWrittenOutUpToTheNextOffset) {
    const auto found = findDumps(
        "00000000  01 02 03 04 05 06 07 08  09 0a 0b 0c 0d 0e 0f 10  |................|\n*\n"
        "00000030  aa                                                |.|\n00000031\n",
        "text");
    ASSERT_EQ(found.all.size(), 1U);
    ASSERT_EQ(found.all[0].bytes.size(), 0x31U);
    EXPECT_EQ(found.all[0].bytes[0x2F], 0x10);
    EXPECT_EQ(found.all[0].bytes[0x30], 0xAA);
    EXPECT_TRUE(found.remarks.empty());
}

TEST(MailedDumps, AnOffsetThatDoesNotFollowEndsTheDumpAndIsTold) {
    const auto found = findDumps("00  00 83 00 30\n20  01 02 03 04\n", "text");
    ASSERT_EQ(found.all.size(), 1U);
    EXPECT_EQ(found.all[0].bytes, (Bytes{0, 0x83, 0, 0x30}));
    EXPECT_EQ(found.remarks,
              (std::vector<std::string>{"text:2: the offset 20 does not follow the line before: "
                                        "the dump ends there"}));
}

TEST(MailedDumps, AreOfTheDeviceThatWasNamedLast) {
    const auto found = findDumps(
        "# sg_inq -H /dev/sdb.\n00 80 00 02 31 32\nand /dev/disk/by-id/wwn-0x5000:\n"
        "00 80 00 02 33 34\n",
        "text");
    ASSERT_EQ(found.all.size(), 2U);
    EXPECT_EQ(found.all[0].device, "/dev/sdb");
    EXPECT_EQ(found.all[0].line, 2U);
    EXPECT_EQ(found.all[1].device, "/dev/disk/by-id/wwn-0x5000");
}

TEST(MailedDumps, HostileTextIsReadInOnePass) {
    std::string text;
    for (int i = 0; i < 200000; ++i) {
        text += "00 80 00 01 41\n\n/dev/x" + std::to_string(i) + "\n";
    }
    const auto found = findDumps(text, "text");
    EXPECT_EQ(found.all.size(), 200000U);
    const std::string endless(1U << 20, '0');
    EXPECT_LE(findDumps(endless + "\n" + endless + "\n" + endless + "\n", "text").remarks.size(),
              20U);
    const auto repeated = findDumps("00000000  01 02\n*\nffffffff  01\n", "text");
    ASSERT_EQ(repeated.all.size(), 1U);
    EXPECT_EQ(repeated.all[0].bytes.size(), 2U) << "no dump grows beyond a page's size";
}

// A few characters stand for a megabyte, but not as often as one likes.
TEST(MailedDumps, RepeatedLinesOfOneTextAreBounded) {
    const std::string one = "00000000  00 80 00 04\n*\n00100000\n";
    std::string text;
    for (int i = 0; i < 4; ++i) {
        text += one;
    }
    const auto most = findDumps(text + "00000000  00 80 00 01 41\n", "text");
    ASSERT_EQ(most.all.size(), 5U);
    EXPECT_EQ(most.all[3].bytes.size(), 1U << 20);
    EXPECT_TRUE(most.remarks.empty());
    // Four bytes of each stood there themselves.
    const auto last = findDumps(text + one, "text");
    ASSERT_EQ(last.all.size(), 5U);
    EXPECT_EQ(last.all[4].bytes.size(), 1U << 20);
    const auto more = findDumps(text + one + one, "text");
    ASSERT_EQ(more.all.size(), 6U);
    EXPECT_EQ(more.all[5].bytes.size(), 4U);
    ASSERT_EQ(more.remarks.size(), 1U);
    EXPECT_EQ(more.remarks[0],
              "text:17: '*' stands for 5242860 bytes in this text: the dump ends there");
}

TEST(MailedPages, AreToldApartByWhatTheySay) {
    const Page inquiry = inquiryOf("Disk");
    const Page serial = Page::serial("A serial of thirty-four characters");
    Bytes both = inquiry.data();
    both.insert(both.end(), serial.data().begin(), serial.data().end());
    const auto found = pagesIn(both);
    ASSERT_EQ(found.pages.size(), 2U);
    EXPECT_TRUE(found.pages[0].isStandard);
    EXPECT_EQ(found.pages[0].bytes, inquiry.data());
    EXPECT_FALSE(found.pages[1].isStandard) << "38 bytes of text look like INQUIRY data";
    EXPECT_EQ(found.pages[1].code, 0x80);
    EXPECT_EQ(found.rest, 0U);
}

TEST(MailedPages, PaddingIsLeftOutAndOtherBytesAreCounted) {
    Bytes page = Page::serial("AB12").data();
    page.resize(64);
    EXPECT_EQ(pagesIn(page).rest, 0U);
    ASSERT_EQ(pagesIn(page).pages.size(), 1U);
    EXPECT_EQ(pagesIn(page).pages[0].bytes.size(), 8U);
    page.back() = 7;
    EXPECT_EQ(pagesIn(page).rest, 56U);
    EXPECT_EQ(pagesIn(Bytes(64, 0)).rest, 64U);
    EXPECT_TRUE(pagesIn({}).pages.empty());
    EXPECT_EQ(pagesIn({1, 2, 3}).rest, 3U);
}

TEST(MailedPages, APageThatIsCutOffIsOneAllTheSame) {
    const Bytes whole = test::unitNames().data();
    const Bytes cut(whole.begin(), whole.begin() + 12);
    ASSERT_EQ(pagesIn(cut).pages.size(), 1U);
    EXPECT_EQ(pagesIn(cut).pages[0].code, 0x83);
    EXPECT_EQ(pagesIn(cut).pages[0].bytes, cut);
}

TEST(CliExplainMailed, EveryFormThatRealToolsWriteGivesTheSameUdid) {
    int files = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(SCSITOOL_SAMPLES "/../tests/mailed")) {
        const CliResult result = explained({entry.path()});
        EXPECT_EQ(result.status, 0) << entry.path() << result.err;
        EXPECT_EQ(result.err, "") << entry.path();
        EXPECT_EQ(lastLine(result.out), kVolume) << entry.path();
        ++files;
    }
    EXPECT_GE(files, 12);
}

TEST(CliExplainMailed, BytesOfPagesInSeveralFilesAreOneDevice) {
    const TempFolder folder;
    const std::string std = folder.write("std", bytesOf(inquiryOf("Disk")));
    const std::string names = folder.write("83", bytesOf(test::unitNames()));
    const std::string serial = folder.write("80", bytesOf(Page::serial("AB12")));
    EXPECT_EQ(lastLine(explained({std, names, serial}).out),
              "UDID##ACME##DISK##AB12##60060160A1B2C3D41122334455667788");
}

TEST(CliExplainMailed, APageThatIsGivenAgainBeginsAnotherDevice) {
    const TempFolder folder;
    const std::string text =
        folder.write("mail", hexOf(inquiryOf("One")) + "\n" + hexOf(Page::serial("A")) + "\n" +
                                 hexOf(test::unitNames()) + "\n" + hexOf(inquiryOf("Two")) + "\n" +
                                 hexOf(Page::serial("B")) + "\n" + hexOf(test::unitNames()));
    const CliResult result = explained({text, "--json"});
    const auto explanations = result.json()["explanations"];
    ASSERT_EQ(explanations.size(), 2U);
    EXPECT_EQ(explanations[0]["udid"], "UDID##ACME##ONE##A##60060160A1B2C3D41122334455667788");
    EXPECT_EQ(explanations[1]["udid"], "UDID##ACME##TWO##B##60060160A1B2C3D41122334455667788");
}

TEST(CliExplainMailed, ARecordedHostIsExplainedDeviceByDevice) {
    const auto explanations =
        explained({SCSITOOL_SAMPLES "/plain-server.json", "--json"}).json()["explanations"];
    ASSERT_EQ(explanations.size(), 3U);
    EXPECT_EQ(explanations[0]["udid"],
              "UDID##ATA##KINGSTON_SKC6005##50026B7785A1C2D3##50026B7785A1C2D3");
}

TEST(CliExplainMailed, SaysWhatIsMissingAndWhetherItMatters) {
    const TempFolder folder;
    const std::string text =
        folder.write("mail", hexOf(Page::inquiry("DGC", "RAID 5")) + "\n" +
                                 hexOf(Page::serial("CX500123")) + "\n" + hexOf(test::unitNames()));
    const std::string out = explained({text}).out;
    EXPECT_NE(out.find("page c0 was not given: with it the UDID may be another, a generator asked "
                       "for it\n"),
              std::string::npos)
        << out;
    const std::string list = folder.write("00", hexOf(Page::supported({0, 0x80, 0x83})));
    EXPECT_NE(explained({text, list})
                  .out.find("page c0 is not listed in page 00: the device has none, and the UDID "
                            "does without it\n"),
              std::string::npos);
    const std::string symmetrix =
        folder.write("emc", hexOf(Page::inquiry("EMC", "SYMMETRIX", 140).text(132, "0A5C")));
    EXPECT_NE(explained({symmetrix})
                  .out.find("page 83 was not given: it changes nothing, no generator asked for "
                            "it\n"),
              std::string::npos);
}

TEST(CliExplainMailed, ADeviceWithoutInquiryDataIsADoubtBesideOthersAndAnErrorAlone) {
    const TempFolder folder;
    const std::string lone = "# /dev/sdc\n" + hexOf(Page::serial("AB12"));
    const std::string message =
        "/dev/sdc: page 80 without the standard INQUIRY data, which names vendor and product; "
        "have 'sg_inq --hex' of it sent too\n";
    const CliResult alone = explained({folder.write("alone", lone)});
    EXPECT_EQ(alone.status, 2);
    EXPECT_EQ(alone.err, "scsitool: " + message);
    const CliResult beside = explained(
        {folder.write("beside", "# /dev/sdb\n" + hexOf(inquiryOf("Disk")) + "\n" + lone)});
    EXPECT_EQ(beside.status, 3);
    EXPECT_NE(beside.err.find(message), std::string::npos) << beside.err;
}

TEST(CliExplainMailed, OfEndlesslyManyDevicesTheFirstAreKept) {
    std::string text;
    for (int i = 0; i < 3000; ++i) {
        text += "/dev/x" + std::to_string(i) + "\n00 80 00 01 41\n";
    }
    cli::mailed::MailedTexts texts;
    texts.add(text, "text");
    EXPECT_EQ(texts.devices().size(), 1024U);
    ASSERT_EQ(texts.remarks().size(), 40U);
    EXPECT_EQ(texts.remarks()[0],
              "text:2050: more than 1024 devices, the pages from here on are left out");
}

TEST(CliExplainMailed, WhatIsNoPageIsRefusedInOneLine) {
    const TempFolder folder;
    const std::string binary = folder.write("binary", std::string("\x7f"
                                                                  "ELF\x02\x01\x01\0\0",
                                                                  9));
    const std::string words = folder.write("words", "0000000 8300 3000 0301 1000\n0000008\n");
    const std::string prose = folder.write("prose", "Nothing here.\n");
    const std::string sources = folder.write("empty", "");
    for (const auto& [file, message] : std::vector<std::pair<std::string, std::string>>{
             {binary, binary + ": 9 bytes that are neither standard INQUIRY data nor a VPD page"},
             {words, words + ":1: words of two bytes, whose order is not told; send them as od "
                             "-tx1 or hexdump -C write them"},
             {prose, prose + ": no page in it, expected what sg_vpd --hex, sg_inq --hex, xxd, od "
                             "-tx1, hexdump -C or inquiry --hex print, the bytes of a page, or a "
                             "recorded host"},
             {sources, sources + ": no page in it, expected what sg_vpd --hex, sg_inq --hex, xxd, "
                                 "od -tx1, hexdump -C or inquiry --hex print, the bytes of a page, "
                                 "or a recorded host"}}) {
        const CliResult result = explained({file});
        EXPECT_EQ(result.status, 2) << file;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "scsitool: " + message + "\n");
    }
}

TEST(CliExplainMailed, DevicesAndFilesAreNotMixedAndFilesBringTheirHost) {
    const TempFolder folder;
    const std::string file = folder.write("std", hexOf(inquiryOf("Disk")));
    const CliResult mixed = explained({"/dev/sda", file});
    EXPECT_EQ(mixed.status, 2);
    EXPECT_EQ(mixed.err,
              "scsitool: devices and files of pages are not explained together; name the one or "
              "the other\n");
    EXPECT_EQ(explained({"/dev/sda", "/dev/sdb", "--json"}).json()["explanations"].size(), 2U);
}

TEST(CliExplainMailed, OneOptionTakesSeveralPagesAndBytesAsTheyAre) {
    const TempFolder folder;
    const std::string std = "std=" + folder.write("std", hexOf(inquiryOf("Disk")));
    const std::string names = "83=" + folder.write("83", bytesOf(test::unitNames()));
    EXPECT_EQ(lastLine(explained({"--inhex", std, names}).out),
              "UDID##ACME##DISK####60060160A1B2C3D41122334455667788");
}

}  // namespace
