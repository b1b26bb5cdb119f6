#include "scsitool/kit/configuration.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>

#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"

namespace {

using namespace std::string_literals;
using qzfi_pdk_4_4::CFiConfiguration;
using qzfi_pdk_4_4::CFiConfigurationPathTool;

/// A host with one file on it, or none.
class OneFileHost : public host::ForwardingHost {
  public:
    OneFileHost() : ForwardingHost(host::linuxHost()) {}
    host::ReadResult readFile(const std::string& path) override {
        asked = path;
        host::ReadResult result;
        result.openError = error;
        result.content = text;
        return result;
    }
    std::string text;
    std::string asked;
    int error = 0;
};

constexpr unsigned kUntouched = 77;

class Configuration : public testing::Test {
  protected:
    /// The value of KEY in section "S" of this text.
    unsigned valueIn(const std::string& text, const std::string& key = "KEY") {
        host.text = text;
        CFiConfiguration configuration;
        unsigned value = kUntouched;
        EXPECT_EQ(configuration.importConfig("/etc/scsitool", "x.conf"), 0);
        EXPECT_EQ(configuration.openSection("S", 1), 0);
        const int result = configuration.getIntegerValue(key, value);
        EXPECT_EQ(result, value == kUntouched ? 6 : 0) << text;
        return value;
    }
    OneFileHost host;
    const host::Scope scope{host};
};

TEST_F(Configuration, StandsUnderEtc) {
    std::string directory;
    std::string file;
    CFiConfigurationPathTool::getConfigFileInfo("devicefi", directory, file);
    EXPECT_EQ(directory, "/etc/scsitool");
    EXPECT_EQ(file, "devicefi.conf");
    CFiConfiguration().importConfig(directory, file);
    EXPECT_EQ(host.asked, "/etc/scsitool/devicefi.conf");
}

TEST_F(Configuration, EveryOtherFileIsReadUnderItsOwnName) {
    const std::pair<const char*, const char*> files[] = {
        {"/etc/scsitool", "devicefx.conf"}, {"/etc/scsitool", "xevicefi.conf"},
        {"/etc/scsitoox", "devicefi.conf"}, {"xetc/scsitool", "devicefi.conf"},
        {"/etc/scsitoo", "/devicefi.conf"}, {"/etc/scsitool/d", "vicefi.conf"},
        {"/etc/scsitool", "x.conf"},        {"/etc/scsitool", "devicefi.config"},
        {"etc/scsitool/", "devicefi.conf"}, {"/etc/scsitook", "devicefi.conf"},
        {"/etc/scsitool", "devicefi.cone"}, {"", ""}};
    for (const auto& [directory, file] : files) {
        CFiConfiguration().importConfig(directory, file);
        EXPECT_EQ(host.asked, std::string(directory) + "/" + file);
    }
}

TEST_F(Configuration, ReadsNumbersOfASection) {
    EXPECT_EQ(valueIn("[S]\nKEY=8\n"), 8U);
    EXPECT_EQ(valueIn("[S]\nKEY = 8"), 8U);
    EXPECT_EQ(valueIn("  [ S ]  \r\n\t KEY \t=\t 8 \r\n"), 8U);
    EXPECT_EQ(valueIn("[S]\nKEY=0\n"), 0U);
    EXPECT_EQ(valueIn("[S]\nKEY=0012\n"), 12U);
}

TEST_F(Configuration, TellsSectionsApart) {
    EXPECT_EQ(valueIn("KEY=1\n[T]\nKEY=2\n[S]\nKEY=3\n[U]\nKEY=4\n"), 3U);
    EXPECT_EQ(valueIn("KEY=1\n[T]\nKEY=2\n"), kUntouched);
    EXPECT_EQ(valueIn("[s]\nKEY=2\n"), kUntouched);
}

TEST_F(Configuration, ASectionMayHaveNoNameAndNeedsBothBrackets) {
    EXPECT_EQ(valueIn("[S]\n[]\nKEY=8\n"), kUntouched);
    EXPECT_EQ(valueIn("[S]\n[\nKEY=8\n"), 8U);
    EXPECT_EQ(valueIn("[S]\n]\nKEY=8\n"), 8U);
    EXPECT_EQ(valueIn("[S]\nT]\nKEY=8\n"), 8U);
    EXPECT_EQ(valueIn("[S]\n[T\nKEY=8\n"), 8U);
}

// A copy that looked into its source would see what the source reads next, or freed memory.
TEST_F(Configuration, ACopyKeepsItsOwnSection) {
    host.text = "[SECTION]\nKEY = 1\n";
    CFiConfiguration source;
    EXPECT_EQ(source.importConfig("/etc/scsitool", "x.conf"), 0);
    EXPECT_EQ(source.openSection("SECTION", 0), 0);
    const CFiConfiguration copy(source);
    CFiConfiguration assigned;
    assigned = source;
    host.text = "[SECTION]\nKEY = 2\n";
    EXPECT_EQ(source.importConfig("/etc/scsitool", "x.conf"), 0);
    unsigned value = kUntouched;
    EXPECT_EQ(copy.getIntegerValue("KEY", value), 0);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(assigned.getIntegerValue("KEY", value), 0);
    EXPECT_EQ(value, 1U);
    // The source has no section open behind its second import.
    EXPECT_EQ(source.getIntegerValue("KEY", value), 6);
}

TEST_F(Configuration, KeysAreToldApartByTheirCase) {
    EXPECT_EQ(valueIn("[S]\nkey=2\n"), kUntouched);
}

TEST_F(Configuration, CommentsReachToTheEndOfTheLine) {
    EXPECT_EQ(valueIn("# KEY=1\n[S] # section\n;KEY=2\nKEY=3 ; KEY=4\n"), 3U);
}

TEST_F(Configuration, LastValueOfAKeyCounts) {
    EXPECT_EQ(valueIn("[S]\nKEY=1\nKEY=2\n"), 2U);
    EXPECT_EQ(valueIn("[S]\nKEY=1\n[T]\nKEY=5\n[S]\nKEY=3\n"), 3U);
    EXPECT_EQ(valueIn("[S]\nKEY=1\nKEY=garbage\n"), kUntouched);
}

TEST_F(Configuration, NumberBeyondThirtyTwoBitsIsNoValue) {
    EXPECT_EQ(valueIn("[S]\nKEY=4294967294\n"), 4294967294U);
    EXPECT_EQ(valueIn("[S]\nKEY=4294967295\n"), 4294967295U);
    EXPECT_EQ(valueIn("[S]\nKEY=4294967296\n"), kUntouched);
    EXPECT_EQ(valueIn("[S]\nKEY=" + std::string(100000, '9')), kUntouched);
}

TEST_F(Configuration, TextThatIsNoNumberIsNoValue) {
    for (const std::string& text :
         {""s, "abc"s, "8x"s, "8 9"s, "-1"s, "+1"s, "0x8"s, "8.0"s, "8\0"s, "\"8\""s, "=8"s}) {
        EXPECT_EQ(valueIn("[S]\nKEY=" + text + "\n"), kUntouched) << text;
    }
}

TEST_F(Configuration, GarbageAroundAValueSurvives) {
    std::string garbage;
    for (int byte = 0; byte < 256; ++byte) {
        garbage += static_cast<char>(byte);
    }
    EXPECT_EQ(valueIn(garbage + "\n[S]\n" + garbage + "\nKEY=8\n[\n]\n[]\n=\n==\n" + garbage), 8U);
    EXPECT_EQ(valueIn("[S]\n" + std::string(100000, '[') + "\nKEY=8"), 8U);
    EXPECT_EQ(valueIn("[S\nKEY=8\n"), kUntouched);
}

TEST_F(Configuration, KeyWithANulIsAnotherKey) {
    EXPECT_EQ(valueIn("[S]\nKEY\0=8\n"s), kUntouched);
    EXPECT_EQ(valueIn("[S]\nKEY\0=8\n"s, "KEY\0"s), 8U);
}

TEST_F(Configuration, FileThatCannotBeReadHasNoSections) {
    host.error = ENOENT;
    CFiConfiguration configuration;
    unsigned value = kUntouched;
    EXPECT_EQ(configuration.importConfig("/etc/scsitool", "x.conf"), 6);
    EXPECT_EQ(configuration.openSection("S", 1), 6);
    EXPECT_EQ(configuration.getIntegerValue("KEY", value), 6);
    EXPECT_EQ(value, kUntouched);
}

TEST_F(Configuration, MissingSectionIsCreatedOnlyOnDemand) {
    host.text = "[T]\nKEY=2\n";
    CFiConfiguration configuration;
    unsigned value = kUntouched;
    EXPECT_EQ(configuration.importConfig("/etc/scsitool", "x.conf"), 0);
    EXPECT_EQ(configuration.openSection("S", 0), 6);
    EXPECT_EQ(configuration.getIntegerValue("KEY", value), 6);
    EXPECT_EQ(configuration.openSection("S", 1), 0);
    EXPECT_EQ(configuration.openSection("S", 0), 0);
    EXPECT_EQ(configuration.getIntegerValue("KEY", value), 6);
    EXPECT_EQ(configuration.openSection("T", 0), 0);
    EXPECT_EQ(configuration.getIntegerValue("KEY", value), 0);
    EXPECT_EQ(value, 2U);
}

TEST_F(Configuration, ImportReplacesTheFormerContent) {
    CFiConfiguration configuration;
    unsigned value = kUntouched;
    host.text = "[S]\nKEY=1\n";
    EXPECT_EQ(configuration.importConfig("/etc/scsitool", "x.conf"), 0);
    EXPECT_EQ(configuration.openSection("S", 0), 0);
    host.text = "[T]\nKEY=2\n";
    EXPECT_EQ(configuration.importConfig("/etc/scsitool", "x.conf"), 0);
    EXPECT_EQ(configuration.getIntegerValue("KEY", value), 6);
    EXPECT_EQ(configuration.openSection("S", 0), 6);
}

}  // namespace
