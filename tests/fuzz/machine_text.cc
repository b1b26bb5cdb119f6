#include "machine_text.h"

#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "recording/text/hex.h"

namespace fuzz {
namespace {

using recording::Bytes;

// The first word of a text, which is taken off it.
std::string takeWord(std::string_view& text) {
    const std::size_t end = std::min(text.find(' '), text.size());
    std::string word(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

unsigned long number(const std::string& word) {
    return std::strtoul(word.c_str(), nullptr, 0);
}

// An errno: failures that the format would not take are EIO.
int errnoOf(const std::string& word) {
    constexpr unsigned long kLast = 133;
    constexpr int kIo = 5;
    const unsigned long value = number(word);
    return value == 0 || value > kLast ? kIo : static_cast<int>(value);
}

Bytes bytesOf(std::string_view digits) {
    Bytes bytes;
    std::size_t bad = 0;
    recording::fromHex(digits, bytes, bad);
    return bytes;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

bool isPageCode(const std::string& word) {
    return word.size() == 2 && word.find_first_not_of("0123456789abcdef") == std::string::npos;
}

recording::RecordedPage& pageOf(recording::RecordedDevice& device, const std::string& word) {
    if (isPageCode(word)) {
        return device.pages[static_cast<std::uint8_t>(std::strtoul(word.c_str(), nullptr, 16))];
    }
    if (!device.standardInquiry) {
        device.standardInquiry.emplace();
    }
    return *device.standardInquiry;
}

void readDiskLine(std::string_view line, recording::RecordedDevice& device) {
    const std::string word = takeWord(line);
    if (word == "std" || isPageCode(word)) {
        pageOf(device, word).bytes = bytesOf(line);
    } else if (word == "sg") {
        const Bytes block = bytesOf(takeWord(line));
        device.sgIo[block].bytes = bytesOf(line);
    } else if (word == "refused") {
        const std::string page = takeWord(line);
        pageOf(device, page).error = errnoOf(takeWord(line));
    } else if (word == "id") {
        device.idLun = static_cast<std::uint32_t>(number(takeWord(line)));
    } else if (word == "size") {
        device.sizeBytes = number(takeWord(line));
    } else if (word == "number") {
        const std::string major = takeWord(line);
        device.number = {host::DeviceNumber::Kind::kBlock, static_cast<unsigned>(number(major)),
                         static_cast<unsigned>(number(takeWord(line)))};
    } else if (word == "open") {
        device.openError = errnoOf(takeWord(line));
    } else if (word == "used") {
        device.inUse = true;
    }
}

void readCommand(std::string_view title, const std::vector<std::string>& lines,
                 recording::RecordedHostData& data) {
    constexpr unsigned long kMost = 255;
    recording::RecordedCommand command;
    const unsigned long status = number(takeWord(title));
    command.timedOut = status > kMost;
    command.exitStatus = command.timedOut ? 0 : static_cast<int>(status);
    command.command = std::string(title);
    command.output = lines;
    data.commands.push_back(std::move(command));
}

void readFileSection(const std::string& kind, std::string_view title,
                     const std::vector<std::string>& lines, recording::RecordedHostData& data) {
    const int error = kind == "@file" ? 0 : errnoOf(takeWord(title));
    const std::string path(title);
    if (kind == "@closed" && !path.empty() && path.back() == '/') {
        data.directoryErrors[path] = error;
        return;
    }
    recording::RecordedFile file(joined(lines));
    (kind == "@closed" ? file.error : file.readError) = error;
    data.files[path] = std::move(file);
}

void readSection(std::string_view title, const std::vector<std::string>& lines, Machine& machine) {
    recording::RecordedHostData& data = machine.data;
    const std::string kind = takeWord(title);
    if (kind == "@ask") {
        machine.ask = number(takeWord(title));
    } else if (kind == "@file" || kind == "@unread" || kind == "@closed") {
        readFileSection(kind, title, lines, data);
    } else if (kind == "@dir") {
        data.directories[std::string(title)] = lines;
    } else if (kind == "@link") {
        const std::string path = takeWord(title);
        data.links[path] = std::string(title);
    } else if (kind == "@run") {
        readCommand(title, lines, data);
    } else if (kind == "@disk") {
        recording::RecordedDevice& device = data.devices[std::string(title)];
        for (const std::string& line : lines) {
            readDiskLine(line, device);
        }
    } else if (kind == "@kernel") {
        data.kernelRelease = std::string(title);
    } else if (kind == "@host") {
        data.hostName = std::string(title);
    }
}

}  // namespace

Machine readMachine(const std::string& text) {
    Machine machine;
    std::string title;
    std::vector<std::string> lines;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string line(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (!line.empty() && line[0] == '@') {
            readSection(title, lines, machine);
            title = line;
            lines.clear();
        } else {
            lines.push_back(line);
        }
    }
    readSection(title, lines, machine);
    return machine;
}

}  // namespace fuzz
