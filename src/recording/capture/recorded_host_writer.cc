#include "recording/capture/recorded_host_writer.h"

#include <nlohmann/json.hpp>

#include "recording/replay/recorded_host_file.h"
#include "recording/text/hex.h"
#include "recording/text/strict_json.h"
#include "recording/text/utf8.h"

namespace recording {
namespace {

using Json = nlohmann::ordered_json;

// A string, or its bytes where it is none that JSON can hold.
Json rawText(const std::string& text) {
    if (isUtf8(text)) {
        return text;
    }
    return {{"hex", toHex(Bytes(text.begin(), text.end()))}};
}

Json errnoObject(int error) {
    return {{"errno", error}};
}

Json fileJson(const RecordedFile& file) {
    if (file.readError != 0) {
        Json json = {{"text", file.content}, {"read_errno", file.readError}};
        if (!isUtf8(file.content)) {
            json = rawText(file.content);
            json["read_errno"] = file.readError;
        }
        return json;
    }
    return file.error != 0 ? errnoObject(file.error) : rawText(file.content);
}

Json namesJson(const std::vector<std::string>& names) {
    Json list = Json::array();
    for (const std::string& name : names) {
        list.push_back(rawText(name));
    }
    return list;
}

Json pageJson(const RecordedPage& page) {
    if (page.error != 0) {
        return errnoObject(page.error);
    }
    if (page.isAnswer()) {
        return toHex(page.bytes);
    }
    Json json = Json::object();
    if (!page.bytes.empty()) {
        json["data"] = toHex(page.bytes);
    }
    if (page.status != 0) {
        json["status"] = page.status;
    }
    if (!page.sense.empty()) {
        json["sense"] = toHex(page.sense);
    }
    if (page.hostStatus != 0) {
        json["host_status"] = page.hostStatus;
    }
    return json;
}

std::string numberText(const host::DeviceNumber& number) {
    const bool isCharacter = number.kind == host::DeviceNumber::Kind::kCharacter;
    return (isCharacter ? "c " : "") + std::to_string(number.major) + ":" +
           std::to_string(number.minor);
}

std::string addressWord(std::uint32_t word) {
    const std::uint8_t bytes[] = {
        static_cast<std::uint8_t>(word >> 24U), static_cast<std::uint8_t>(word >> 16U),
        static_cast<std::uint8_t>(word >> 8U), static_cast<std::uint8_t>(word)};
    return "0x" + toHex(bytes, sizeof bytes);
}

Json inquiryJson(const RecordedDevice& device) {
    Json inquiry = Json::object();
    if (device.standardInquiry) {
        inquiry["std"] = pageJson(*device.standardInquiry);
    }
    for (const auto& [code, page] : device.pages) {
        inquiry[toHex(&code, 1)] = pageJson(page);
    }
    return inquiry;
}

Json deviceJson(const RecordedDevice& device) {
    Json json = Json::object();
    if (device.openError != 0) {
        json["open_errno"] = device.openError;
    }
    if (device.writeError != 0) {
        json["write_errno"] = device.writeError;
    }
    if (device.givenUpAfter != 0) {
        json["given_up_after"] = device.givenUpAfter;
    }
    if (device.number.kind != host::DeviceNumber::Kind::kNone) {
        json["number"] = numberText(device.number);
    }
    if (device.inUse) {
        json["in_use"] = true;
    }
    if (device.idLunError != 0) {
        json["id_lun"] = errnoObject(device.idLunError);
    } else if (device.idLun) {
        json["id_lun"] = addressWord(*device.idLun);
    }
    if (device.sizeBytes) {
        json["size_bytes"] = *device.sizeBytes;
    }
    if (device.standardInquiry || !device.pages.empty()) {
        json["inquiry"] = inquiryJson(device);
    }
    for (const auto& [block, answer] : device.sgIo) {
        json["sg_io"][toHex(block)] = pageJson(answer);
    }
    return json;
}

Json commandJson(const RecordedCommand& command) {
    Json json = {{"command", command.command}};
    if (!command.output.empty()) {
        json["output"] = namesJson(command.output);
    }
    if (command.timedOut) {
        json["timed_out"] = true;
    } else if (command.signal != 0) {
        json["signal"] = command.signal;
    } else if (command.exitStatus != 0) {
        json["exit_status"] = command.exitStatus;
    }
    return json;
}

/// Puts the document together, one member of a section a line.
class Document {
  public:
    void add(const std::string& name, const Json& value) {
        m_text += (m_text.empty() ? "{\n  " : ",\n  ") + Json(name).dump() + ": " + value.dump();
    }
    /// `open` and `close` are the brackets around the lines.
    void addLines(const std::string& name, const std::vector<std::string>& lines, char open,
                  char close) {
        if (lines.empty()) {
            return;
        }
        m_text += (m_text.empty() ? "{\n  " : ",\n  ") + Json(name).dump() + ": " + open;
        const char* separator = "\n    ";
        for (const std::string& line : lines) {
            m_text += separator + line;
            separator = ",\n    ";
        }
        m_text += "\n  ";
        m_text += close;
    }
    /// A section of paths; `toJson` gives the value of one.
    template <class Values, class ToJson>
    void addSection(const std::string& name, const Values& values, ToJson toJson) {
        std::vector<std::string> lines;
        lines.reserve(values.size());
        for (const auto& [path, value] : values) {
            checkKey(path);
            lines.push_back(Json(path).dump() + ": " + Json(toJson(value)).dump());
        }
        addLines(name, lines, '{', '}');
    }
    static void checkKey(const std::string& text) {
        if (!isUtf8(text)) {
            throw RecordedHostError("a recorded host cannot name " + printable(text) +
                                    ", which is not UTF-8");
        }
    }
    std::string take() { return std::move(m_text += "\n}\n"); }

  private:
    std::string m_text;
};

std::string withLastSlash(const std::string& path) {
    return path.empty() || path.back() != '/' ? path + "/" : path;
}

std::map<std::string, Json> directoriesJson(const RecordedHostData& data) {
    std::map<std::string, Json> result;
    for (const auto& [path, error] : data.directoryErrors) {
        result[withLastSlash(path)] = errnoObject(error);
    }
    for (const auto& [path, names] : data.directories) {
        result[withLastSlash(path)] = namesJson(names);
    }
    return result;
}

std::vector<std::string> commentLines(const std::vector<std::string>& comment) {
    std::vector<std::string> lines;
    for (const std::string& line : comment) {
        lines.push_back(Json(toUtf8(line)).dump());
    }
    return lines;
}

}  // namespace

std::string recordedHostText(const RecordedHostData& data,
                             const std::vector<std::string>& comment) {
    Document document;
    document.add("format", kRecordedHostFormat);
    document.addLines("comment", commentLines(comment), '[', ']');
    document.add("hostname", data.hostName ? rawText(*data.hostName) : Json());
    document.add("kernel_release", data.kernelRelease);
    document.addSection("files", data.files, fileJson);
    document.addSection("directories", directoriesJson(data),
                        [](const Json& json) { return json; });
    document.addSection("links", data.links, rawText);
    document.addSection("devices", data.devices, deviceJson);
    std::vector<std::string> commands;
    for (const RecordedCommand& command : data.commands) {
        Document::checkKey(command.command);
        commands.push_back(commandJson(command).dump());
    }
    document.addLines("commands", commands, '[', ']');
    return document.take();
}

}  // namespace recording
