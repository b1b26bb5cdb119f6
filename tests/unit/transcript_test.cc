#include "recording/asking/transcript.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using recording::Transcript;
using Question = Transcript::Question;

struct Heard {
    bool isAnswered = false;
    int result = 0;
    std::string data;
};

Heard ask(Transcript& transcript, Question question, const std::string& key) {
    Transcript::Answer answer;
    Heard heard;
    heard.isAnswered = transcript.next(question, key, answer);
    heard.result = answer.result;
    heard.data = answer.data;
    return heard;
}

Transcript sample() {
    Transcript transcript;
    transcript.add(Question::kOpen, "a", {0, {}});
    transcript.add(Question::kCommand, "std", {2, "sense"});
    transcript.add(Question::kCommand, "std", {0, std::string("data\0\1", 6)});
    transcript.add(Question::kCommand, "83", {-EIO, {}});
    return transcript;
}

TEST(Transcript, AnswersAQuestionInTheOrderItWasAskedAndThenStays) {
    Transcript transcript = sample();
    EXPECT_EQ(ask(transcript, Question::kCommand, "std").result, 2);
    const Heard second = ask(transcript, Question::kCommand, "std");
    EXPECT_EQ(second.result, 0);
    EXPECT_EQ(second.data, std::string("data\0\1", 6));
    EXPECT_EQ(ask(transcript, Question::kCommand, "std").data, second.data);
    EXPECT_EQ(ask(transcript, Question::kCommand, "83").result, -EIO);
}

TEST(Transcript, AnswersNothingThatWasNotAsked) {
    Transcript transcript = sample();
    EXPECT_FALSE(ask(transcript, Question::kOpen, "b").isAnswered);
    EXPECT_FALSE(ask(transcript, Question::kOpen, "").isAnswered);
    EXPECT_FALSE(ask(transcript, Question::kSgIo, "std").isAnswered);
    EXPECT_FALSE(ask(transcript, Question::kCommand, "8").isAnswered);
    EXPECT_FALSE(ask(transcript, Question::kCommand, "834").isAnswered);
}

TEST(Transcript, IsReadAsItWasWritten) {
    Transcript read;
    ASSERT_TRUE(read.read(sample().text()));
    EXPECT_EQ(read.text(), sample().text());
    EXPECT_EQ(ask(read, Question::kOpen, "a").result, 0);
    EXPECT_EQ(ask(read, Question::kCommand, "std").data, "sense");
    EXPECT_EQ(ask(read, Question::kCommand, "std").data, std::string("data\0\1", 6));
    EXPECT_EQ(ask(read, Question::kCommand, "83").result, -EIO);
}

// Which answers were given is for whoever reads to know.
TEST(Transcript, WithAnAnswerThatCountsAsGivenIsNone) {
    constexpr std::size_t kGiven = 11;
    for (const char given : {'\0', '\1', '\x80'}) {
        std::string text = sample().text();
        text[kGiven] = given;
        Transcript read;
        EXPECT_EQ(read.read(text), given == '\0') << static_cast<int>(given);
    }
}

TEST(Transcript, OfNothingHasNoAnswer) {
    Transcript read;
    EXPECT_TRUE(read.read(""));
    EXPECT_FALSE(ask(read, Question::kOpen, "a").isAnswered);
}

// Whatever is missing at its end is missing from the last entry.
TEST(Transcript, CutAnywhereButBetweenEntriesIsNone) {
    const std::string text = sample().text();
    Transcript one;
    one.add(Question::kOpen, "a", {0, {}});
    Transcript two = one;
    two.add(Question::kCommand, "std", {2, "sense"});
    Transcript three = two;
    three.add(Question::kCommand, "std", {0, std::string("data\0\1", 6)});
    for (std::size_t length = 0; length < text.size(); ++length) {
        const bool isWhole = length == 0 || length == one.text().size() ||
                             length == two.text().size() || length == three.text().size();
        Transcript read;
        EXPECT_EQ(read.read(text.substr(0, length)), isWhole) << length;
    }
}

TEST(Transcript, WithLengthsBeyondItsEndIsNone) {
    constexpr std::size_t kDataLength = 0;
    constexpr std::size_t kKeyLength = 8;
    for (const std::size_t offset : {kDataLength, kKeyLength}) {
        std::string text = sample().text();
        text[offset + 1] = '\x7f';
        Transcript read;
        EXPECT_FALSE(read.read(text)) << offset;
        EXPECT_FALSE(ask(read, Question::kOpen, "a").isAnswered) << "nothing is taken of it";
    }
}

TEST(Transcript, WithAnUnknownQuestionIsNone) {
    constexpr std::size_t kQuestion = 10;
    for (const int question : {0, 1, 6, 7, 255}) {
        std::string text = sample().text();
        text[kQuestion] = static_cast<char>(question);
        Transcript read;
        EXPECT_EQ(read.read(text), question >= 1 && question <= 6) << question;
    }
}

}  // namespace
