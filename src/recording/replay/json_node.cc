#include "recording/replay/json_node.h"

#include "recording/text/hex.h"

namespace recording {
namespace {

constexpr std::uint64_t kLargestErrno = 4095;  // MAX_ERRNO of the kernel

}  // namespace

std::string describe(const nlohmann::json& value) {
    switch (value.type()) {
        case nlohmann::json::value_t::object:
            return "an object";
        case nlohmann::json::value_t::array:
            return "an array";
        case nlohmann::json::value_t::string:
            return "\"" + printable(value.get_ref<const std::string&>(), 40) + "\"";
        default:
            return value.dump();
    }
}

std::string readText(const JsonNode& node, const std::string& expected) {
    if (!node.value().is_string()) {
        node.refuse(expected);
    }
    return node.value().get<std::string>();
}

std::uint64_t readNumber(const JsonNode& node, std::uint64_t lowest, std::uint64_t highest) {
    const std::string expected =
        "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest);
    if (!node.value().is_number_unsigned()) {
        node.refuse(expected);
    }
    const auto number = node.value().get<std::uint64_t>();
    if (number < lowest || number > highest) {
        node.refuse(expected);
    }
    return number;
}

int readErrno(const JsonNode& node) {
    return static_cast<int>(readNumber(node, 1, kLargestErrno));
}

bool readBool(const JsonNode& node) {
    if (!node.value().is_boolean()) {
        node.refuse("true or false");
    }
    return node.value().get<bool>();
}

Bytes decodeHex(const JsonNode& node, const std::string& digits) {
    Bytes bytes;
    std::size_t badOffset = 0;
    switch (fromHex(digits, bytes, badOffset)) {
        case HexError::kNone:
            break;
        case HexError::kOddCount:
            node.refuse("an even number of hexadecimal digits", std::to_string(digits.size()));
        case HexError::kBadDigit:
            node.refuse("hexadecimal digits and nothing else",
                        "\"" + printable(digits.substr(badOffset, 1)) + "\" at digit " +
                            std::to_string(badOffset + 1));
    }
    return bytes;
}

Bytes readHex(const JsonNode& node) {
    return decodeHex(node, readText(node, "a string of hexadecimal digits"));
}

std::string readAbsolutePath(const JsonNode& node) {
    if (node.step().empty() || node.step().front() != '/') {
        node.refuse("an absolute path as the member's name", "\"" + printable(node.step()) + "\"");
    }
    return node.step();
}

[[noreturn]] void refuseMember(const JsonNode& member, const std::string& known) {
    member.refuse("one of the members " + known, "\"" + printable(member.step()) + "\"");
}

std::string readRawText(const JsonNode& node) {
    if (node.value().is_string()) {
        return node.value().get<std::string>();
    }
    if (!node.value().is_object()) {
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
