#include "recording/text/json_tree.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "recording/text/strict_json.h"

namespace {

using nlohmann::json;
using recording::JsonMember;
using recording::JsonTree;
using recording::JsonValue;

json documentOf(const JsonValue& value) {
    switch (value.kind) {
        case JsonValue::Kind::kObject: {
            json object = json::object();
            for (const JsonMember& member : value.members) {
                object[std::string(member.name)] = documentOf(member.value);
            }
            return object;
        }
        case JsonValue::Kind::kArray: {
            json array = json::array();
            for (const JsonMember& element : value.members) {
                array.push_back(documentOf(element.value));
            }
            return array;
        }
        case JsonValue::Kind::kString:
            return std::string(value.text);
        default:
            return json::parse(value.text);
    }
}

// What becomes of a text: the document as it is written, or the place and the reason.
template <class Read>
std::string outcomeOf(const std::string& text, const Read& read) {
    try {
        return "taken: " + read(text).dump();
    } catch (const recording::JsonError& error) {
        return "refused: " + error.place() + ": " + error.what();
    }
}

std::string ofTree(const std::string& text) {
    return outcomeOf(text, [](const std::string& one) { return documentOf(JsonTree(one).root()); });
}

std::string ofStrictJson(const std::string& text) {
    return outcomeOf(text, recording::parseStrictJson);
}

// Opening brackets, and as many that close.
std::string nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(JsonTree, TakesTheTextsThatStrictJsonTakes) {
    for (const std::string text :
         {R"({"b":[1,-2,3.5,1e2,-0,0,0.0],"a":{"":null},"c":[true,false,[],{}]})", R"("text")",
          " \t\r\n7 \t\r\n", "\xEF\xBB\xBF[]",
          R"(["\"\\\/\b\f\n\r\t\u0000\u00e9\uD83D\uDE00\uFFFF"])",
          "[\"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 \x7F\"]", "[18446744073709551616]",
          "[123456789012345678901234567890]", R"({"a\u0062":1,"aB":2})"}) {
        EXPECT_EQ(ofTree(text), ofStrictJson(text)) << text;
        EXPECT_EQ(ofTree(text).substr(0, 6), "taken:") << text;
    }
}

TEST(JsonTree, WritesEscapedCharactersInTheBytesOfTheirWidth) {
    const std::pair<const char*, const char*> characters[] = {
        {"\\u0001", "\x01"},
        {"\\u007F", "\x7F"},
        {"\\u0080", "\xC2\x80"},
        {"\\u07ff", "\xDF\xBF"},
        {"\\u0800", "\xE0\xA0\x80"},
        {"\\uD7FF", "\xED\x9F\xBF"},
        {"\\uE000", "\xEE\x80\x80"},
        {"\\uffff", "\xEF\xBF\xBF"},
        {"\\uD800\\uDC00", "\xF0\x90\x80\x80"},
        {"\\uDBFF\\uDFFF", "\xF4\x8F\xBF\xBF"},
    };
    for (const auto& [escape, bytes] : characters) {
        const std::string text = std::string("\"") + escape + escape + "\"";
        const JsonTree tree(text);
        EXPECT_EQ(tree.root().text, std::string(bytes) + bytes) << escape;
    }
    for (const char* const text : {"\"\\uDBFF\\uE000\"", "\"\\uDBFF\\uDBFF\"", "\"\\uDC00\\uDC00\"",
                                   "\"\\uDFFF\"", "\"\\u12\"", "\"\\u-123\"", "\"\\u 123\""}) {
        EXPECT_EQ(ofTree(text).substr(0, 8), "refused:") << text;
        EXPECT_EQ(ofTree(text), ofStrictJson(text)) << text;
    }
}

TEST(JsonTree, ANumberOfManyDigitsMayBeBeyondEveryRange) {
    for (const std::size_t digits : {18U, 19U, 20U, 308U, 309U, 400U}) {
        for (const char* const front : {"", "-", "0."}) {
            const std::string text = front + std::string(digits, '9');
            EXPECT_EQ(ofTree(text), ofStrictJson(text)) << text;
        }
    }
}

TEST(JsonTree, RefusesWhatStrictJsonRefusesInItsWords) {
    for (const std::string text : {"",
                                   " ",
                                   "\xEF\xBB",
                                   "{",
                                   "[",
                                   "[1,]",
                                   "[1 2]",
                                   R"({"a"})",
                                   R"({"a":1,})",
                                   R"({a:1})",
                                   R"({"a":1,"a":2})",
                                   R"({"ab":1,"a\u0062":2})",
                                   "01",
                                   "-",
                                   "1.",
                                   ".5",
                                   "1e",
                                   "1e+",
                                   "+1",
                                   "1e400",
                                   "-1e400",
                                   "nul",
                                   "truefalse",
                                   "[] []",
                                   R"("\q")",
                                   R"("\u12")",
                                   R"("\u12G4")",
                                   R"("\uDC00")",
                                   R"("\uD800")",
                                   R"("\uD800x")",
                                   R"("\uD800\u0041")",
                                   "\"\n\"",
                                   "\"\\",
                                   "\"\\\"",
                                   "\"a",
                                   "\"\xC0\x80\"",
                                   "\"\xED\xA0\x80\"",
                                   "\"\xC3\"",
                                   "\"\xF4\x90\x80\x80\""}) {
        EXPECT_EQ(ofTree(text), ofStrictJson(text)) << text;
        EXPECT_EQ(ofTree(text).substr(0, 8), "refused:") << text;
    }
    for (const std::string& text : {std::string("[1]\0", 4), std::string("[1]\0]", 5),
                                    std::string("[1\0]", 4), std::string("\0", 1)}) {
        EXPECT_EQ(ofTree(text), ofStrictJson(text)) << text.size();
    }
    EXPECT_EQ(ofTree(R"({"a":{"x":1,"x":2},"b":})"), ofStrictJson(R"({"a":{"x":1,"x":2},"b":})"));
}

TEST(JsonTree, GoesAsDeepAsStrictJson) {
    EXPECT_EQ(ofTree(nested(recording::kDeepestJson)).substr(0, 6), "taken:");
    const std::string tooDeep = nested(recording::kDeepestJson + 1);
    EXPECT_EQ(ofTree(tooDeep).substr(0, 8), "refused:");
    EXPECT_EQ(ofTree(tooDeep), ofStrictJson(tooDeep));
    EXPECT_EQ(ofTree(std::string(100000, '[')), ofStrictJson(std::string(100000, '[')));
}

// Every text cut anywhere, and every byte of it replaced.
TEST(JsonTree, AgreesWithStrictJsonOnWhateverItIsGiven) {
    const std::string whole =
        R"({"b":["\u00e9\n\uD83D\uDE00",-10.25e+3],"a":{"x":null,"y":[true,{}]},"c":")"
        "\xC3\xA9\"}";
    std::size_t taken = 0;
    for (std::size_t place = 0; place < whole.size(); ++place) {
        const std::string cut = whole.substr(0, place);
        EXPECT_EQ(ofTree(cut), ofStrictJson(cut)) << cut;
        for (const char other : {'"', '\\', '{', ']', ',', ':', '0', '-', 'e', '.', 'u', 'D', ' ',
                                 '\0', '\n', '\x7f', '\x80', '\xc3', '\xff'}) {
            std::string text = whole;
            text[place] = other;
            const std::string outcome = ofTree(text);
            EXPECT_EQ(outcome, ofStrictJson(text)) << text;
            taken += outcome.compare(0, 6, "taken:") == 0 ? 1U : 0U;
        }
    }
    EXPECT_GT(taken, 50U);
}

TEST(JsonTree, PointsIntoTheTextWhereItCan) {
    const std::string text = R"({"plain":"a stretch of text"})";
    const JsonTree tree(text);
    const JsonValue* const plain = tree.root().find("plain");
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->text.data(), text.data() + text.find("a stretch"));
    EXPECT_EQ(tree.root().find("other"), nullptr);
    EXPECT_EQ(plain->find(""), nullptr);
}

// A text of nothing but short lists is what a hostile recording is made of.
TEST(JsonTree, ShortListsTakeNoMoreRoomThanTheirMembers) {
    constexpr std::size_t kLists = 10000;
    std::string text = "[[0]";
    for (std::size_t i = 1; i < kLists; ++i) {
        text += ",[0]";
    }
    text += "]";
    const recording::JsonTree tree(text);
    EXPECT_EQ(tree.root().members.size(), kLists);
    EXPECT_EQ(tree.root().members.begin()->value.members.size(), 1U);
    EXPECT_LE(tree.memberBytes(), (2 * kLists + 1024) * sizeof(JsonMember));
}

TEST(JsonTree, MembersStandInTheOrderOfTheirNames) {
    const std::string text = R"({"b": 2, "c": 3, "a": 1})";
    const recording::JsonTree tree(text);
    std::string names;
    for (const JsonMember& member : tree.root().members) {
        names += member.name;
        names += member.value.text;
    }
    EXPECT_EQ(names, "a1b2c3");
}

}  // namespace
