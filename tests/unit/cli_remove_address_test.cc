#include <cerrno>
#include <utility>

#include "cli_harness.h"
#include "guard_machine.h"
#include "scripted_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using testing::HasSubstr;

// The machine with disks at addresses that are easily taken for one another.
recording::RecordedHostData machineData() {
    recording::RecordedHostData data = test::guardedMachine();
    test::addDisk(data, "sde", "2:0:0:44", 64, "sg4");
    test::addDisk(data, "sdf", "2:0:0:16684", 80, "sg5");
    test::addDisk(data, "sdg", "256:0:0:10", 96, "sg6");
    test::addDisk(data, "sdh", "0:0:0:10", 112, "sg7");
    test::addDisk(data, "sdi", "0:0:0:8", 128, "sg8");
    data.devices["/dev/sdb"].idLun = 0x02000500;
    data.devices["/dev/sdb"].pages[0x00] = recording::Bytes{0x00, 0x00, 0x00, 0x02, 0x00, 0x83};
    return data;
}

// A host whose first listing of a directory fails.
class OnceUntold : public host::ForwardingHost {
  public:
    OnceUntold(host::Host& inner, std::string path, host::DirectoryListing listing)
        : ForwardingHost(inner), m_path(std::move(path)), m_listing(std::move(listing)) {}

    host::DirectoryListing listDirectory(const std::string& path) override {
        return path == m_path && !std::exchange(m_hasFailed, true)
                   ? m_listing
                   : ForwardingHost::listDirectory(path);
    }

  private:
    const std::string m_path;
    const host::DirectoryListing m_listing;
    bool m_hasFailed = false;
};

// The write of a removal that reached the kernel's table, for a request that names one address.
std::string request(const std::string& numbers) {
    return test::appended("/proc/scsi/scsi", "scsi remove-single-device " + numbers + "\n");
}

void expectRemoved(const std::vector<std::string>& words, const std::string& numbers,
                   const std::string& line) {
    CliMachine machine(machineData());
    std::vector<std::string> arguments = {"remove-address"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const CliResult result = machine.run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(machine.journal(), testing::Contains(request(numbers))) << numbers;
    EXPECT_THAT(result.out, testing::StartsWith(line)) << numbers;
}

void expectRefusedWords(const std::vector<std::string>& words, const std::string& message) {
    CliMachine machine(machineData());
    std::vector<std::string> arguments = {"remove-address", "--"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const CliResult result = machine.run(arguments);
    EXPECT_EQ(result.status, 2) << message;
    EXPECT_EQ(result.err, "scsitool: " + message + "\n");
    EXPECT_THAT(machine.journal(), testing::IsEmpty());
}

TEST(CliRemoveAddress, TheAddressIsOneArgumentOrFour) {
    expectRemoved({"2:0:0:5"}, "2 0 0 5", "2:0:0:5 is /dev/sdb, ACME Disk, ");
    expectRemoved({"2", "0", "0", "5"}, "2 0 0 5", "2:0:0:5 is /dev/sdb, ACME Disk, ");
}

TEST(CliRemoveAddress, NumbersAreDecimalWhateverTheyBeginWith) {
    expectRemoved({"0", "0", "0", "010"}, "0 0 0 10", "0:0:0:10 is /dev/sdh");
    expectRemoved({"0", "0", "0", "08"}, "0 0 0 8", "0:0:0:8 is /dev/sdi");
    expectRemoved({"00:000:0:0010"}, "0 0 0 10", "0:0:0:10 is /dev/sdh");
}

TEST(CliRemoveAddress, NoOtherDiskThanTheAddressNamesIsTaken) {
    expectRemoved({"2:0:0:44"}, "2 0 0 44", "2:0:0:44 is /dev/sde");
    expectRemoved({"2:0:0:16684"}, "2 0 0 16684", "2:0:0:16684 is /dev/sdf");
    expectRemoved({"256:0:0:10"}, "256 0 0 10", "256:0:0:10 is /dev/sdg");
    expectRemoved({"0:0:0:10"}, "0 0 0 10", "0:0:0:10 is /dev/sdh");
}

TEST(CliRemoveAddress, WhatIsNoAddressIsSaidSo) {
    expectRefusedWords({"2:0:0"}, "address '2:0:0': expected HOST CHANNEL TARGET LUN or H:C:T:L");
    expectRefusedWords({"2:0:0:5:1"},
                       "address '2:0:0:5:1': expected HOST CHANNEL TARGET LUN or H:C:T:L");
    expectRefusedWords({"2", "0:0:5"},
                       "address '2 0:0:5': expected HOST CHANNEL TARGET LUN or H:C:T:L");
    expectRefusedWords({"2", "0", "0"},
                       "address '2 0 0': expected HOST CHANNEL TARGET LUN or H:C:T:L");
    expectRefusedWords({"2:0::5"}, "target '' is no decimal number");
    expectRefusedWords({"-1", "0", "0", "5"}, "host '-1' is no decimal number");
    expectRefusedWords({"2", "+1", "0", "5"}, "channel '+1' is no decimal number");
    expectRefusedWords({"2", "0", "0", "0x5"}, "LUN '0x5' is no decimal number");
    expectRefusedWords({"2", "0", "0", "5 "}, "LUN '5 ' is no decimal number");
    expectRefusedWords({"2", "0", "0", "2147483648"},
                       "LUN 2147483648 is beyond 2147483647; what is gone at a longer LUN is "
                       "removed by 'scsitool prune'");
    expectRefusedWords({"18446744073709551621", "0", "0", "5"},
                       "host 18446744073709551621 is beyond 2147483647; what is gone at a longer "
                       "LUN is removed by 'scsitool prune'");
}

TEST(CliRemoveAddress, WhereNothingIsNothingIsRemovedAndItIsSaidSo) {
    for (const std::string address : {"2:0:0:6", "2:0:0:300", "258:0:0:5", "2:0:0:2147483647"}) {
        CliMachine machine(machineData());
        const CliResult result = machine.run({"remove-address", address});
        EXPECT_EQ(result.status, 1) << address;
        EXPECT_EQ(result.err, "scsitool: " + address +
                                  ": the kernel has no device at this address, nothing to "
                                  "remove\n");
        EXPECT_THAT(machine.journal(), testing::Not(testing::Contains(HasSubstr("append"))));
    }
}

TEST(CliRemoveAddress, TheDiskIsNamedByNodeProductAndUdid) {
    CliMachine machine(machineData());
    const auto document = machine.run({"remove-address", "2:0:0:5", "--json"}).json();
    EXPECT_EQ(document["address"].dump(), "[2,0,0,5]");
    EXPECT_EQ(document["disk"]["name"], "/dev/sdb");
    EXPECT_EQ(document["disk"]["product"], "ACME Disk");
    EXPECT_THAT(document["disk"]["udid"].get<std::string>(), testing::StartsWith("UDID##ACME##"));
    EXPECT_EQ(machine.openDescriptors(), 0U);
}

TEST(CliRemoveAddress, WhatTheUdidIsWorthIsTold) {
    recording::RecordedHostData data = machineData();
    data.devices["/dev/sdb"].pages[0x83] = recording::RecordedPage();
    data.devices["/dev/sdb"].pages[0x83].status = 8;
    CliMachine busy(data);
    EXPECT_THAT(busy.run({"remove-address", "2:0:0:5"}).out,
                HasSubstr("@LOCALHOST (this path at this host only) (answered in part: page 0x83: "
                          "SCSI status 8)\n"));
    const auto disk = busy.run({"remove-address", "2:0:0:5", "--json"}).json()["disk"];
    EXPECT_EQ(disk["identity"], "path");
    EXPECT_EQ(disk["missing_page"], "page 0x83: SCSI status 8");
}

TEST(CliRemoveAddress, ADiskThatDoesNotAnswerHasNoUdidAndGoesAllTheSame) {
    recording::RecordedHostData data = machineData();
    data.devices["/dev/sdb"].openError = ENXIO;
    CliMachine machine(data);
    const CliResult result = machine.run({"remove-address", "2:0:0:5"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "2:0:0:5 is /dev/sdb, ACME Disk, no UDID\n");
    EXPECT_THAT(machine.journal(), testing::Contains(request("2 0 0 5")));
}

TEST(CliRemoveAddress, ADiskInUseIsNamedAndStays) {
    recording::RecordedHostData data = machineData();
    data.files["/proc/self/mountinfo"] = "30 20 8:16 / /data rw - xfs x rw\n";
    CliMachine machine(data);
    const CliResult result = machine.run({"remove-address", "2:0:0:5"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, testing::StartsWith("2:0:0:5 is /dev/sdb, ACME Disk, "));
    EXPECT_THAT(result.err, HasSubstr("/dev/sdb is mounted at /data"));
    EXPECT_THAT(machine.journal(), testing::Not(testing::Contains(HasSubstr("append"))));
}

// What stands there has not been seen, whatever the guard is told a moment later.
TEST(CliRemoveAddress, WhatCouldNotBeLookedUpStays) {
    const std::string all = "/sys/class/scsi_device/";
    const std::string disks = all + "2:0:0:5/device/block/";
    struct Case {
        std::string address;
        std::string path;
        host::DirectoryListing listing;
        std::string reason;
    };
    for (const Case& one : {Case{"2:0:0:5", all, {EMFILE, 0, {}}, "Too many open files"},
                            Case{"2:0:0:5", all, {0, EIO, {"2:0:0:5"}}, "Input/output error"},
                            Case{"2:0:0:6", all, {EMFILE, 0, {}}, "Too many open files"},
                            Case{"2:0:0:5", disks, {EMFILE, 0, {}}, "Too many open files"}}) {
        CliMachine machine(machineData());
        OnceUntold host(machine.host(), one.path, one.listing);
        const CliResult result =
            test::runCli({"--jobs", "1", "--deadline", "0", "remove-address", one.address}, host);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "scsitool: " + one.address + " is not known: " + one.path + ": " +
                                  one.reason +
                                  "; with --force whatever is there goes\n"
                                  "scsitool: 1 removal refused, nothing was done; --force does it "
                                  "all the same\n");
        EXPECT_THAT(machine.journal(), testing::Not(testing::Contains(HasSubstr("append"))));
    }
}

TEST(CliRemoveAddress, WhatCouldNotBeLookedUpGoesByForce) {
    CliMachine machine(machineData());
    OnceUntold host(machine.host(), "/sys/class/scsi_device/", {EMFILE, 0, {}});
    const CliResult result = test::runCli(
        {"--jobs", "1", "--deadline", "0", "remove-address", "2:0:0:5", "--force"}, host);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(machine.journal(), testing::Contains(request("2 0 0 5")));
}

}  // namespace
