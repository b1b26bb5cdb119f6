#include <algorithm>
#include <cerrno>
#include <tuple>

#include "guard_machine.h"
#include "recording/effects/journal.h"
#include "recording/guard/kernel/answering.h"
#include "recording/guard/kernel/kernel_tables.h"
#include "recording/guard/kernel/scsi_devices.h"
#include "recording/guard/rules/script_check.h"
#include "recording/guard/rules/script_reading.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"

namespace {

using namespace recording::guard;
using Kind = Answer::Kind;
using recording::Bytes;

const std::vector<std::string> kInqOutput = {
    "standard INQUIRY:", "  PQual=0  PDT=0  RMB=0  LU_CONG=0  hot_pluggable=0  version=0x05 ",
    " Vendor identification: ACME    ", " Product identification: Disk            "};

TEST(GuardScriptReading, AScriptThatLooksForWhatIsPrintedReadsIt) {
    const ScriptReading reading = parseScript(test::rescanScript(test::kReadable));
    EXPECT_EQ(reading.version, "20230413");
    EXPECT_EQ(reading.ways.size(), 2U);
    EXPECT_EQ(missedBy(reading, kInqOutput), "");
}

TEST(GuardScriptReading, AScriptThatLooksForSomethingElseMissesIt) {
    const ScriptReading reading = parseScript(test::rescanScript(test::kUnreadable));
    EXPECT_EQ(missedBy(reading, kInqOutput), test::kUnreadable);
    EXPECT_EQ(
        missedBy(reading, {"  PQual=0  Device_type=0  RMB=0 ", " Vendor identification: ACME"}),
        "");
}

TEST(GuardScriptReading, EveryOutputButTheExpectedOneIsMissed) {
    const ScriptReading reading = parseScript(test::rescanScript(test::kReadable));
    EXPECT_NE(missedBy(reading, {}), "");
    EXPECT_NE(missedBy(reading, {""}), "");
    EXPECT_NE(missedBy(reading, {"  PQual=0  PDT=0 "}), "") << "no vendor";
    EXPECT_NE(missedBy(reading, {"  PQual=3  PDT=0 ", " Vendor identification: A"}), "")
        << "a connected disk has qualifier 0";
    EXPECT_NE(missedBy(reading, {"  PQual=  PDT=0 ", " Vendor identification: A"}), "");
}

TEST(GuardScriptReading, OneWayOfSeveralIsEnough) {
    const ScriptReading reading = parseScript(
        "IPQUAL=`echo \"$INQ\" | sed -n 's/ *PQual=\\([0-9]*\\)  Device.*/\\1/p'`\n"
        "[ -z \"$IPQUAL\" ] && IPQUAL=$(echo \"$INQ\" | sed -n -E "
        "'s, *PQual=([0-9]+) +(PDT|x)=.*,\\1,p')\n");
    EXPECT_EQ(reading.ways.at("IPQUAL").size(), 2U);
    EXPECT_EQ(missedBy(reading, kInqOutput), "");
}

TEST(GuardScriptReading, WhatIsNoReadingIsNone) {
    EXPECT_TRUE(parseScript("").ways.empty());
    EXPECT_TRUE(parseScript("# IPQUAL=$(echo \"$INQ\" | sed -n 's/a/b/p')\n"
                            "IVEND=$(cat \"${SCSIPATH}/device/vendor\")\n"
                            "IPQUAL=3\nIPQUAL=$(echo \"$INQ\")\n"
                            "IPQUAL=$(echo \"$INQ\" | sed 's/a/b/')\n"
                            "IPQUAL=$(echo \"$INQ\" | sed -n 's')\n"
                            "IPQUAL=$(echo \"$INQ\" | sed -n '")
                    .ways.empty());
    const ScriptReading broken = parseScript("IPQUAL=$(echo \"$INQ\" | sed -n 's/\\(/b/p')\n");
    EXPECT_EQ(missedBy(broken, kInqOutput), "\\(") << "what does not compile matches nothing";
}

TEST(GuardScriptReading, ChangesThatTheScriptSees) {
    Answer live;
    live.vendor = "ACME";
    live.product = "Disk";
    live.revision = "0430";
    const KernelIdentity same = {"ACME", "Disk", "0430", "0"};
    const auto with = [&](std::string KernelIdentity::*member, const char* value) {
        KernelIdentity changed = same;
        changed.*member = value;
        return changed;
    };
    EXPECT_FALSE(isChanged(same, live, false, false));
    for (auto member :
         {&KernelIdentity::vendor, &KernelIdentity::product, &KernelIdentity::deviceType}) {
        EXPECT_TRUE(isChanged(with(member, "x"), live, true, false));
        EXPECT_TRUE(isChanged(with(member, ""), live, true, false));
        EXPECT_FALSE(isChanged(with(member, ""), live, true, true)) << "not spoken of";
    }
    EXPECT_TRUE(isChanged(with(&KernelIdentity::revision, "0431"), live, false, false));
    EXPECT_FALSE(isChanged(with(&KernelIdentity::revision, "0431"), live, true, false));
}

TEST(GuardAnswering, StandardInquiryData) {
    const Bytes bytes = test::standardInquiry();
    const Answer answer = parseStandardInquiry(bytes);
    EXPECT_EQ(answer.kind, Kind::kConnected);
    EXPECT_EQ(answer.vendor, "ACME");
    EXPECT_EQ(answer.product, "Disk");
    EXPECT_EQ(answer.revision, "0430");
    EXPECT_EQ(answer.deviceType, 0U);
    Bytes tape = bytes;
    tape[0] = 0x01;
    EXPECT_EQ(parseStandardInquiry(tape).deviceType, 1U);
    for (const int qualifier : {0x20, 0x60, 0x7F, 0xE0}) {
        Bytes other = bytes;
        other[0] = static_cast<std::uint8_t>(qualifier);
        EXPECT_EQ(parseStandardInquiry(other).kind, Kind::kGone) << qualifier;
    }
    EXPECT_EQ(parseStandardInquiry(Bytes(36, 0)).kind, Kind::kUnclear);
    EXPECT_EQ(parseStandardInquiry(Bytes(bytes.begin(), bytes.end() - 1)).kind, Kind::kUnclear);
    EXPECT_EQ(parseStandardInquiry({}).kind, Kind::kUnclear);
}

TEST(GuardAnswering, NamesOfTheLogicalUnit) {
    Bytes page = test::identification(7, 1);
    page.erase(page.begin(), page.begin() + 4);
    const auto names = logicalUnitNames(page);
    ASSERT_EQ(names.size(), 1U) << "the port's designator names no unit";
    EXPECT_EQ(names[0], Bytes(page.begin(), page.begin() + 12));
    for (std::size_t length = 0; length < 12; ++length) {
        EXPECT_TRUE(
            logicalUnitNames(Bytes(page.begin(), page.begin() + static_cast<long>(length))).empty())
            << length;
    }
    EXPECT_EQ(logicalUnitNames(Bytes(64, 0)).size(), 16U) << "empty designators come to an end";
}

TEST(GuardKernelTables, ShortAndOddLinesAreSurvived) {
    EXPECT_TRUE(parseMountInfo("").empty());
    EXPECT_TRUE(
        parseMountInfo("1 2 8:1 / /x rw\n1 2 8:1 / /x rw -\n1 2 8:1 / /x rw - a\n- a b").empty());
    EXPECT_EQ(parseMountInfo("1 2 8:1 / /x rw master:1 shared:2 - a b c\n")[0].source, "b");
    EXPECT_EQ(parseMountInfo("1 2 8:1 / /a\\134b\\9\\04 rw - a b c")[0].point, "/a\\b\\9\\04");
    EXPECT_TRUE(parseSwaps("").empty());
    EXPECT_TRUE(parseSwaps("Filename\n\n").empty());
    EXPECT_FALSE(isOpenForWriting(""));
    EXPECT_FALSE(isOpenForWriting("flags:"));
    EXPECT_TRUE(isOpenForWriting("flags:\t0100001"));
    EXPECT_TRUE(isOpenForWriting("flags:\t0100002"));
    EXPECT_FALSE(isOpenForWriting("flags:\t0100000"));
}

TEST(GuardKernelTables, ProcessesThatHaveEnded) {
    EXPECT_TRUE(isEnded("7 (a) Z 1"));
    EXPECT_TRUE(isEnded("7 (a) X 1"));
    EXPECT_FALSE(isEnded("7 (a) Z) S 1"));
    EXPECT_FALSE(isEnded("7 (a) D 1"));
    EXPECT_FALSE(isEnded("7 (a)"));
    EXPECT_FALSE(isEnded(""));
}

TEST(GuardKernelTables, AddressesOfTheScsiTable) {
    EXPECT_TRUE(parseScsiTable("Host: other0 Lun: 1\nHost:\nLun: 7\n").empty());
    const TableAddress full = parseScsiTable("Host: scsi12 Channel: 00 Id: 03 Lun: 300")[0];
    EXPECT_EQ(full.host + " " + full.channel + " " + full.target + " " + full.lun, "12 0 3 300");
    EXPECT_EQ(parseScsiTable("Host: scsi1 Lun:")[0].lun, "");
}

TEST(GuardKernelTables, Numbers) {
    const auto kind = host::DeviceNumber::Kind::kBlock;
    const auto number = parseNumber("8:17\nx", kind);
    ASSERT_TRUE(number);
    EXPECT_EQ(numberText(*number), "8:17");
    for (const char* text : {"", ":", "8", "8:", ":1", "a:1", "8:1 ", "4294967296:0"}) {
        EXPECT_FALSE(parseNumber(text, kind)) << text;
    }
    EXPECT_TRUE(isSame({kind, 8, 1}, {kind, 8, 1}));
    EXPECT_FALSE(isSame({kind, 8, 1}, {host::DeviceNumber::Kind::kCharacter, 8, 1}));
    EXPECT_FALSE(isSame({kind, 8, 1}, {kind, 8, 2}));
    EXPECT_FALSE(isSame({kind, 8, 1}, {kind, 9, 1}));
    EXPECT_FALSE(isSame({}, {})) << "what has no number is like nothing";
}

// A disk that ends every command with CHECK CONDITION and these sense data.
class SenseHost : public recording::RecordedHost {
  public:
    SenseHost(recording::Journal& journal, Bytes sense)
        : RecordedHost(test::guardedMachine(), journal), m_sense(std::move(sense)) {}
    int sendCommand(int, host::CommandBuffer& buffer) override {
        std::copy(m_sense.begin(), m_sense.end(), buffer.begin() + 8);
        return 2;
    }

  private:
    Bytes m_sense;
};

Answer answerWith(const Bytes& sense) {
    recording::Journal journal;
    SenseHost host(journal, sense);
    Evidence evidence(host, false);
    return askDisk(evidence, "/dev/sdb");
}

TEST(GuardAnswer, LogicalUnitNotSupportedIsGoneInBothFormats) {
    for (const Bytes& sense : {Bytes{0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0},
                               Bytes{0xF0, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0},
                               Bytes{0x72, 0x05, 0x25, 0, 0, 0, 0, 0}}) {
        const Answer answer = answerWith(sense);
        EXPECT_EQ(answer.kind, Kind::kGone);
        EXPECT_TRUE(answer.isNotSupported);
        EXPECT_EQ(answer.why, "INQUIRY ended with LOGICAL UNIT NOT SUPPORTED");
    }
}

TEST(GuardAnswer, OtherSenseDataAreNoProof) {
    for (const Bytes& sense : {Bytes{0x71, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0},
                               Bytes{0x70, 0, 0x06, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 0},
                               Bytes{0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24, 0},
                               Bytes{0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x25, 1},
                               Bytes{0x73, 0x05, 0x25, 0}, Bytes{0x72, 0x02, 0x25, 0},
                               Bytes{0x72, 0x05, 0x24, 0}, Bytes{0x72, 0x05, 0x25, 1}, Bytes{}}) {
        const Answer answer = answerWith(sense);
        EXPECT_EQ(answer.kind, Kind::kUnclear);
        EXPECT_FALSE(answer.isNotSupported);
        EXPECT_EQ(answer.why, "INQUIRY ended with SCSI status 2");
    }
}

TEST(GuardAnswer, OnlyQualifierThreeSaysThatThereIsNoUnit) {
    recording::Bytes bytes = test::standardInquiry();
    for (unsigned qualifier = 1; qualifier < 8; ++qualifier) {
        bytes[0] = static_cast<std::uint8_t>(qualifier << 5);
        EXPECT_EQ(parseStandardInquiry(bytes).qualifier, qualifier);
        EXPECT_EQ(parseStandardInquiry(bytes).isNotSupported, qualifier == 3);
    }
}

TEST(GuardScsiDevices, APageOfTheKernelsIsCutAtItsStatedLengthAndItsEnd) {
    const auto kept = [](const std::string& content) {
        recording::RecordedHostData data = test::guardedMachine();
        data.files["/sys/class/scsi_device/2:0:0:5/device/vpd_pg83"] = content;
        recording::Journal journal;
        recording::RecordedHost host(data, journal);
        Evidence evidence(host, false);
        return ScsiDevices(evidence).pageAt({2, 0, 0, 5}, kIdentificationPage);
    };
    EXPECT_EQ(kept(""), Bytes());
    EXPECT_EQ(kept(std::string("\0\x83\0\x02", 4)), Bytes());
    EXPECT_EQ(kept(std::string("\0\x83\0\x02\xFF", 5)), Bytes({0xFF}));
    EXPECT_EQ(kept(std::string("\0\x83\0\x02\xFF\x01", 6)), Bytes({0xFF, 1}));
    EXPECT_EQ(kept(std::string("\0\x83\0\x02\xFF\x01\x02", 7)), Bytes({0xFF, 1}));
}

// A machine whose kernel carries out SCSI_IOCTL_SEND_COMMAND without reaching the disk.
class UnreachedDisk : public host::ForwardingHost {
  public:
    UnreachedDisk(host::Host& inner, int result, std::uint16_t hostStatus)
        : ForwardingHost(inner), m_result(result), m_hostStatus(hostStatus) {}

    int openDevice(const std::string& /*path*/, host::OpenMode /*mode*/) override {
        ++m_open;
        return 7;
    }
    int closeDevice(int /*descriptor*/) override {
        --m_open;
        return 0;
    }
    int sendCommand(int /*descriptor*/, host::CommandBuffer& buffer) override {
        buffer.fill(0);
        return 0;
    }
    int sgIo(int /*descriptor*/, host::SgIoRequest& request) override {
        EXPECT_EQ(request.cdb, (Bytes{0x12, 0, 0, 0, 36, 0}));
        EXPECT_EQ(request.timeout, 10000U);
        request.hostStatus = m_hostStatus;
        return m_result;
    }
    int openNodes() const { return m_open; }

  private:
    const int m_result;
    const std::uint16_t m_hostStatus;
    int m_open = 0;
};

TEST(GuardAnswering, ZerosAreDeathOnlyWhereTheKernelFoundNoDevice) {
    constexpr int kTimeOut = 3;  // DID_TIME_OUT: a silent disk is not a dead one
    recording::Journal journal;
    const recording::RecordedHostData nothing;
    recording::RecordedHost inner(nothing, journal);
    for (const auto& [result, hostStatus, expected] :
         std::vector<std::tuple<int, int, Kind>>{{0, 0, Kind::kUnclear},
                                                 {0, 1, Kind::kGone},
                                                 {0, 2, Kind::kUnclear},
                                                 {0, kTimeOut, Kind::kUnclear},
                                                 {0, 4, Kind::kGone},
                                                 {0, 5, Kind::kUnclear},
                                                 {0, 0x101, Kind::kUnclear},
                                                 {-EIO, 1, Kind::kUnclear},
                                                 {-ENOTTY, 4, Kind::kUnclear}}) {
        UnreachedDisk machine(inner, result, static_cast<std::uint16_t>(hostStatus));
        Evidence evidence(machine, false);
        const Answer answer = askDisk(evidence, "/dev/sda");
        EXPECT_EQ(answer.kind, expected) << result << " " << hostStatus;
        EXPECT_EQ(answer.why, expected == Kind::kGone
                                  ? "no device answers at its address (the kernel's host status " +
                                        std::to_string(hostStatus) + ")"
                                  : "the INQUIRY data are zeros");
        EXPECT_EQ(machine.openNodes(), 0);
    }
}

}  // namespace
