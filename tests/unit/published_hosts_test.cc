// The hosts as they are published for the tests of others, over the library as it is used there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/hosts/dry_run_host.h"
#include "scsitool/hosts/guarded_host.h"
#include "scsitool/hosts/journaling_host.h"
#include "scsitool/hosts/recorded_host.h"
#include "scsitool/hosts/recording_host.h"
#include "scsitool/udid/device_udid_factory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string sample(const std::string& name) {
    return std::string(SCSITOOL_SAMPLES) + "/" + name + ".json";
}

// Name and UDID, one a line.
std::string devicesOn(host::Host& host) {
    const host::Scope scope(host);
    std::string text;
    for (const auto& [name, device] :
         CUDIDFactory().enumerateDeviceMap(false, false, false, "", "")) {
        text += name;
        text += ' ';
        text += device.uid;
        text += '\n';
    }
    return text;
}

constexpr char kPlainServer[] =
    "/dev/sda UDID##ATA##KINGSTON_SKC6005##50026B7785A1C2D3##50026B7785A1C2D3\n"
    "/dev/sdb UDID##SEAGATE##ST1800MM0129##WBN0A1B20000E821##5000C500B1A2C3D7\n";
constexpr char kOneFile[] =
    R"({"format": "scsitool-host/1", "files": {"/etc/machine": "old\n"},
        "commands": [{"command": "/bin/ls /etc", "output": ["machine"]}]})";
constexpr char kListing[] = R"({"effect":"command","command":"/bin/ls /etc","timeout":5})";
constexpr char kAppend[] = R"({"effect":"append","path":"/etc/machine","data":"new\n"})";

TEST(PublishedRecordedHost, AnswersTheLibraryFromAFile) {
    hosts::RecordedHost recorded(sample("plain-server"));
    EXPECT_EQ(devicesOn(recorded), kPlainServer);
    EXPECT_THAT(recorded.journal().unanswered(), IsEmpty());
    EXPECT_EQ(recorded.openDescriptors(), 0U);
}

TEST(PublishedRecordedHost, CountsWhatIsOpen) {
    hosts::RecordedHost recorded(sample("plain-server"));
    const int descriptor = recorded.openDevice("/dev/sda", host::OpenMode::kReadOnly);
    EXPECT_EQ(recorded.openDescriptors(), 1U);
    EXPECT_EQ(recorded.closeDevice(descriptor), 0);
    EXPECT_EQ(recorded.openDescriptors(), 0U);
}

TEST(PublishedRecordedHost, IsMadeOfAText) {
    hosts::RecordedHost recorded = hosts::RecordedHost::fromText(kOneFile, "one file");
    EXPECT_EQ(recorded.readFile("/etc/machine").content, "old\n");
    EXPECT_THAT(recorded.runCommand("/bin/ls /etc", 5).lines, ElementsAre("machine"));
    EXPECT_EQ(recorded.runCommand("/bin/rm /etc", 5).waitStatus, 127 << 8);
    EXPECT_THAT(recorded.journal().unanswered(), ElementsAre("command /bin/rm /etc"));
}

// How the message of a refusal reads; empty when there was none.
template <typename Make>
std::string refusalOf(const Make& make) {
    try {
        make();
        return {};
    } catch (const hosts::RecordedHostError& error) {
        return error.what();
    }
}

TEST(PublishedRecordedHost, RefusesWhatIsNoRecordedHost) {
    EXPECT_EQ(refusalOf([] { const hosts::RecordedHost recorded("/nonexistent/host.json"); }),
              "/nonexistent/host.json: cannot be read: No such file or directory");
    EXPECT_EQ(refusalOf([] { hosts::RecordedHost::fromText("[]", "a list"); }),
              "a list: (root): expected an object, found an array");
    EXPECT_EQ(refusalOf([] { hosts::RecordedHost::fromText(kOneFile, "one file"); }), "");
}

TEST(PublishedRecordedHost, SharesAJournalWithOthers) {
    hosts::Journal journal;
    hosts::RecordedHost one(sample("plain-server"), journal);
    hosts::RecordedHost other(sample("enterprise"), journal);
    one.sleepSeconds(1);
    other.sleepSeconds(2);
    EXPECT_THAT(journal.lines(), ElementsAre(R"({"effect":"sleep","seconds":1})",
                                             R"({"effect":"sleep","seconds":2})"));
    EXPECT_EQ(&one.journal(), &journal);
}

TEST(PublishedDryRunHost, JournalsAnEffectAndLeavesItOut) {
    hosts::RecordedHost recorded = hosts::RecordedHost::fromText(kOneFile, "one file");
    hosts::Journal journal;
    hosts::DryRunHost dry(recorded, journal);
    EXPECT_EQ(dry.appendFile("/etc/machine", "new\n", {}).openError, 0);
    EXPECT_EQ(dry.readFile("/etc/machine").content, "old\n");
    EXPECT_THAT(journal.lines(), ElementsAre(kAppend));
    EXPECT_THAT(recorded.journal().lines(), IsEmpty());
}

TEST(PublishedJournalingHost, JournalsAnEffectAndCarriesItOut) {
    hosts::RecordedHost recorded = hosts::RecordedHost::fromText(kOneFile, "one file");
    hosts::Journal journal;
    hosts::JournalingHost journaling(recorded, journal);
    EXPECT_EQ(journaling.appendFile("/etc/machine", "new\n", {}).openError, 0);
    EXPECT_THAT(journaling.runCommand("/bin/ls /etc", 5).lines, ElementsAre("machine"));
    EXPECT_THAT(journal.lines(), ElementsAre(kAppend));
    EXPECT_THAT(recorded.journal().lines(), ElementsAre(kAppend, kListing));
}

TEST(PublishedRecordingHost, WritesAHostThatAnswersTheSame) {
    hosts::RecordedHost original(sample("plain-server"));
    hosts::RecordingHost recording(original);
    EXPECT_EQ(devicesOn(recording), kPlainServer);
    EXPECT_THAT(recording.remarks(), IsEmpty());
    const std::string text = recording.text({"of a test"});
    EXPECT_THAT(text, testing::HasSubstr("\"comment\": [\n    \"of a test\"\n  ]"));
    hosts::RecordedHost again = hosts::RecordedHost::fromText(text, "again");
    EXPECT_EQ(devicesOn(again), kPlainServer);
}

TEST(PublishedRecordingHost, RemarksWhatItCannotWriteDown) {
    hosts::RecordedHost original = hosts::RecordedHost::fromText(kOneFile, "one file");
    hosts::RecordingHost recording(original);
    recording.runCommand("/bin/ls /\xff", 5);
    EXPECT_EQ(recording.remarks().size(), 1U);
}

class PublishedGuardedHost : public testing::Test {
  protected:
    // Target 0 is a disk with a mounted file system, target 9 one that answers and is unused.
    void remove(int target, int lun) {
        const host::Scope scope(guard);
        CLinuxDeviceDiscovery().RemoveDevice(0, 0, target, lun);
    }

    hosts::RecordedHost recorded{sample("in-use")};
    hosts::RecordedHost questions{sample("in-use")};
    hosts::GuardedHost guard{recorded, questions, hosts::GuardedHost::Silence::kIsNoEvidence};
};

TEST_F(PublishedGuardedHost, RefusesToTakeAMountedDisk) {
    remove(0, 0);
    ASSERT_EQ(guard.refusals().size(), 1U);
    EXPECT_EQ(guard.refusals()[0].device, "/dev/sda");
    EXPECT_EQ(guard.refusals()[0].reason, "mounted at /data");
    EXPECT_EQ(guard.refusals()[0].risk,
              "the file system loses its disk, and what is not written yet is lost");
    EXPECT_THAT(recorded.journal().lines(), IsEmpty());
}

TEST_F(PublishedGuardedHost, LetsAnUnusedDiskGo) {
    remove(9, 1);
    EXPECT_EQ(guard.refusals().size(), 0U);
    EXPECT_EQ(guard.kept().size(), 0U);
    EXPECT_THAT(
        recorded.journal().lines(),
        testing::Contains(
            R"({"effect":"append","path":"/proc/scsi/scsi","data":"scsi remove-single-device 0 0 9 1\n"})"));
}

TEST_F(PublishedGuardedHost, KeepsAnUnusedDiskThatAnswersWhenOnlyTheDeadAreMeant) {
    guard.setPurpose(hosts::GuardedHost::Purpose::kOnlyDead);
    remove(9, 1);
    ASSERT_EQ(guard.refusals().size(), 1U);
    EXPECT_EQ(guard.refusals()[0].reason, "not dead: it answers as SEAGATE ST600MM0009");
    guard.setPurpose(hosts::GuardedHost::Purpose::kNamed);
    remove(9, 1);
    EXPECT_EQ(guard.refusals().size(), 1U);
}

// A host that says nothing but that an address is there.
TEST(PublishedGuardedHostOfASilentHost, RefusesOrLetsGoAsItsSilenceIsMeant) {
    constexpr char kSilent[] = R"({"format": "scsitool-host/1",
        "files": {"/proc/scsi/scsi": "Host: scsi0 Channel: 00 Id: 09 Lun: 01\n"}})";
    for (const bool isLive : {true, false}) {
        hosts::RecordedHost recorded = hosts::RecordedHost::fromText(kSilent, "a silent host");
        hosts::RecordedHost questions = hosts::RecordedHost::fromText(kSilent, "a silent host");
        hosts::GuardedHost guard(recorded, questions,
                                 isLive ? hosts::GuardedHost::Silence::kIsRefusal
                                        : hosts::GuardedHost::Silence::kIsNoEvidence);
        const host::Scope scope(guard);
        CLinuxDeviceDiscovery().RemoveDevice(0, 0, 9, 1);
        EXPECT_EQ(guard.refusals().empty(), !isLive);
        EXPECT_EQ(recorded.journal().lines().empty(), isLive);
    }
}

}  // namespace
