#include <gtest/gtest.h>

#include "cli/base/failure.h"
#include "cli/comparison/changes_text.h"
#include "cli/comparison/handover.h"
#include "cli/comparison/json_reader.h"
#include "cli/comparison/matrix_text.h"
#include "cli/comparison/saved.h"
#include "cli_harness.h"

namespace {

using cli::comparison::HostVolume;
using cli::comparison::HostVolumes;
using test::CliMachine;
using test::CliResult;
using test::TempFolder;

constexpr std::uint64_t kGibibyte = 1U << 20;  // in KiB

HostVolume volume(const std::string& udid, const std::string& unitName = "") {
    HostVolume result;
    result.udid = udid;
    result.unitName = unitName;
    result.maps = {"/dev/mapper/mpatha"};
    result.paths = {{"/dev/sda", "2:0:0:1", true}, {"/dev/sdb", "3:0:0:1", true}};
    result.sizeKb = kGibibyte;
    result.revision = "0430";
    return result;
}

std::string textOf(const HostVolumes& before, const HostVolumes& after) {
    return cli::comparison::changesText(cli::comparison::compare(before, after), {});
}

// One change of one volume: its kind and what it says.
std::string changeOf(const HostVolume& before, const HostVolume& after) {
    const HostVolumes left = {"db01", "", {before}};
    const HostVolumes right = {"db01", "", {after}};
    const auto changes = cli::comparison::compare(left, right);
    std::string text;
    for (const auto& change : changes) {
        text += (text.empty() ? "" : ", ") + std::string(cli::comparison::nameOf(change.kind));
    }
    return text;
}

TEST(VolumeChanges, TheSameIsNoChange) {
    EXPECT_EQ(changeOf(volume("U"), volume("U")), "");
    EXPECT_EQ(textOf({"db01", "", {volume("U")}}, {"db01", "", {volume("U")}}), "no change\n");
}

TEST(VolumeChanges, EachKind) {
    const HostVolume former = volume("U", "naa.6");
    HostVolume present = former;
    present.sizeKb = kGibibyte + 1;
    EXPECT_EQ(changeOf(former, present), "grown");
    EXPECT_EQ(changeOf(present, former), "shrunk");
    present = former;
    present.paths.push_back({"/dev/sdc", "4:0:0:1", true});
    EXPECT_EQ(changeOf(former, present), "more-paths");
    EXPECT_EQ(changeOf(present, former), "fewer-paths");
    present = former;
    present.paths[1].isWell = false;
    EXPECT_EQ(changeOf(former, present), "fewer-paths");
    EXPECT_EQ(changeOf(present, former), "more-paths");
    present = former;
    present.maps = {"/dev/mapper/data"};
    EXPECT_EQ(changeOf(former, present), "renamed");
    present = former;
    present.revision = "0431";
    EXPECT_EQ(changeOf(former, present), "other-revision");
    present = former;
    present.udid = "V";
    EXPECT_EQ(changeOf(former, present), "other-udid");
    present.unitName = "naa.7";
    EXPECT_EQ(changeOf(former, present), "gone, new, remapped, remapped");
}

TEST(VolumeChanges, WhatIsNotToldIsNoChange) {
    const HostVolume former = volume("U", "naa.6");
    HostVolume present = former;
    present.sizeKb.reset();
    present.revision.clear();
    present.unitName.clear();
    EXPECT_EQ(changeOf(former, present), "");
    EXPECT_EQ(changeOf(present, former), "");
}

TEST(VolumeChanges, DisksThatMovedAreNotRenamedAsLongAsOneNameIsLeft) {
    HostVolume former = volume("U");
    former.maps.clear();
    HostVolume present = former;
    present.paths[0].name = "/dev/sdx";
    EXPECT_EQ(changeOf(former, present), "");
    present.paths[1].name = "/dev/sdy";
    EXPECT_EQ(changeOf(former, present), "renamed");
}

TEST(VolumeChanges, TwoVolumesOfOneUdidAreToldApartByTheirNames) {
    HostVolume other = volume("U", "naa.7");
    other.sizeKb = 2 * kGibibyte;
    const HostVolumes before = {"db01", "", {volume("U", "naa.6"), other}};
    const HostVolumes after = {"db01", "", {other, volume("U", "naa.6")}};
    // Both stand behind the same addresses here: that is not what is asked for.
    for (const auto& change : cli::comparison::compare(before, after)) {
        EXPECT_STREQ(cli::comparison::nameOf(change.kind), "remapped");
    }
}

TEST(VolumeChanges, APathUdidIsNoIdentity) {
    HostVolume former = volume("UDID######/DEV/SDA@DB01");
    former.isPathUdid = true;
    former.maps.clear();
    HostVolume present = former;
    EXPECT_EQ(changeOf(former, present), "");
    present.paths[0].name = "/dev/sdq";
    present.udid = "UDID######/DEV/SDQ@DB01";
    EXPECT_EQ(changeOf(former, present), "gone, new");
}

TEST(VolumeChanges, AddressesOfTwoHostsAreNotCompared) {
    const HostVolumes before = {"db01", "", {volume("U", "naa.6")}};
    const HostVolumes after = {"db02", "", {volume("V", "naa.7")}};
    EXPECT_EQ(cli::comparison::countsText(cli::comparison::compare(before, after)),
              "1 gone, 1 new");
}

TEST(VolumeChanges, Text) {
    HostVolume grown = volume("U", "naa.6");
    grown.sizeKb = 2 * kGibibyte;
    grown.paths.pop_back();
    HostVolume added = volume("W");
    added.maps.clear();
    added.paths = {{"/dev/sdz", "5:0:0:1", false}};
    EXPECT_EQ(textOf({"h", "", {volume("U", "naa.6")}}, {"h", "", {grown, added}}),
              "CHANGE       VOLUME              WHAT                UDID\n"
              "new          /dev/sdz            1.0 GiB, 0/1 path   W\n"
              "grown        /dev/mapper/mpatha  1.0 GiB -> 2.0 GiB  U\n"
              "fewer-paths  /dev/mapper/mpatha  2 -> 1              U\n");
}

TEST(JsonReader, PassesOverWhatIsNotAskedFor) {
    cli::comparison::JsonReader reader(
        R"( {"a":[1,{"b":"]}\"\\"}],"n":12,"t":"x\u00e9","e":null} )");
    std::string text;
    std::uint64_t number = 0;
    bool isNull = false;
    reader.readObject([&](const std::string& key) {
        if (key == "t") {
            text = reader.readText();
        } else if (key == "n") {
            number = reader.readNumber().value_or(0);
        } else if (key == "e") {
            isNull = !reader.readNumber();
        } else {
            reader.skip();
        }
    });
    EXPECT_TRUE(reader.isAtEnd());
    EXPECT_EQ(text, "x\xc3\xa9");
    EXPECT_EQ(number, 12U);
    EXPECT_TRUE(isNull);
}

// A quote ends the string unless an odd number of backslashes stands in front of it.
TEST(JsonReader, FindsTheEndOfAString) {
    for (const std::string content :
         {R"()", R"(\\)", R"(\")", R"(\\\")", R"(a\\\\\\)", R"(\\\\\"b)", R"(\"\")"}) {
        const std::string text = "[\"" + content + "\",7,{\"k\":\"" + content + "\"}]";
        std::size_t strings = 0;
        std::uint64_t number = 0;
        cli::comparison::JsonReader reader(text);
        reader.readArray([&] {
            switch (strings++) {
                case 0:
                    EXPECT_EQ(reader.readText(), nlohmann::json::parse("\"" + content + "\""))
                        << text;
                    break;
                case 1:
                    number = reader.readNumber().value_or(0);
                    break;
                default:
                    reader.skip();
            }
        });
        EXPECT_EQ(number, 7U) << text;
        EXPECT_TRUE(reader.isAtEnd()) << text;
    }
}

// Every text cut anywhere, and every byte of it replaced: never past the end, never for ever.
TEST(JsonReader, EndsOnWhateverItIsGiven) {
    const std::string whole =
        R"({"scsitool":{},"host":"h\n","volumes":[{"udid":"U","devices":[{"name":"/dev/sda","x":[]}],"size_kb":1}]})";
    std::vector<std::string> texts;
    for (std::size_t end = 0; end < whole.size(); ++end) {
        texts.push_back(whole.substr(0, end));
        for (const char replaced : {'"', '\\', '{', ']', '\0', ',', '9', '\xff'}) {
            texts.push_back(whole);
            texts.back()[end] = replaced;
        }
    }
    std::size_t refused = 0;
    for (const std::string& text : texts) {
        try {
            cli::comparison::readSaved(text, "f");
        } catch (const cli::UsageError& error) {
            EXPECT_EQ(std::string(error.what()).substr(0, 3), "f: ");
            ++refused;
        }
    }
    EXPECT_GT(refused, whole.size());
    EXPECT_EQ(cli::comparison::readSaved(whole, "f").front().host, "h\n");
}

std::string refusalOf(const std::string& text) {
    try {
        cli::comparison::readSaved(text, "f.json");
    } catch (const cli::UsageError& error) {
        return error.what();
    }
    return "taken";
}

TEST(Saved, Refusals) {
    const std::string expected =
        "f.json: expected a recorded host, or what 'scsitool volumes' or 'scsitool devices' prints "
        "with --json or --ndjson";
    EXPECT_EQ(refusalOf(""), expected);
    EXPECT_EQ(refusalOf(R"({"scsitool":{},"disks":[]})"), expected);
    EXPECT_EQ(refusalOf(R"({"a":1})"), expected);
    EXPECT_EQ(refusalOf("[]"), "f.json: 1:1: expected an object");
    EXPECT_EQ(refusalOf("{\"scsitool\":{},\n \"volumes\":7}"), "f.json: 2:12: expected an array");
    EXPECT_EQ(refusalOf(R"({"volumes":[{"udid":7}]})"), "f.json: 1:21: expected a string");
    EXPECT_EQ(refusalOf(R"({"volumes":[{"size_kb":"7"}]})"),
              "f.json: 1:24: expected a whole number");
    EXPECT_EQ(refusalOf(R"({"volumes":[{})"), "f.json: 1:15: expected ',' or ']'");
    EXPECT_EQ(refusalOf(R"({"udid":"a\q","devices":[]})"),
              "f.json: 1:9: expected a string without wrong escapes");
    EXPECT_EQ(refusalOf(R"({"udid":"a)"), "f.json: 1:9: expected an end of the string");
}

// A host's own two forms and its recording say the same.
TEST(Diff, EveryFormOfAHostIsTheSameHost) {
    const std::string sample = std::string(SCSITOOL_SAMPLES) + "/enterprise.json";
    CliMachine none({});
    const TempFolder folder;
    for (const char* const command : {"volumes", "devices"}) {
        for (const char* const form : {"--json", "--ndjson"}) {
            const CliResult printed = none.run({"--host", sample, command, form});
            const std::string file = folder.write("saved", printed.out);
            const CliResult result = none.run({"diff", sample, file});
            if (std::string(command) == "volumes") {
                EXPECT_EQ(result.out, "no change\n") << command << form;
            }
            EXPECT_EQ(none.run({"diff", file, file}).out, "no change\n") << command << form;
        }
    }
}

TEST(Diff, AT10VendorNameMakesNoVolumeOfTwo) {
    const HostVolumes before = {"a", "", {volume("U", "t10.ACME    X")}};
    const HostVolumes after = {"a", "", {volume("V", "t10.ACME    X")}};
    EXPECT_EQ(cli::comparison::countsText(cli::comparison::compare(before, after)),
              "1 gone, 1 new, 2 remapped");
}

TEST(Diff, ComparesTheMachineWithWhatWasSaved) {
    CliMachine machine(test::healthyHost());
    const TempFolder folder;
    const std::string saved = folder.write("then.json", machine.run({"volumes", "--json"}).out);
    const CliResult same = machine.run({"diff", saved, "live"});
    EXPECT_EQ(same.status, 0) << same.err;
    EXPECT_EQ(same.out, "no change\n");
    recording::RecordedHostData data = test::healthyHost();
    for (const char* const name : {"/dev/mapper/mpatha", "/dev/sda", "/dev/sdb"}) {
        data.devices[name].sizeBytes = 2147483648;
    }
    CliMachine later(data);
    const CliResult grown = later.run({"diff", saved, "live"});
    EXPECT_EQ(grown.status, 3);
    EXPECT_EQ(grown.err, "scsitool: " + saved + " and live differ: 1 grown\n");
    const auto document = later.run({"--json", "diff", saved, "live"}).json();
    EXPECT_EQ(document["differences"][0]["kind"], "grown");
    EXPECT_EQ(document["differences"][0]["before"]["size_kb"], 1048576);
    EXPECT_EQ(document["differences"][0]["after"]["size_kb"], 2097152);
    EXPECT_EQ(document["after"]["host"], "db01");
}

TEST(Diff, SaysWhichFileCannotBeTaken) {
    CliMachine machine(test::healthyHost());
    const TempFolder folder;
    const CliResult missing = machine.run({"diff", folder.path("a"), "live"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err,
              "scsitool: " + folder.path("a") + ": cannot be read: No such file or directory\n");
    const std::string many =
        folder.write("many", R"({"host":"a","devices":[]}{"host":"b","devices":[]})");
    EXPECT_EQ(machine.run({"diff", many, "live"}).err,
              "scsitool: " + many + ": it tells of 2 hosts or times, expected one\n");
    const std::string other = folder.write("other", R"({"format":"scsitool-host/9"})");
    EXPECT_EQ(machine.run({"diff", other, "live"}).status, 2);
}

TEST(Matrix, ShowsWhoSeesWhat) {
    cli::comparison::Matrix matrix;
    HostVolume renamed = volume("U", "naa.6");
    renamed.maps = {"/dev/mapper/data"};
    renamed.paths[0].isWell = false;
    renamed.sizeKb = 2 * kGibibyte;
    HostVolume local = volume("UDID######/DEV/SDA@DB02");
    local.isPathUdid = true;
    HostVolume other = volume("V");
    other.maps.clear();
    other.paths.pop_back();
    matrix.add({"db01", "", {volume("U", "naa.6"), other}}, "a.json");
    matrix.add({"db02", "", {local, renamed}}, "b.json");
    matrix.add({"db02", "2026-11-21T10:00:00.000Z", {}}, "c.json");
    matrix.add({"", "", {}}, "d.json");
    cli::comparison::SharedVolumes rows;
    for (const auto& row : matrix.volumes()) {
        rows.push_back(&row);
    }
    EXPECT_EQ(
        cli::comparison::matrixText(matrix, rows, {}),
        "            SIZE  HOSTS  db01      db02      db02 (2026-11-21T10:00:00.000Z)  d.json  "
        "UDID\n"
        "1.0 GiB, 2.0 GiB    2/4  mpatha 2  data 1/2  -                                -       U\n"
        "         1.0 GiB    1/4  sda 1     -         -                                -       V\n"
        "db02: 1 of 2 volumes left out: they tell nothing that another host could know them by\n");
}

TEST(Matrix, AVolumeUnderAnotherUdidIsKnownByItsOwnName) {
    cli::comparison::Matrix matrix;
    matrix.add({"a", "", {volume("U", "naa.6")}}, "a");
    matrix.add({"b", "", {volume("V", "naa.6")}}, "b");
    matrix.add({"c", "", {volume("V")}}, "c");
    matrix.add({"d", "", {volume("", "naa.6")}}, "d");
    ASSERT_EQ(matrix.volumes().size(), 1U);
    EXPECT_TRUE(matrix.isSeenByAll(matrix.volumes().front()));
    const auto json = cli::comparison::sharedVolumeJson(matrix, matrix.volumes().front());
    EXPECT_EQ(json["udid"], "U");
    EXPECT_EQ(json["seen_by"][0].count("udid"), 0U);
    EXPECT_EQ(json["seen_by"][1]["udid"], "V");
    EXPECT_EQ(json["seen_by"][3].count("udid"), 0U);
    EXPECT_EQ(matrix.contradictions(),
              std::vector<std::string>{"the volume naa.6 has several UDIDs: U, at b: V"});
}

TEST(Matrix, TwoVolumesOfOneUdidAreTwoRows) {
    cli::comparison::Matrix matrix;
    matrix.add({"a", "", {volume("U", "naa.6"), volume("U", "naa.7")}}, "a");
    matrix.add({"b", "", {volume("U", "naa.7")}}, "b");
    ASSERT_EQ(matrix.volumes().size(), 2U);
    EXPECT_EQ(matrix.volumes()[0].sightings.size(), 1U);
    EXPECT_EQ(matrix.volumes()[0].sightings[0].paths, 2U);
    EXPECT_EQ(matrix.volumes()[1].sightings.size(), 2U);
    EXPECT_EQ(matrix.contradictions(),
              std::vector<std::string>{"2 volumes have the UDID U: naa.6, naa.7"});
    const std::string text =
        cli::comparison::matrixText(matrix, {&matrix.volumes()[0], &matrix.volumes()[1]}, {});
    EXPECT_NE(text.find("U (naa.6)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("U (naa.7)\n"), std::string::npos) << text;
}

// Products hand T10 vendor names out twice, so they tell two volumes apart and never make one.
TEST(Matrix, AT10VendorNameIsNobodysOwn) {
    cli::comparison::Matrix matrix;
    matrix.add({"a", "", {volume("U", "t10.ACME    X"), volume("V", "t10.ACME    X")}}, "a");
    matrix.add({"b", "", {volume("", "t10.ACME    X")}}, "b");
    EXPECT_EQ(matrix.volumes().size(), 2U);
    EXPECT_EQ(matrix.hosts()[1].leftOut, 1U);
    EXPECT_TRUE(matrix.contradictions().empty());
}

TEST(MatrixCommand, SaysWhatCannotBe) {
    CliMachine machine(test::healthyHost());
    const TempFolder folder;
    const std::string file =
        folder.write("a", R"({"host":"a","udid":"U","logical_unit_name":"naa.6","devices":[]})"
                          R"({"host":"a","udid":"U","logical_unit_name":"naa.7","devices":[]})");
    const CliResult result = machine.run({"matrix", file});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "scsitool: 2 volumes have the UDID U: naa.6, naa.7\n");
}

cli::comparison::Reading reading() {
    HostVolume bare;
    bare.isPathUdid = true;
    HostVolume whole = volume("U", "naa.6");
    whole.maps.emplace_back("/dev/mapper/mpathb");
    whole.paths[1].isWell = false;
    return {{{"db01", "2026-11-21T10:00:00.000Z", {whole, bare}}, {"", "", {}}},
            {"a.json: one", std::string("two\0", 4)}};
}

TEST(Handover, BringsEverything) {
    const std::string text = cli::comparison::packed(reading());
    const auto read = cli::comparison::unpacked(text);
    ASSERT_TRUE(read);
    EXPECT_EQ(cli::comparison::packed(*read), text);
    ASSERT_EQ(read->hosts.size(), 2U);
    EXPECT_EQ(read->hosts[0].host, "db01");
    EXPECT_EQ(read->hosts[0].time, "2026-11-21T10:00:00.000Z");
    ASSERT_EQ(read->hosts[0].volumes.size(), 2U);
    const HostVolume& one = read->hosts[0].volumes[0];
    EXPECT_EQ(one.udid, "U");
    EXPECT_FALSE(one.isPathUdid);
    EXPECT_EQ(one.unitName, "naa.6");
    EXPECT_EQ(one.maps, (std::vector<std::string>{"/dev/mapper/mpatha", "/dev/mapper/mpathb"}));
    ASSERT_EQ(one.paths.size(), 2U);
    EXPECT_EQ(one.paths[1].name, "/dev/sdb");
    EXPECT_EQ(one.paths[1].address, "3:0:0:1");
    EXPECT_TRUE(one.paths[0].isWell);
    EXPECT_FALSE(one.paths[1].isWell);
    EXPECT_EQ(one.sizeKb, kGibibyte);
    EXPECT_EQ(one.revision, "0430");
    EXPECT_TRUE(read->hosts[0].volumes[1].isPathUdid);
    EXPECT_FALSE(read->hosts[0].volumes[1].sizeKb);
    EXPECT_EQ(read->doubts, reading().doubts);
}

// The other process may have written anything.
TEST(Handover, TakesNothingThatIsCutOrLonger) {
    const std::string text = cli::comparison::packed(reading());
    for (std::size_t end = 0; end < text.size(); ++end) {
        EXPECT_FALSE(cli::comparison::unpacked(text.substr(0, end))) << end;
        std::string other = text;
        other[end] = '\xff';
        cli::comparison::unpacked(other);
    }
    EXPECT_FALSE(cli::comparison::unpacked(text + '\0'));
}

TEST(MatrixCommand, HostsReadSideBySideAreThoseReadInTurn) {
    CliMachine machine(test::healthyHost());
    const TempFolder folder;
    const std::string samples = std::string(SCSITOOL_SAMPLES) + "/";
    const std::string lines = folder.write(
        "l", R"({"host":"a","udid":"U","devices":[]}{"host":"b","udid":"U","devices":[]})");
    // The machine first, whose title would hold the time otherwise.
    const std::vector<std::string> files = {lines,
                                            "live",
                                            samples + "enterprise.json",
                                            samples + "sick-dead-path.json",
                                            samples + "in-use.json",
                                            samples + "sick-remapped-lun.json",
                                            lines};
    const auto outcome = [&](std::vector<std::string> options, const std::vector<std::string>& of) {
        options.emplace_back("matrix");
        options.insert(options.end(), of.begin(), of.end());
        const CliResult result = machine.run(options);
        return std::to_string(result.status) + "\n" + result.out + result.err;
    };
    const std::string inTurn = outcome({"--jobs", "1"}, files);
    EXPECT_EQ(outcome({}, files), inTurn);
    EXPECT_EQ(outcome({"--jobs", "2"}, files), inTurn);
    EXPECT_NE(inTurn.find("sick-dead-path.json: "), std::string::npos) << inTurn;
    // The first that cannot be read is told, in its own words.
    std::vector<std::string> wrong = files;
    wrong.insert(wrong.begin() + 4, {folder.path("missing"), folder.write("w", "{")});
    const std::string refused = outcome({"--jobs", "1"}, wrong);
    EXPECT_EQ(refused, "2\nscsitool: " + folder.path("missing") +
                           ": cannot be read: No such file or directory\n");
    EXPECT_EQ(outcome({}, wrong), refused);
}

TEST(MatrixCommand, LeavesOutWhatAllOrOneSee) {
    CliMachine machine(test::healthyHost());
    const TempFolder folder;
    const std::string first = folder.write(
        "a", R"({"host":"a","udid":"U","devices":[]}{"host":"a","udid":"V","devices":[]})");
    const std::string second = folder.write(
        "b", R"({"host":"b","udid":"U","devices":[]}{"host":"b","udid":"W","devices":[]})");
    const std::string third = folder.write(
        "c", R"({"host":"c","udid":"U","devices":[]}{"host":"c","udid":"V","devices":[]})");
    const auto udids = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"--json", "matrix", first, second, third});
        std::string text;
        const auto document = machine.run(options).json();
        for (const auto& row : document["matrix"]) {
            text += row["udid"].get<std::string>();
        }
        return text;
    };
    EXPECT_EQ(udids({}), "UVW");
    EXPECT_EQ(udids({"--some"}), "VW");
    EXPECT_EQ(udids({"--shared"}), "UV");
    EXPECT_EQ(udids({"--some", "--shared"}), "V");
}

TEST(Lines, AnObjectALineWithHostAndTime) {
    CliMachine machine(test::healthyHost());
    const CliResult result = machine.run({"volumes", "--ndjson"});
    EXPECT_EQ(result.status, 0) << result.err;
    const auto line = result.json();
    EXPECT_EQ(line["host"], "db01");
    EXPECT_EQ(line["time"].get<std::string>().size(), 24U);
    EXPECT_EQ(line["paths"], 2);
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1);
    const std::string sample = std::string(SCSITOOL_SAMPLES) + "/enterprise.json";
    const std::string lines = machine.run({"--host", sample, "devices", "--ndjson"}).out;
    EXPECT_TRUE(nlohmann::json::parse(lines.substr(0, lines.find('\n')))["time"].is_null());
    const CliResult both = machine.run({"volumes", "--ndjson", "--json"});
    EXPECT_EQ(both.status, 2);
    EXPECT_EQ(both.err, "scsitool: --ndjson and --json exclude each other; leave one out\n");
}

}  // namespace
