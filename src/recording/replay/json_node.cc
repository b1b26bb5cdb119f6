#include "recording/replay/json_node.h"

#include <charconv>
#include <system_error>

#include "recording/text/hex.h"

namespace recording {
namespace {

constexpr std::uint64_t kLargestErrno = 4095;  // MAX_ERRNO of the kernel

}  // namespace

std::string describe(const JsonValue& value) {
    switch (value.kind) {
        case JsonValue::Kind::kObject:
            return "an object";
        case JsonValue::Kind::kArray:
            return "an array";
        case JsonValue::Kind::kString:
            return "\"" + printable(std::string(value.text), 40) + "\"";
        default:
            // A number however it was written.
            return nlohmann::json::parse(value.text).dump();
    }
}

std::string readText(const JsonNode& node, const std::string& expected) {
    if (!node.value().isString()) {
        node.refuse(expected);
    }
    return std::string(node.value().text);
}

std::uint64_t readNumber(const JsonNode& node, std::uint64_t lowest, std::uint64_t highest) {
    const std::string_view text = node.value().text;
    const char* const end = text.data() + text.size();
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool isWhole = node.value().isNumber() && error == std::errc() && stop == end;
    if (!isWhole || number < lowest || number > highest) {
        node.refuse("a whole number from " + std::to_string(lowest) + " to " +
                    std::to_string(highest));
    }
    return number;
}

int readErrno(const JsonNode& node) {
    return static_cast<int>(readNumber(node, 1, kLargestErrno));
}

bool readBool(const JsonNode& node) {
    if (!node.value().isBoolean()) {
        node.refuse("true or false");
    }
    return node.value().text == "true";
}

Bytes decodeHex(const JsonNode& node, std::string_view digits) {
    Bytes bytes;
    std::size_t badOffset = 0;
    switch (fromHex(digits, bytes, badOffset)) {
        case HexError::kNone:
            break;
        case HexError::kOddCount:
            node.refuse("an even number of hexadecimal digits", std::to_string(digits.size()));
        case HexError::kBadDigit:
            node.refuse("hexadecimal digits and nothing else",
                        "\"" + printable(std::string(digits.substr(badOffset, 1))) +
                            "\" at digit " + std::to_string(badOffset + 1));
    }
    return bytes;
}

Bytes readHex(const JsonNode& node) {
    if (!node.value().isString()) {
        node.refuse("a string of hexadecimal digits");
    }
    return decodeHex(node, node.value().text);
}

std::string readAbsolutePath(const JsonNode& node) {
    if (node.step().empty() || node.step().front() != '/') {
        node.refuse("an absolute path as the member's name",
                    "\"" + printable(std::string(node.step())) + "\"");
    }
    return std::string(node.step());
}

[[noreturn]] void refuseMember(const JsonNode& member, const std::string& known) {
    member.refuse("one of the members " + known,
                  "\"" + printable(std::string(member.step())) + "\"");
}

std::string readRawText(const JsonNode& node) {
    if (node.value().isString()) {
        return std::string(node.value().text);
    }
    if (!node.value().isObject()) {
        node.refuse("a string or {\"hex\": \"...\"}");
    }
    std::string text;
    readOnlyMember(node, "hex", [&text](const JsonNode& member) {
        const Bytes bytes = readHex(member);
        text.assign(bytes.begin(), bytes.end());
    });
    return text;
}

int readOnlyErrno(const JsonNode& node) {
    int error = 0;
    readOnlyMember(node, "errno", [&error](const JsonNode& member) { error = readErrno(member); });
    return error;
}

}  // namespace recording
