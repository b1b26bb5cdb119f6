#include "recording/recorded_host_file.h"

#include <cstdint>
#include <limits>
#include <system_error>
#include <utility>

#include "recording/hex.h"
#include "recording/strict_json.h"
#include "scsitool/host/linux_host.h"

namespace recording {
namespace {

using nlohmann::json;

constexpr const char* kFormat = "scsitool-host/1";
constexpr const char* kComment = "comment";
constexpr std::size_t kLargestText = std::size_t{64} << 20;
constexpr std::uint64_t kLargestErrno = 4095;  // MAX_ERRNO of the kernel

std::string describe(const json& value) {
    switch (value.type()) {
        case json::value_t::object:
            return "an object";
        case json::value_t::array:
            return "an array";
        case json::value_t::string:
            return "\"" + printable(value.get_ref<const std::string&>(), 40) + "\"";
        default:
            return value.dump();
    }
}

/// A value and the way to it from the root.
class Node {
  public:
    Node(const json& value, const Node* parent, std::string step)
        : m_value(value), m_parent(parent), m_step(std::move(step)) {}

    const json& value() const { return m_value; }
    const std::string& step() const { return m_step; }
    std::string place() const {
        return m_parent == nullptr ? "" : m_parent->place() + pointerStep(m_step);
    }

    [[noreturn]] void refuse(const std::string& expected, const std::string& found) const {
        throw JsonError(place(), "expected " + expected + ", found " + found);
    }
    [[noreturn]] void refuse(const std::string& expected) const {
        refuse(expected, describe(m_value));
    }

    /// Calls `use(member)` for each member but the comments.
    template <class Use>
    void forEachMember(Use use) const {
        if (!m_value.is_object()) {
            refuse("an object");
        }
        for (const auto& [key, member] : m_value.items()) {
            if (key != kComment) {
                use(Node(member, this, key));
            }
        }
    }

    template <class Use>
    void forEachElement(const std::string& expected, Use use) const {
        if (!m_value.is_array()) {
            refuse(expected);
        }
        std::size_t index = 0;
        for (const json& element : m_value) {
            use(Node(element, this, std::to_string(index++)));
        }
    }

  private:
    const json& m_value;
    const Node* m_parent;
    std::string m_step;
};

std::string readText(const Node& node, const std::string& expected = "a string") {
    if (!node.value().is_string()) {
        node.refuse(expected);
    }
    return node.value().get<std::string>();
}

std::uint64_t readNumber(const Node& node, std::uint64_t lowest, std::uint64_t highest) {
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

int readErrno(const Node& node) {
    return static_cast<int>(readNumber(node, 1, kLargestErrno));
}

bool readBool(const Node& node) {
    if (!node.value().is_boolean()) {
        node.refuse("true or false");
    }
    return node.value().get<bool>();
}

Bytes decodeHex(const Node& node, const std::string& digits) {
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

Bytes readHex(const Node& node) {
    return decodeHex(node, readText(node, "a string of hexadecimal digits"));
}

std::string readAbsolutePath(const Node& node) {
    if (node.step().empty() || node.step().front() != '/') {
        node.refuse("an absolute path as the member's name", "\"" + printable(node.step()) + "\"");
    }
    return node.step();
}

[[noreturn]] void refuseMember(const Node& member, const std::string& known) {
    member.refuse("one of the members " + known, "\"" + printable(member.step()) + "\"");
}

/// A string, or an object with the one member that is asked for: `use` reads that member.
template <class Use>
void readOnlyMember(const Node& node, const std::string& name, Use use) {
    bool isThere = false;
    node.forEachMember([&](const Node& member) {
        if (member.step() != name) {
            refuseMember(member, name);
        }
        isThere = true;
        use(member);
    });
    if (!isThere) {
        node.refuse("the member " + name, "an object without it");
    }
}

/// Text that need not be UTF-8: a string, or {"hex": "..."}.
std::string readRawText(const Node& node) {
    if (node.value().is_string()) {
        return node.value().get<std::string>();
    }
    if (!node.value().is_object()) {
        node.refuse("a string or {\"hex\": \"...\"}");
    }
    std::string text;
    readOnlyMember(node, "hex", [&text](const Node& member) {
        const Bytes bytes = readHex(member);
        text.assign(bytes.begin(), bytes.end());
    });
    return text;
}

RecordedFile readFile(const Node& node) {
    RecordedFile file;
    if (node.value().is_object() && node.value().contains("errno")) {
        readOnlyMember(node, "errno",
                       [&file](const Node& member) { file.error = readErrno(member); });
    } else if (node.value().is_object() || node.value().is_string()) {
        file.content = readRawText(node);
    } else {
        node.refuse("a string, {\"hex\": \"...\"} or {\"errno\": N}");
    }
    return file;
}

std::vector<std::string> readNames(const Node& node) {
    std::vector<std::string> names;
    node.forEachElement("an array of names", [&names](const Node& element) {
        const std::string name = readRawText(element);
        if (name.empty() || name.find('/') != std::string::npos) {
            element.refuse("a name without \"/\"");
        }
        names.push_back(name);
    });
    return names;
}

RecordedPage readPage(const Node& node) {
    RecordedPage page;
    if (node.value().is_object()) {
        readOnlyMember(node, "errno",
                       [&page](const Node& member) { page.error = readErrno(member); });
    } else if (node.value().is_string()) {
        page.bytes = readHex(node);
    } else {
        node.refuse("a string of hexadecimal digits or {\"errno\": N}");
    }
    return page;
}

void readInquiry(const Node& node, RecordedDevice& device) {
    node.forEachMember([&device](const Node& member) {
        const std::string& name = member.step();
        if (name == "std") {
            device.standardInquiry = readPage(member);
            return;
        }
        Bytes code;
        std::size_t badOffset = 0;
        if (fromHex(name, code, badOffset) != HexError::kNone || code.size() != 1 ||
            toHex(code) != name) {
            member.refuse("std or a page code of two lower-case hexadecimal digits",
                          "\"" + printable(name) + "\"");
        }
        device.pages[code.front()] = readPage(member);
    });
}

void readSgIo(const Node& node, RecordedDevice& device) {
    node.forEachMember([&device](const Node& member) {
        const Bytes block = decodeHex(member, member.step());
        if (block.empty()) {
            member.refuse("a command block in hexadecimal as the member's name", "nothing");
        }
        if (!device.sgIo.emplace(block, readHex(member)).second) {
            member.refuse("each command block once", "it again in other letters");
        }
    });
}

std::uint32_t readIdLun(const Node& node) {
    const std::string expected = "a string of 0x and one to eight hexadecimal digits";
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

RecordedDevice readDevice(const Node& node) {
    RecordedDevice device;
    node.forEachMember([&device](const Node& member) {
        if (member.step() == "open_errno") {
            device.openError = readErrno(member);
        } else if (member.step() == "id_lun") {
            device.idLun = readIdLun(member);
        } else if (member.step() == "size_bytes") {
            device.sizeBytes = readNumber(member, 0, std::numeric_limits<std::uint64_t>::max());
        } else if (member.step() == "inquiry") {
            readInquiry(member, device);
        } else if (member.step() == "sg_io") {
            readSgIo(member, device);
        } else {
            refuseMember(member, "open_errno, id_lun, size_bytes, inquiry, sg_io, comment");
        }
    });
    return device;
}

RecordedCommand readCommand(const Node& node) {
    RecordedCommand command;
    bool hasText = false;
    int ends = 0;
    node.forEachMember([&](const Node& member) {
        if (member.step() == "command") {
            command.command = readText(member);
            hasText = true;
        } else if (member.step() == "output") {
            member.forEachElement("an array of lines", [&command](const Node& line) {
                command.output.push_back(readRawText(line));
            });
        } else if (member.step() == "exit_status") {
            command.exitStatus = static_cast<int>(readNumber(member, 0, 255));
            ++ends;
        } else if (member.step() == "signal") {
            command.signal = static_cast<int>(readNumber(member, 1, 127));
            ++ends;
        } else if (member.step() == "timed_out") {
            command.timedOut = readBool(member);
            ends += command.timedOut ? 1 : 0;
        } else {
            refuseMember(member, "command, output, exit_status, signal, timed_out, comment");
        }
    });
    if (!hasText) {
        node.refuse("the member command", "an object without it");
    }
    if (ends > 1) {
        node.refuse("one of exit_status, signal and timed_out", std::to_string(ends));
    }
    return command;
}

void readDirectories(const Node& node, RecordedHostData& data) {
    node.forEachMember([&data](const Node& member) {
        const std::string path = readAbsolutePath(member);
        if (path.back() != '/') {
            member.refuse("a path that ends in \"/\" as the member's name",
                          "\"" + printable(path) + "\"");
        }
        data.directories[path] = readNames(member);
    });
}

void readMember(const Node& member, RecordedHostData& data) {
    const std::string& name = member.step();
    if (name == "hostname") {
        data.hostName.reset();
        if (!member.value().is_null()) {
            data.hostName = readText(member, "a string or null");
        }
    } else if (name == "kernel_release") {
        data.kernelRelease = readText(member);
    } else if (name == "files") {
        member.forEachMember(
            [&data](const Node& file) { data.files[readAbsolutePath(file)] = readFile(file); });
    } else if (name == "directories") {
        readDirectories(member, data);
    } else if (name == "devices") {
        member.forEachMember([&data](const Node& device) {
            data.devices[readAbsolutePath(device)] = readDevice(device);
        });
    } else if (name == "commands") {
        member.forEachElement("an array of commands", [&data](const Node& command) {
            data.commands.push_back(readCommand(command));
        });
    } else if (name != "format") {
        refuseMember(member,
                     "format, hostname, kernel_release, files, directories, devices, commands, "
                     "comment");
    }
}

void checkFormat(const Node& root) {
    if (!root.value().is_object()) {
        root.refuse("an object");
    }
    const auto format = root.value().find("format");
    if (format == root.value().end()) {
        root.refuse("the member format", "an object without it");
    }
    if (*format != kFormat) {
        Node(*format, &root, "format").refuse("\"" + std::string(kFormat) + "\"");
    }
}

}  // namespace

RecordedHostData parseRecordedHost(const std::string& text, const std::string& name) {
    const std::string file = printable(name, 4096) + ": ";
    if (text.size() > kLargestText) {
        throw RecordedHostError(file + "expected at most " + std::to_string(kLargestText) +
                                " bytes, found " + std::to_string(text.size()));
    }
    try {
        const json document = parseStrictJson(text);
        const Node root(document, nullptr, "");
        checkFormat(root);
        RecordedHostData data;
        root.forEachMember([&data](const Node& member) { readMember(member, data); });
        return data;
    } catch (const JsonError& error) {
        const std::string place = error.place().empty() ? "(root)" : error.place();
        throw RecordedHostError(file + printable(place, 200) + ": " + printable(error.what(), 400));
    }
}

RecordedHostData loadRecordedHost(const std::string& path) {
    std::string text;
    const int error = host::linuxHost().readFile(path, text);
    if (error < 0) {
        throw RecordedHostError(printable(path, 4096) +
                                ": cannot be read: " + std::generic_category().message(-error));
    }
    return parseRecordedHost(text, path);
}

}  // namespace recording
