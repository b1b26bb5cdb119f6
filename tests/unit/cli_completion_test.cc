#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/help/completion.h"
#include "cli_harness.h"

namespace {

using cli::help::Completion;
using cli::help::completionOf;
using cli::help::Wanted;
using test::CliMachine;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using Words = std::vector<std::string>;

const cli::Json& catalogue() {
    static const cli::Json all =
        cli::Json::parse(CliMachine({}).run({"help", "--json"}).out).at("help");
    return all;
}

Completion complete(const Words& words) {
    return completionOf(catalogue(), words);
}

Words wordsOf(const Completion& completion) {
    Words words;
    for (const cli::help::Word& word : completion.words) {
        words.push_back(word.text);
    }
    return words;
}

TEST(Completion, BeginsWithTheCommands) {
    EXPECT_THAT(wordsOf(complete({"devi"})), ElementsAre("devices"));
    EXPECT_THAT(wordsOf(complete({""})), Contains("volumes"));
    EXPECT_THAT(wordsOf(complete({""})), Not(Contains("__complete")));
    EXPECT_THAT(wordsOf(complete({})), Contains("volumes"));
    EXPECT_THAT(wordsOf(complete({"iscsi", "lo"})), ElementsAre("login", "logout"));
    EXPECT_THAT(wordsOf(complete({"help", "volu"})), ElementsAre("volumes"));
}

TEST(Completion, OffersTheOptionsOfTheCommandAndOfAll) {
    EXPECT_THAT(wordsOf(complete({"--dr"})), ElementsAre("--dry-run"));
    EXPECT_THAT(wordsOf(complete({"rescan", "--"})), Contains("--changes"));
    EXPECT_THAT(wordsOf(complete({"rescan", "--"})), Contains("--json"));
    EXPECT_THAT(wordsOf(complete({"wwpn", "--"})), Not(Contains("--changes")));
    const Words help = wordsOf(complete({"rescan", "--he"}));
    EXPECT_THAT(help, ElementsAre("--help"));
}

TEST(Completion, AValueIsWhatTheOptionTakes) {
    EXPECT_EQ(complete({"--host", ""}).wanted, Wanted::kFile);
    EXPECT_EQ(complete({"--host=sam"}).wanted, Wanted::kFile);
    EXPECT_EQ(complete({"--host=sam"}).prefix, "--host=");
    EXPECT_EQ(complete({"--host=sam"}).typed, "sam");
    EXPECT_EQ(complete({"--jobs", ""}).wanted, Wanted::kNothing);
    EXPECT_EQ(complete({"--jobs=1"}).wanted, Wanted::kNothing);
    EXPECT_EQ(complete({"--no-such=1"}).wanted, Wanted::kNothing);
    EXPECT_EQ(complete({"volumes", "--sort", ""}).wanted, Wanted::kColumn);
}

TEST(Completion, OfAListTheLastOneIsTyped) {
    const Completion list = complete({"volumes", "-o", "volume,size,ud"});
    EXPECT_EQ(list.wanted, Wanted::kColumn);
    EXPECT_EQ(list.prefix, "volume,size,");
    EXPECT_EQ(list.typed, "ud");
}

TEST(Completion, AnArgumentIsWhatTheCommandTakes) {
    EXPECT_EQ(complete({"udid", ""}).wanted, Wanted::kDevice);
    EXPECT_EQ(complete({"remove", "/dev/ma"}).wanted, Wanted::kDevice);
    EXPECT_EQ(complete({"remove-address", ""}).wanted, Wanted::kAddress);
    EXPECT_EQ(complete({"capture", ""}).wanted, Wanted::kFile);
    EXPECT_EQ(complete({"udid", "/dev/sda", ""}).wanted, Wanted::kNothing);
    EXPECT_TRUE(complete({"wwpn", ""}).words.empty());
}

TEST(Completion, KnowsTheHostThatTheLineNames) {
    EXPECT_EQ(complete({"--host", "a.json", "udid", ""}).hostFile, "a.json");
    EXPECT_EQ(complete({"udid", "--host=b.json", ""}).hostFile, "b.json");
    EXPECT_EQ(complete({"udid", "--host=b.json", ""}).wanted, Wanted::kDevice);
    EXPECT_EQ(complete({"udid", ""}).hostFile, "");
}

TEST(Completion, BehindTwoDashesThereAreNoOptions) {
    EXPECT_TRUE(complete({"rescan", "--", "--ch"}).words.empty());
}

Words answer(CliMachine& machine, const Words& words) {
    Words arguments = {"__complete", "--"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    const test::CliResult result = machine.run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    std::istringstream lines(result.out);
    Words found;
    for (std::string line; std::getline(lines, line);) {
        found.push_back(line);
    }
    return found;
}

TEST(CliComplete, NamesDevicesWithoutAskingThem) {
    CliMachine machine(test::smallHost());
    EXPECT_THAT(answer(machine, {"udid", "/dev/s"}),
                ElementsAre("/dev/sda", "/dev/sdb", "/dev/sdc"));
    EXPECT_THAT(answer(machine, {"udid", "/dev/mapper/"}), ElementsAre("/dev/mapper/mpatha"));
    EXPECT_THAT(answer(machine, {"udid", "sd"}), ElementsAre("sda", "sdb", "sdc"));
    EXPECT_THAT(machine.journal(), testing::Each(Not(testing::HasSubstr("open"))));
}

TEST(CliComplete, NamesColumnsWithWhatTheyMean) {
    CliMachine machine({});
    EXPECT_THAT(answer(machine, {"volumes", "-o", "volume,udi"}),
                ElementsAre(testing::StartsWith("volume,udid\t")));
    EXPECT_THAT(answer(machine, {"capture", ""}), ElementsAre(":files"));
}

TEST(CliComplete, IsNotShownToPeople) {
    CliMachine machine({});
    EXPECT_THAT(machine.run({"help"}).out, Not(testing::HasSubstr("__complete")));
}

}  // namespace
