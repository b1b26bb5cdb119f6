#include "recording/replay/recorded_host_file.h"

#include <string_view>
#include <system_error>
#include <utility>

#include "recording/replay/device_reader.h"
#include "recording/replay/json_node.h"
#include "recording/text/json_tree.h"
#include "recording/text/strict_json.h"
#include "scsitool/host/own_files.h"

namespace recording {
namespace {

constexpr std::size_t kLongestTarget = 4095;  // PATH_MAX without its NUL

// A file whose read fails behind what is recorded: {"text" or "hex": ..., "read_errno": N}.
RecordedFile readBrokenFile(const JsonNode& node) {
    RecordedFile file;
    int contents = 0;
    node.forEachMember([&](const JsonNode& member) {
        if (member.step() == "read_errno") {
            file.readError = readErrno(member);
        } else if (member.step() == "text") {
            file.content = readText(member);
            ++contents;
        } else if (member.step() == "hex") {
            const Bytes bytes = readHex(member);
            file.content.assign(bytes.begin(), bytes.end());
            ++contents;
        } else {
            refuseMember(member, "text, hex, read_errno, comment");
        }
    });
    if (contents > 1) {
        node.refuse("one of text and hex", "both");
    }
    return file;
}

RecordedFile readFile(const JsonNode& node) {
    RecordedFile file;
    if (node.value().find("read_errno") != nullptr) {
        return readBrokenFile(node);
    }
    if (node.value().find("errno") != nullptr) {
        file.error = readOnlyErrno(node);
    } else if (node.value().isObject() || node.value().isString()) {
        file.content = readRawText(node);
    } else {
        node.refuse(
            "a string, {\"hex\": \"...\"}, {\"errno\": N} or {\"text\": \"...\", \"read_errno\": "
            "N}");
    }
    return file;
}

std::vector<std::string> readNames(const JsonNode& node) {
    std::vector<std::string> names;
    names.reserve(node.value().members.size());
    node.forEachElement("an array of names or {\"errno\": N}", [&names](const JsonNode& element) {
        std::string name = readRawText(element);
        if (name.empty() || name.find('/') != std::string::npos) {
            element.refuse("a name without \"/\"");
        }
        names.push_back(std::move(name));
    });
    return names;
}

// What symlink(2) takes.
std::string readTarget(const JsonNode& node) {
    const std::string target = readRawText(node);
    if (target.empty() || target.size() > kLongestTarget ||
        target.find('\0') != std::string::npos) {
        node.refuse("a path of 1 to " + std::to_string(kLongestTarget) + " bytes without NUL");
    }
    return target;
}

RecordedCommand readCommand(const JsonNode& node) {
    RecordedCommand command;
    bool hasText = false;
    int ends = 0;
    node.forEachMember([&](const JsonNode& member) {
        if (member.step() == "command") {
            command.command = readText(member);
            hasText = true;
        } else if (member.step() == "output") {
            member.forEachElement("an array of lines", [&command](const JsonNode& line) {
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

void readDirectories(const JsonNode& node, RecordedHostData& data) {
    node.forEachMember([&data](const JsonNode& member) {
        const std::string path = readAbsolutePath(member);
        if (path.back() != '/') {
            member.refuse("a path that ends in \"/\" as the member's name",
                          "\"" + printable(path) + "\"");
        }
        if (member.value().isObject()) {
            data.directoryErrors[path] = readOnlyErrno(member);
        } else {
            data.directories.emplace_hint(data.directories.end(), path, readNames(member));
        }
    });
}

void readLinks(const JsonNode& node, RecordedHostData& data) {
    node.forEachMember([&data](const JsonNode& member) {
        const std::string path = readAbsolutePath(member);
        if (path.back() == '/') {
            member.refuse("a path that does not end in \"/\" as the member's name",
                          "\"" + printable(path) + "\"");
        }
        data.links.emplace_hint(data.links.end(), path, readTarget(member));
    });
}

void readMember(const JsonNode& member, RecordedHostData& data) {
    const std::string_view name = member.step();
    if (name == "hostname") {
        data.hostName.reset();
        if (!member.value().isNull()) {
            data.hostName = member.value().isObject() ? readRawText(member)
                                                      : readText(member, "a string or null");
        }
    } else if (name == "kernel_release") {
        data.kernelRelease = readText(member);
    } else if (name == "files") {
        member.forEachMember([&data](const JsonNode& file) {
            RecordedFile content = readFile(file);
            data.files.emplace_hint(data.files.end(), readAbsolutePath(file), std::move(content));
        });
    } else if (name == "directories") {
        readDirectories(member, data);
    } else if (name == "devices") {
        member.forEachMember([&data](const JsonNode& node) {
            RecordedDevice device = readDevice(node);
            data.devices.emplace_hint(data.devices.end(), readAbsolutePath(node),
                                      std::move(device));
        });
    } else if (name == "links") {
        readLinks(member, data);
    } else if (name == "commands") {
        member.forEachElement("an array of commands", [&data](const JsonNode& command) {
            data.commands.push_back(readCommand(command));
        });
    } else if (name != "format") {
        refuseMember(member,
                     "format, hostname, kernel_release, files, directories, devices, links, "
                     "commands, comment");
    }
}

void checkRecordedHostFormat(const JsonNode& root) {
    if (!root.value().isObject()) {
        root.refuse("an object");
    }
    const JsonValue* const format = root.value().find("format");
    if (format == nullptr) {
        root.refuse("the member format", "an object without it");
    }
    if (!format->isString() || format->text != kRecordedHostFormat) {
        JsonNode(*format, &root, "format").refuse("\"" + std::string(kRecordedHostFormat) + "\"");
    }
}

}  // namespace

RecordedHostData parseRecordedHost(const std::string& text, const std::string& name) {
    const std::string file = printable(name, 4096) + ": ";
    if (text.size() > kLargestRecordedHost) {
        throw RecordedHostError(file + "expected at most " + std::to_string(kLargestRecordedHost) +
                                " bytes, found " + std::to_string(text.size()));
    }
    try {
        const JsonTree tree(text);
        const JsonNode root(tree.root(), nullptr, "");
        checkRecordedHostFormat(root);
        RecordedHostData data;
        root.forEachMember([&data](const JsonNode& member) { readMember(member, data); });
        return data;
    } catch (const JsonError& error) {
        const std::string place = error.place().empty() ? "(root)" : error.place();
        throw RecordedHostError(file + printable(place, 200) + ": " + printable(error.what(), 400));
    }
}

RecordedHostData loadRecordedHost(const std::string& path) {
    const host::ReadResult read = host::readInputFile(path);
    const std::string name = path == "-" ? "standard input" : path;
    if (read.error() != 0) {
        throw RecordedHostError(printable(name, 4096) + ": cannot be read: " +
                                std::generic_category().message(read.error()));
    }
    return parseRecordedHost(read.content, name);
}

}  // namespace recording
