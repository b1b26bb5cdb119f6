#include "view_host.h"

namespace {

using Json = nlohmann::ordered_json;
using test::ViewHost;
using test::Words;
using testing::HasSubstr;

class DetailsHost : public ViewHost {
  public:
    DetailsHost() {
        status("mpatha: 0 8 multipath 2 0 0 0 2 1 A 0 1 2 8:16 A 0 0 1 E 0 1 2 8:32 F 4 0 1 ");
        table(
            "mpatha: 0 8 multipath 1 queue_if_no_path 1 alua 2 1 service-time 0 1 2 8:16 1 1 "
            "round-robin 0 1 2 8:32 1 1");
        for (const char* const address : {"2:0:0:1", "3:0:0:1", "2:0:0:12"}) {
            setAttribute(address, "type", "0\n");
        }
        setAttribute("2:0:0:1", "wwid", "naa.6000000a000000000000000000000001\n");
        data.files["/sys/class/block/sdz/ro"] = "1\n";
        data.files["/sys/class/block/sdb/ro"] = "0\n";
        data.files["/sys/class/block/dm-0/ro"] = "0\n";
    }
    Json device(const std::string& name) const {
        const Json document = run({"devices", "--json"}).json();
        for (const Json& device : document["devices"]) {
            if (device["name"] == name) {
                return device;
            }
        }
        return nullptr;
    }
    std::string cell(const std::string& name, const std::string& column) const {
        const std::string out = run({"devices", name, "--no-headings", "-o", column}).out;
        return out.substr(0, out.find('\n'));
    }
};

TEST(Details, AMapHasWhatDeviceMapperWasTold) {
    const DetailsHost host;
    const Json map = host.device("/dev/mapper/mpatha");
    EXPECT_EQ(map["wwid"], "3600");
    EXPECT_EQ(map["features"], "1 queue_if_no_path");
    EXPECT_EQ(map["hardware_handler"], "1 alua");
    EXPECT_EQ(map["device_number"], "253:0");
    EXPECT_EQ(map["read_only"], false);
    EXPECT_FALSE(map.contains("path_group"));
    const Words columns = {"volumes", "--no-headings", "-o",
                           "volume,wwid,features,handler,number,wp,pathgroup,policy"};
    EXPECT_THAT(host.run(columns).out,
                HasSubstr("/dev/mapper/mpatha  3600  1 queue_if_no_path  1 alua  253:0   rw  "
                          "1 active 2 enabled  round-robin 0 service-time 0\n"));
}

TEST(Details, APathHasItsGroup) {
    const DetailsHost host;
    EXPECT_EQ(host.device("/dev/sdb")["path_group"].dump(),
              R"({"number":1,"state":"active","policy":"service-time 0"})");
    EXPECT_EQ(host.device("/dev/sdc")["path_group"].dump(),
              R"({"number":2,"state":"enabled","policy":"round-robin 0"})");
    const std::string out =
        host.run({"devices", "--no-headings", "-o", "device,pathgroup,policy"}).out;
    EXPECT_THAT(out, HasSubstr("/dev/sdb            1 active   service-time 0\n"));
    EXPECT_THAT(out, HasSubstr("/dev/sdc            2 enabled  round-robin 0\n"));
    EXPECT_THAT(out, HasSubstr("/dev/sdz            -          -\n"));
    EXPECT_EQ(host.device("/dev/sdz")["path_group"], nullptr);
}

TEST(Details, WithoutATableTheGroupHasNoPolicy) {
    ViewHost host;
    host.status("mpatha: 0 8 multipath 2 0 0 0 1 1 D 0 2 2 8:16 A 0 0 1 8:32 A 0 0 1 ");
    const Json devices = host.run({"devices", "--json"}).json()["devices"];
    EXPECT_EQ(devices[0]["features"], nullptr);
    EXPECT_EQ(devices[0]["hardware_handler"], nullptr);
    EXPECT_EQ(devices[2]["path_group"].dump(), R"({"number":1,"state":"disabled","policy":null})");
}

TEST(Details, ADiskHasTypeNumberAndKernelName) {
    const DetailsHost host;
    const Json disk = host.device("/dev/sdb");
    EXPECT_EQ(disk["device_type"], "disk");
    EXPECT_EQ(disk["device_number"], "8:16");
    EXPECT_EQ(disk["wwid"], "naa.6000000a000000000000000000000001");
    EXPECT_EQ(disk["read_only"], false);
    EXPECT_EQ(host.cell("/dev/sdb", "type"), "disk");
    EXPECT_EQ(host.cell("/dev/sdb", "number"), "8:16");
    EXPECT_EQ(host.cell("/dev/sdz", "wp"), "ro");
    // What sysfs does not tell is not guessed.
    EXPECT_EQ(host.device("/dev/sdz")["device_type"], nullptr);
    EXPECT_EQ(host.device("/dev/sdc")["read_only"], nullptr);
    EXPECT_EQ(host.device("/dev/sdc")["wwid"], nullptr);
    EXPECT_EQ(host.cell("/dev/sdc", "wp"), "-");
}

TEST(Details, TypesAreThoseOfTheDiskDriver) {
    for (const auto& [number, name] : {std::pair("7", "optical"), std::pair("14", "rbc"),
                                       std::pair("20", "zbc"), std::pair("5", "-")}) {
        DetailsHost host;
        host.setAttribute("2:0:0:12", "type", std::string(number) + "\n");
        EXPECT_EQ(host.cell("/dev/sdaa", "type"), name);
    }
}

TEST(Details, AnIscsiPathHasThePortalGroup) {
    DetailsHost host;
    host.data.links["/sys/class/scsi_device/2:0:0:1"] =
        "../../devices/platform/host2/session4/target2:0:0/2:0:0:1/scsi_device/2:0:0:1";
    host.data.files["/sys/class/iscsi_session/session4/targetname"] = "iqn.t\n";
    host.data.files["/sys/class/iscsi_session/session4/tpgt"] = "7\n";
    EXPECT_EQ(host.device("/dev/sdb")["remote_port"], "iqn.t");
    EXPECT_EQ(host.device("/dev/sdb")["portal_group"], 7);
    EXPECT_EQ(host.cell("/dev/sdb", "portal"), "7");
    EXPECT_EQ(host.device("/dev/sdc")["remote_port"], nullptr);
    EXPECT_EQ(host.device("/dev/sdc")["portal_group"], nullptr);
}

TEST(Details, PartitionsHaveSizesAndUsersOfTheirOwn) {
    DetailsHost host;
    for (const char* const name : {"sdz10", "sdz2"}) {
        host.data.directories["/sys/class/block/sdz/"].emplace_back(name);
        host.block(name, name[3] == '2' ? "65:146" : "65:154", "", "");
    }
    host.data.files["/sys/class/block/sdz2/size"] = "2048\n";
    host.mount("65:146", "/dev/sdz2", "/boot");
    EXPECT_EQ(host.cell("/dev/sdz", "partitions"), "/dev/sdz2 /dev/sdz10");
    EXPECT_EQ(host.device("/dev/sdaa")["partitions"].dump(), "[]");
    const Json partitions = host.device("/dev/sdz")["partitions"];
    EXPECT_EQ(partitions[0].dump(),
              R"({"name":"/dev/sdz2","size_kb":1024,"used_by":[{"kind":"mount","name":"/boot"}]})");
    EXPECT_EQ(partitions[1].dump(), R"({"name":"/dev/sdz10","size_kb":null,"used_by":[]})");
}

TEST(Details, APartitionOfAMapIsAMapOfItsOwn) {
    DetailsHost host;
    host.holders("dm-0", {"dm-1", "dm-2"});
    host.block("dm-1", "253:1", "mpatha1", "part1-mpath-3600");
    host.block("dm-2", "253:2", "vg-lv", "LVM-x");
    EXPECT_EQ(host.cell("/dev/mapper/mpatha", "partitions"), "/dev/mapper/mpatha1");
}

TEST(Details, NobodyAsksForTheTableWhereNothingOfItIsShown) {
    const DetailsHost host;
    test::CliMachine machine(host.data);
    machine.run({"volumes"});
    EXPECT_THAT(machine.journal(), testing::Each(HasSubstr("dmsetup status")));
}

}  // namespace
