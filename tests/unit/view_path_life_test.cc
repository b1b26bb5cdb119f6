#include "view_host.h"

namespace {

using test::CliMachine;
using test::CliResult;
using test::TempFolder;
using test::ViewHost;
using testing::HasSubstr;

constexpr const char* kFailedPath = "mpatha: 0 8 multipath 2 0 0 0 1 1 A 0 2 0 8:16 A 0 8:32 F 4 ";
constexpr const char* kStatusFailed =
    "what device-mapper holds of the paths is not known: /usr/sbin/dmsetup status --target "
    "multipath ended with exit status 1: Command failed.\n";

// What the host is beside what it printed in the sound state.
class TwoLooks {
  public:
    explicit TwoLooks(const std::string& form)
        : m_before(m_folder.write("before", ViewHost().run({"volumes", form}).out)) {}

    CliResult diffTo(const ViewHost& host) const {
        return CliMachine(host.data).run({"diff", m_before, "live"});
    }
    const std::string& before() const { return m_before; }

  private:
    TempFolder m_folder;
    std::string m_before;
};

ViewHost withFailedPath() {
    ViewHost host;
    host.status(kFailedPath);
    return host;
}

TEST(PathLife, DiffCountsAPathThatDeviceMapperHasGivenUp) {
    for (const char* const form : {"--json", "--ndjson"}) {
        const TwoLooks looks(form);
        const CliResult result = looks.diffTo(withFailedPath());
        EXPECT_EQ(result.status, 3) << form;
        EXPECT_THAT(result.out, HasSubstr("fewer-paths  /dev/mapper/mpatha  2 -> 1/2")) << form;
        EXPECT_EQ(looks.diffTo(ViewHost()).out, "no change\n") << form;
    }
}

TEST(PathLife, WhatWasSavedCountsItAsWell) {
    const TempFolder folder;
    const std::string before = folder.write("before", ViewHost().run({"volumes", "--json"}).out);
    for (const char* const form : {"--json", "--ndjson"}) {
        const std::string after =
            folder.write("after", withFailedPath().run({"volumes", form}).out);
        EXPECT_THAT(ViewHost().run({"diff", before, after}).out, HasSubstr("  2 -> 1/2")) << form;
        EXPECT_THAT(ViewHost().run({"matrix", before, after}).out, HasSubstr("mpatha 1/2")) << form;
    }
}

TEST(PathLife, DiffSaysThatDeviceMapperDidNotTell) {
    ViewHost host;
    host.status("Command failed.");
    host.data.commands.back().exitStatus = 1;
    const CliResult result = TwoLooks("--json").diffTo(host);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, std::string("scsitool: live: ") + kStatusFailed);
}

TEST(PathLife, APathShownAloneHasItsStateInTheMap) {
    const ViewHost host = withFailedPath();
    const CliResult result = host.run({"devices", "sdc", "--no-headings", "-o", "state,pathgroup"});
    EXPECT_EQ(result.out, "failed in device-mapper  1 active\n");
    const auto device = host.run({"devices", "sdc", "--json"}).json()["devices"][0];
    EXPECT_EQ(device["mapper_state"], "failed");
    EXPECT_EQ(device["lives"], false);
    EXPECT_THAT(host.run({"disks"}).out, HasSubstr("failed in device-mapper"));
}

TEST(PathLife, WhereThereIsNoMultipathMapNobodyAsks) {
    ViewHost host;
    host.data.files["/sys/class/block/dm-0/dm/uuid"] = "LVM-x\n";
    CliMachine machine(host.data);
    EXPECT_EQ(machine.run({"devices", "sdc"}).status, 0);
    EXPECT_TRUE(machine.journal().empty());
    host.data.files["/sys/class/block/dm-0/dm/uuid"] = "mpath-3600\n";
    CliMachine other(host.data);
    EXPECT_EQ(other.run({"devices", "sdc"}).status, 0);
    EXPECT_EQ(other.journal().size(), 2U);  // it was asked, and this recording has no answer
}

TEST(PathLife, SaysThatDeviceMapperDidNotTellHowItTreatsTheMaps) {
    ViewHost host;
    host.status("mpatha: 0 8 multipath 2 0 0 0 1 1 A 0 2 0 8:16 A 0 8:32 A 0 ");
    host.table("Command failed.");
    host.data.commands.back().exitStatus = 1;
    const std::string message =
        "scsitool: how device-mapper treats the maps is not known: /usr/sbin/dmsetup table "
        "--target multipath ended with exit status 1: Command failed.\n";
    for (const test::Words& words :
         {test::Words{"volumes", "-o", "features"}, test::Words{"devices", "-o", "policy"},
          test::Words{"volumes", "--json"}}) {
        const CliResult result = host.run(words);
        EXPECT_EQ(result.status, 3) << words.back();
        EXPECT_EQ(result.err, message) << words.back();
    }
    EXPECT_EQ(host.run({"volumes"}).status, 0);  // nothing of it is shown
    host.data.commands.back().exitStatus = 0;
    EXPECT_EQ(host.run({"volumes", "-o", "features"}).status, 0);
}

TEST(PathLife, ATableThatHangsIsToldOf) {
    ViewHost host;
    host.status("");
    host.table("");
    host.data.commands.back().timedOut = true;
    const CliResult result = host.run({"volumes", "-o", "handler"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "scsitool: how device-mapper treats the maps is not known: /usr/sbin/dmsetup table "
              "--target multipath was ended at its time limit\n");
}

}  // namespace
