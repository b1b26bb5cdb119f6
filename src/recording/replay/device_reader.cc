#include "recording/replay/device_reader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>

#include "recording/text/hex.h"

namespace recording {
namespace {

constexpr std::size_t kLongestSense = 255;
constexpr std::uint64_t kLongestDeadline = 3600;  // seconds

// A request that the device ended otherwise than with GOOD, or that did not reach it.
RecordedPage readResponse(const JsonNode& node) {
    RecordedPage page;
    bool isThere = false;
    node.forEachMember([&](const JsonNode& member) {
        if (member.step() == "data") {
            page.bytes = readHex(member);
        } else if (member.step() == "status") {
            page.status = static_cast<std::uint8_t>(readNumber(member, 0, 255));
        } else if (member.step() == "sense") {
            page.sense = readHex(member);
            if (page.sense.size() > kLongestSense) {
                member.refuse("at most " + std::to_string(kLongestSense) + " bytes",
                              std::to_string(page.sense.size()));
            }
        } else if (member.step() == "host_status") {
            page.hostStatus = static_cast<std::uint16_t>(readNumber(member, 0, 65535));
        } else {
            refuseMember(member, "data, status, sense, host_status, comment");
        }
        isThere = true;
    });
    if (!isThere) {
        node.refuse("errno, or one of data, status, sense and host_status",
                    "an object without them");
    }
    return page;
}

RecordedPage readPage(const JsonNode& node) {
    RecordedPage page;
    if (node.value().find("errno") != nullptr) {
        page.error = readOnlyErrno(node);
    } else if (node.value().isObject()) {
        page = readResponse(node);
    } else if (node.value().isString()) {
        page.bytes = readHex(node);
    } else {
        node.refuse(
            "a string of hexadecimal digits, {\"errno\": N} or {\"data\": \"...\", \"status\": N, "
            "\"sense\": \"...\", \"host_status\": N}");
    }
    return page;
}

void readInquiry(const JsonNode& node, RecordedDevice& device) {
    node.forEachMember([&device](const JsonNode& member) {
        const std::string_view name = member.step();
        if (name == "std") {
            device.standardInquiry = readPage(member);
            return;
        }
        Bytes code;
        std::size_t badOffset = 0;
        if (fromHex(name, code, badOffset) != HexError::kNone || code.size() != 1 ||
            toHex(code) != name) {
            member.refuse("std or a page code of two lower-case hexadecimal digits",
                          "\"" + printable(std::string(name)) + "\"");
        }
        device.pages[code.front()] = readPage(member);
    });
}

void readSgIo(const JsonNode& node, RecordedDevice& device) {
    node.forEachMember([&device](const JsonNode& member) {
        const Bytes block = decodeHex(member, member.step());
        if (block.empty()) {
            member.refuse("a command block in hexadecimal as the member's name", "nothing");
        }
        if (!device.sgIo.emplace(block, readPage(member)).second) {
            member.refuse("each command block once", "it again in other letters");
        }
    });
}

std::uint32_t readIdLun(const JsonNode& node) {
    const std::string expected =
        "a string of 0x and one to eight hexadecimal digits, or {\"errno\": N}";
    std::string digits = readText(node, expected);
    if (digits.compare(0, 2, "0x") != 0 || digits.size() < 3 || digits.size() > 10) {
        node.refuse(expected);
    }
    digits.erase(0, 2);
    Bytes bytes;
    std::size_t badOffset = 0;
    if (fromHex(digits.size() % 2 == 0 ? digits : "0" + digits, bytes, badOffset) !=
        HexError::kNone) {
        node.refuse(expected);
    }
    std::uint32_t word = 0;
    for (const std::uint8_t byte : bytes) {
        word = word * 256U + byte;
    }
    return word;
}

void readAddressWord(const JsonNode& node, RecordedDevice& device) {
    if (node.value().isObject()) {
        device.idLunError = readOnlyErrno(node);
    } else {
        device.idLun = readIdLun(node);
    }
}

// The kernel's dev_t: twelve bits of major and twenty of minor number.
constexpr unsigned kLargestMajor = 0xFFF;
constexpr unsigned kLargestMinor = 0xFFFFF;

// Decimal without leading zeros, as sysfs writes it. Gives false for anything else.
bool readDecimal(const std::string& digits, unsigned largest, unsigned& number) {
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && stop == end && number <= largest &&
           std::to_string(number) == digits;
}

host::DeviceNumber readDeviceNumber(const JsonNode& node) {
    const std::string expected =
        "\"MAJOR:MINOR\" for a block device, \"c MAJOR:MINOR\" for a character device";
    std::string text = readText(node, expected);
    host::DeviceNumber number;
    number.kind = host::DeviceNumber::Kind::kBlock;
    if (text.compare(0, 2, "c ") == 0) {
        number.kind = host::DeviceNumber::Kind::kCharacter;
        text.erase(0, 2);
    }
    const std::size_t colon = std::min(text.find(':'), text.size());
    if (colon == text.size() || !readDecimal(text.substr(0, colon), kLargestMajor, number.major) ||
        !readDecimal(text.substr(colon + 1), kLargestMinor, number.minor)) {
        node.refuse(expected);
    }
    return number;
}

}  // namespace

RecordedDevice readDevice(const JsonNode& node) {
    RecordedDevice device;
    node.forEachMember([&device](const JsonNode& member) {
        if (member.step() == "open_errno") {
            device.openError = readErrno(member);
        } else if (member.step() == "write_errno") {
            device.writeError = readErrno(member);
        } else if (member.step() == "given_up_after") {
            device.givenUpAfter = static_cast<unsigned>(readNumber(member, 1, kLongestDeadline));
        } else if (member.step() == "id_lun") {
            readAddressWord(member, device);
        } else if (member.step() == "size_bytes") {
            device.sizeBytes = readNumber(member, 0, std::numeric_limits<std::uint64_t>::max());
        } else if (member.step() == "number") {
            device.number = readDeviceNumber(member);
        } else if (member.step() == "in_use") {
            device.inUse = readBool(member);
        } else if (member.step() == "inquiry") {
            readInquiry(member, device);
        } else if (member.step() == "sg_io") {
            readSgIo(member, device);
        } else {
            refuseMember(member,
                         "open_errno, write_errno, given_up_after, id_lun, size_bytes, number, "
                         "in_use, inquiry, sg_io, comment");
        }
    });
    return device;
}

}  // namespace recording
