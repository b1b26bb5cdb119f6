#include "recording/guard/kernel/kernel_tables.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "recording/guard/effect/scsi_address.h"

namespace recording::guard {
namespace {

constexpr int kAccessMode = 3;  // O_ACCMODE: O_RDONLY is 0, O_WRONLY 1, O_RDWR 2

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

// The kernel writes blanks, tabs, line feeds and backslashes of these tables as \ooo.
std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && isOctal(text[i + 1]) &&
            isOctal(text[i + 2]) && isOctal(text[i + 3])) {
            result += static_cast<char>(std::strtol(text.substr(i + 1, 3).c_str(), nullptr, 8));
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::vector<std::string> fieldsOf(const std::string& line) {
    constexpr const char* kBlanks = " \t\n\v\f\r";
    std::vector<std::string> fields;
    std::size_t start = line.find_first_not_of(kBlanks);
    while (start != std::string::npos) {
        const std::size_t end = line.find_first_of(kBlanks, start);
        fields.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(kBlanks, end);
    }
    return fields;
}

// The field behind a label such as "Lun:".
std::string labelled(const std::vector<std::string>& fields, const char* label) {
    const auto at = std::find(fields.begin(), fields.end(), label);
    return at == fields.end() || at + 1 == fields.end() ? "" : *(at + 1);
}

std::string withoutZeros(const std::string& digits) {
    const std::size_t start = digits.find_first_not_of('0');
    return digits.empty() || start != std::string::npos
               ? digits.substr(std::min(start, digits.size()))
               : "0";
}

}  // namespace

std::vector<Mount> parseMountInfo(const std::string& text) {
    constexpr std::size_t kNumber = 2;
    constexpr std::size_t kPoint = 4;
    std::vector<Mount> mounts;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        const std::vector<std::string> fields = fieldsOf(line);
        // Any number of optional fields stands before the "-".
        const auto dash = std::find(fields.begin(), fields.end(), "-");
        if (fields.size() > kPoint && fields.end() - dash > 2) {
            mounts.push_back({fields[kNumber], unescaped(*(dash + 2)), unescaped(fields[kPoint])});
        }
    }
    return mounts;
}

std::vector<std::string> parseSwaps(const std::string& text) {
    std::vector<std::string> swaps;
    std::istringstream stream(text);
    std::string line;
    std::getline(stream, line);  // titles
    while (std::getline(stream, line)) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (!fields.empty()) {
            swaps.push_back(unescaped(fields.front()));
        }
    }
    return swaps;
}

std::vector<Partition> parsePartitions(const std::string& text) {
    constexpr std::size_t kBlocks = 2;
    constexpr std::size_t kName = 3;
    std::vector<Partition> partitions;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        const std::vector<std::string> fields = fieldsOf(line);
        const auto blocks =
            fields.size() > kName ? parseDecimal(fields[kBlocks]) : std::optional<std::uint64_t>();
        if (blocks) {
            partitions.push_back({fields[kName], *blocks});
        }
    }
    return partitions;
}

bool isOpenForWriting(const std::string& fdinfo) {
    const std::string flags = labelled(fieldsOf(fdinfo), "flags:");
    return (std::strtol(flags.c_str(), nullptr, 8) & kAccessMode) != 0;
}

bool isEnded(const std::string& stat) {
    // The name in parentheses may hold anything, parentheses too.
    const std::size_t name = stat.rfind(')');
    const std::size_t state =
        name == std::string::npos ? name : stat.find_first_not_of(' ', name + 1);
    return state != std::string::npos && (stat[state] == 'Z' || stat[state] == 'X');
}

std::vector<TableAddress> parseScsiTable(const std::string& text) {
    constexpr const char* kAdapter = "scsi";
    std::vector<TableAddress> addresses;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        const std::vector<std::string> fields = fieldsOf(line);
        const std::string host = labelled(fields, "Host:");
        if (host.compare(0, 4, kAdapter) == 0) {
            addresses.push_back({host.substr(4), withoutZeros(labelled(fields, "Channel:")),
                                 withoutZeros(labelled(fields, "Id:")),
                                 withoutZeros(labelled(fields, "Lun:"))});
        }
    }
    return addresses;
}

std::optional<host::DeviceNumber> parseNumber(const std::string& text,
                                              host::DeviceNumber::Kind kind) {
    const std::string line = firstLine(text);
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    const auto major = parseDecimal(line.substr(0, colon), UINT32_MAX);
    const auto minor = parseDecimal(line.substr(colon + 1), UINT32_MAX);
    if (!major || !minor) {
        return std::nullopt;
    }
    return host::DeviceNumber{kind, static_cast<unsigned>(*major), static_cast<unsigned>(*minor)};
}

std::string numberText(const host::DeviceNumber& number) {
    return std::to_string(number.major) + ":" + std::to_string(number.minor);
}

bool isSame(const host::DeviceNumber& a, const host::DeviceNumber& b) {
    return a.kind != host::DeviceNumber::Kind::kNone && a.kind == b.kind && a.major == b.major &&
           a.minor == b.minor;
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

std::string trimmed(const std::string& text) {
    return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}

}  // namespace recording::guard
