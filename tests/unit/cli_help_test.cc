#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/help/catalogue.h"
#include "cli_harness.h"

namespace {

using cli::help::meantBy;
using cli::help::suggestion;
using test::CliMachine;
using test::CliResult;
using testing::ElementsAre;
using testing::HasSubstr;

const std::vector<std::string> kWords = {"devices", "disks",       "doctor",
                                         "remove",  "remove-dead", "wwpn"};

TEST(Suggestion, IsTheWordOfAtMostTwoWrongLetters) {
    EXPECT_THAT(meantBy("devcies", kWords), ElementsAre("devices"));
    EXPECT_THAT(meantBy("device", kWords), ElementsAre("devices"));
    EXPECT_THAT(meantBy("devicess", kWords), ElementsAre("devices"));
    EXPECT_THAT(meantBy("dexixes", kWords), ElementsAre("devices"));
    EXPECT_THAT(meantBy("dexixxs", kWords), ElementsAre());
}

TEST(Suggestion, OfAShortWordOneLetterMayBeWrong) {
    EXPECT_THAT(meantBy("wwpm", kWords), ElementsAre("wwpn"));
    EXPECT_THAT(meantBy("wxxn", kWords), ElementsAre());
    EXPECT_THAT(meantBy("dsks", kWords), ElementsAre("disks"));
}

TEST(Suggestion, IsTheWordThatBeginsSo) {
    EXPECT_THAT(meantBy("remove-", kWords), ElementsAre("remove-dead", "remove"));
    EXPECT_THAT(meantBy("do", kWords), ElementsAre("doctor"));
    EXPECT_THAT(meantBy("d", kWords), ElementsAre());
    EXPECT_THAT(meantBy("", kWords), ElementsAre());
}

TEST(Suggestion, TakesNoTimeForALongWord) {
    EXPECT_THAT(meantBy(std::string(1000000, 'd'), kWords), ElementsAre());
    EXPECT_THAT(meantBy(std::string(65, 'd'), {std::string(64, 'd')}), ElementsAre());
    EXPECT_THAT(meantBy(std::string(63, 'd') + "x", {std::string(64, 'd')}),
                ElementsAre(std::string(64, 'd')));
}

TEST(Suggestion, ReadsAsAQuestion) {
    EXPECT_EQ(suggestion("devcies", kWords), " (did you mean 'devices'?)");
    EXPECT_EQ(suggestion("remove-", kWords), " (did you mean 'remove-dead' or 'remove'?)");
    EXPECT_EQ(suggestion("zzz", kWords), "");
}

TEST(CliHelp, EveryCommandHasASummaryAndAnExampleOfItself) {
    CliMachine machine({});
    const CliResult result = machine.run({"help", "--json"});
    ASSERT_EQ(result.status, 0);
    const auto help = nlohmann::json::parse(result.out).at("help");
    ASSERT_GE(help.at("commands").size(), 20U);
    for (const auto& command : help.at("commands")) {
        const std::string name = command.at("name");
        EXPECT_NE(command.at("summary"), "") << name;
        ASSERT_TRUE(command.at("example").is_string()) << name;
        const std::string example = " " + command.at("example").get<std::string>() + " ";
        EXPECT_THAT(example, HasSubstr(" " + name + " "));
        EXPECT_EQ(example.find("samples/"), std::string::npos) << example;
        EXPECT_THAT(machine.run({name, "--help"}).out,
                    HasSubstr("Example:\n  " + command.at("example").get<std::string>() + "\n"));
    }
}

TEST(CliHelp, TellsOptionsAndArgumentsApart) {
    CliMachine machine({});
    const auto help = nlohmann::json::parse(machine.run({"--json", "help"}).out).at("help");
    nlohmann::json prune;
    nlohmann::json iscsi;
    for (const auto& command : help.at("commands")) {
        prune = command.at("name") == "remove" ? command : prune;
        iscsi = command.at("name") == "iscsi" ? command : iscsi;
    }
    EXPECT_EQ(prune.at("arguments").at(0).at("name"), "PATH");
    EXPECT_EQ(prune.at("options").at(0).at("names"), nlohmann::json({"-h", "--help"}));
    EXPECT_EQ(iscsi.at("commands").at(2).at("name"), "login");
    EXPECT_EQ(help.at("options").at(1).at("names"), nlohmann::json({"-V", "--version"}));
    EXPECT_EQ(help.at("options").at(2),
              nlohmann::json({{"names", {"--host"}},
                              {"value", "FILE"},
                              {"summary",
                               "Work on a recorded host instead of this machine (- is "
                               "standard input)"}}));
}

TEST(CliHelp, SaysWhatTheOptionOfThatNameSays) {
    CliMachine machine({});
    EXPECT_EQ(machine.run({"help", "wwpn"}).out, machine.run({"wwpn", "--help"}).out);
    EXPECT_EQ(machine.run({"help"}).out, machine.run({"--help"}).out);
    EXPECT_EQ(machine.run({"help"}).out, machine.run({"-h"}).out);
    EXPECT_EQ(machine.run({"help", "iscsi", "login"}).out,
              machine.run({"iscsi", "login", "--help"}).out);
    EXPECT_THAT(machine.run({"help", "iscsi", "login"}).out,
                HasSubstr("Usage: scsitool iscsi login"));
}

TEST(CliHelp, RefusesACommandThatIsNone) {
    CliMachine machine({});
    const CliResult result = machine.run({"help", "devcies"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "scsitool: there is no command 'devcies' (did you mean 'devices'?); 'scsitool help' "
              "lists the commands\n");
}

TEST(CliHelp, AWordThatNothingTakesIsNamedWithWhatItMayMean) {
    CliMachine machine({});
    EXPECT_EQ(machine.run({"devcies"}).err,
              "scsitool: unknown command 'devcies' (did you mean 'devices'?); 'scsitool help' "
              "lists the commands\n");
    EXPECT_EQ(machine.run({"wwpn", "--jsno"}).err,
              "scsitool: unknown option '--jsno' (did you mean '--json'?); see 'scsitool wwpn "
              "--help'\n");
    EXPECT_EQ(machine.run({"rescan", "--fore=1"}).err,
              "scsitool: unknown option '--fore=1' (did you mean '--force'?); see 'scsitool rescan "
              "--help'\n");
    EXPECT_EQ(machine.run({"udid", "a", "b"}).err,
              "scsitool: unexpected argument 'b'; see 'scsitool udid --help'\n");
    EXPECT_EQ(machine.run({"--trace", "10", "wwpn"}).err,
              "scsitool: --trace 10: expected a number from 1 to 9\n");
    EXPECT_EQ(machine.run({"--trace", "0", "wwpn"}).status, 2);
    EXPECT_EQ(machine.run({"-V"}).out, machine.run({"--version"}).out);
}

}  // namespace
