#include "recording/effects/journal.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "recording/text/utf8.h"

namespace {

using recording::Journal;

std::vector<std::string> one(const std::string& line) {
    return {line};
}

TEST(Journal, RunLineSaysWhichVersionWasToldToDoWhatAndWhen) {
    EXPECT_EQ(recording::runLine("1.0.0", {"--journal", "a b\n", "gr\xC3\xBC\xFF"},
                                 "2026-11-21T11:30:42.007Z"),
              R"({"run":{"version":"1.0.0","command":["--journal","a b\n",)"
              "\"gr\xC3\x83\xC2\xBC\xC3\xBF\"],\"at\":\"2026-11-21T11:30:42.007Z\"}}");
    EXPECT_EQ(recording::runLine("", {}, ""), R"({"run":{"version":"","command":[],"at":""}})");
}

TEST(Journal, WritesACommandWithItsTimeLimit) {
    Journal journal;
    journal.addCommand("/sbin/multipath -v0 ", 600);
    EXPECT_EQ(journal.lines(),
              one(R"({"effect":"command","command":"/sbin/multipath -v0 ","timeout":600})"));
}

TEST(Journal, WritesAppendedText) {
    Journal journal;
    journal.addAppend("/proc/scsi/scsi", "scsi add-single-device 0 0 1 0\n");
    EXPECT_EQ(
        journal.lines(),
        one(R"({"effect":"append","path":"/proc/scsi/scsi","data":"scsi add-single-device 0 0 1 0\n"})"));
}

TEST(Journal, WritesAShellLine) {
    Journal journal;
    journal.addShell("/bin/echo \"a\" >  /proc/scsi/scsi");
    EXPECT_EQ(journal.lines(),
              one(R"({"effect":"shell","command":"/bin/echo \"a\" >  /proc/scsi/scsi"})"));
}

TEST(Journal, WritesAPause) {
    Journal journal;
    journal.addSleep(3);
    EXPECT_EQ(journal.lines(), one(R"({"effect":"sleep","seconds":3})"));
}

TEST(Journal, WritesWhatWasNotAnswered) {
    Journal journal;
    journal.addUnanswered("command /sbin/powermt save");
    EXPECT_EQ(journal.lines(),
              one(R"({"effect":"unanswered","what":"command /sbin/powermt save"})"));
    EXPECT_EQ(journal.unanswered(), one("command /sbin/powermt save"));
}

TEST(Journal, KeepsTheOrder) {
    Journal journal;
    journal.addSleep(1);
    journal.addUnanswered("directory /dev/");
    journal.addSleep(2);
    EXPECT_EQ(journal.lines(),
              (std::vector<std::string>{R"({"effect":"sleep","seconds":1})",
                                        R"({"effect":"unanswered","what":"directory /dev/"})",
                                        R"({"effect":"sleep","seconds":2})"}));
}

TEST(Journal, EscapesControlCharactersSoThatALineStaysALine) {
    Journal journal;
    journal.addShell(std::string("a\nb\tc\0d\x1b", 8));
    EXPECT_EQ(journal.lines(), one(R"({"effect":"shell","command":"a\nb\tc\u0000d\u001b"})"));
}

TEST(Journal, KeepsValidUtf8) {
    Journal journal;
    journal.addShell("gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(journal.lines(), one("{\"effect\":\"shell\",\"command\":\"gr\xC3\xBC\xC3\x9F\"}"));
}

TEST(Journal, WritesEveryHighByteOfOtherTextAsOneCharacter) {
    Journal journal;
    journal.addAppend("/a\xFF", "\x80\xC3\xBC\xFF");
    EXPECT_EQ(journal.lines(), one("{\"effect\":\"append\",\"path\":\"/a\xC3\xBF\",\"data\":"
                                   "\"\xC2\x80\xC3\x83\xC2\xBC\xC3\xBF\"}"));
}

TEST(Journal, WritesEachLineToItsStreamAtOnce) {
    std::ostringstream stream;
    Journal journal(stream);
    journal.addSleep(3);
    EXPECT_EQ(stream.str(), "{\"effect\":\"sleep\",\"seconds\":3}\n");
    journal.addShell("x");
    EXPECT_EQ(stream.str(),
              "{\"effect\":\"sleep\",\"seconds\":3}\n"
              "{\"effect\":\"shell\",\"command\":\"x\"}\n");
}

TEST(Journal, TakesLinesFromSeveralThreadsWhole) {
    Journal journal;
    const auto fill = [&journal] {
        for (int count = 0; count < 100; ++count) {
            journal.addSleep(7);
        }
    };
    std::thread other(fill);
    fill();
    other.join();
    EXPECT_EQ(journal.lines(), std::vector<std::string>(200, R"({"effect":"sleep","seconds":7})"));
}

TEST(Utf8, TellsWellFormedSequencesFromOthers) {
    const std::vector<std::string> wellFormed = {
        "",
        "a\x7F",
        "\xC2\x80",          // U+0080
        "\xDF\xBF",          // U+07FF
        "\xE0\xA0\x80",      // U+0800
        "\xED\x9F\xBF",      // U+D7FF
        "\xEE\x80\x80",      // U+E000
        "\xF0\x90\x80\x80",  // U+10000
        "\xF4\x8F\xBF\xBF",  // U+10FFFF
    };
    for (const std::string& text : wellFormed) {
        EXPECT_TRUE(recording::isUtf8(text)) << testing::PrintToString(text);
    }
    const std::vector<std::string> malformed = {
        "\x80",              // nothing to continue
        "\xC1\xBF",          // overlong
        "\xC3",              // cut
        "\xC3(",             // second byte is none
        "\xE0\x9F\xBF",      // overlong
        "\xED\xA0\x80",      // surrogate
        "\xE2\x82",          // cut
        "\xE2\x82(",         // third byte is none
        "\xF0\x8F\xBF\xBF",  // overlong
        "\xF4\x90\x80\x80",  // beyond U+10FFFF
        "\xF5\x80\x80\x80",
        "\xF0\x90\x80",
        "\xFF",
    };
    for (const std::string& text : malformed) {
        EXPECT_FALSE(recording::isUtf8(text)) << testing::PrintToString(text);
    }
}

}  // namespace
