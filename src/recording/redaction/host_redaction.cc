#include "recording/redaction/host_redaction.h"

#include <utility>

#include "recording/redaction/file_kind.h"
#include "recording/redaction/host_collection.h"
#include "recording/redaction/mount_table.h"
#include "recording/redaction/page_redaction.h"
#include "recording/redaction/secret_table.h"

namespace recording {
namespace {

class Redactor {
  public:
    explicit Redactor(const SecretTable& table) : m_table(table) {}

    RecordedHostData redact(const RecordedHostData& data) const {
        RecordedHostData result;
        if (data.hostName) {
            result.hostName = m_table.wholly(*data.hostName);
        } else {
            result.hostName.reset();
        }
        result.kernelRelease = m_table.replaced(data.kernelRelease);
        for (const auto& [path, file] : data.files) {
            result.files[m_table.replaced(path)] = redactFile(path, file);
        }
        for (const auto& [path, names] : data.directories) {
            std::vector<std::string>& list = result.directories[m_table.replaced(path)];
            for (const std::string& name : names) {
                list.push_back(m_table.replaced(name));
            }
        }
        for (const auto& [path, error] : data.directoryErrors) {
            result.directoryErrors[m_table.replaced(path)] = error;
        }
        for (const auto& [path, target] : data.links) {
            result.links[m_table.replaced(path)] = m_table.replaced(target);
        }
        for (const auto& [path, device] : data.devices) {
            result.devices[m_table.replaced(path)] = redactDevice(device);
        }
        for (RecordedCommand command : data.commands) {
            command.command = m_table.replaced(command.command);
            for (std::string& line : command.output) {
                line = m_table.replaced(line);
            }
            result.commands.push_back(std::move(command));
        }
        return result;
    }

  private:
    RecordedFile redactFile(const std::string& path, RecordedFile file) const {
        const FileKind kind = kindOf(path);
        if (kind == FileKind::kPlain) {
            return file;
        }
        if (kind == FileKind::kMounts) {
            file.content = redactedMounts(file.content, m_table);
        } else if (kind == FileKind::kInquiry || kind == FileKind::kPage) {
            Bytes bytes(file.content.begin(), file.content.end());
            redactPage(pageCodeOf(kind, path), bytes, m_table);
            file.content.assign(bytes.begin(), bytes.end());
        } else {
            file.content = m_table.replaced(file.content);
        }
        return file;
    }

    RecordedDevice redactDevice(RecordedDevice device) const {
        if (device.standardInquiry) {
            redactPage({}, device.standardInquiry->bytes, m_table);
            redactSense(device.standardInquiry->sense, m_table);
        }
        for (auto& [code, page] : device.pages) {
            redactPage(code, page.bytes, m_table);
            redactSense(page.sense, m_table);
        }
        for (auto& [block, answer] : device.sgIo) {
            redactAnswer(block, answer, m_table);
        }
        return device;
    }

    const SecretTable& m_table;
};

/// Looks for what is left of the original.
class Search {
  public:
    explicit Search(const SecretTable& table) : m_table(table) {}

    void in(const RecordedHostData& data) const {
        in(data.hostName.value_or(""));
        for (const auto& [path, file] : data.files) {
            in(path);
            if (kindOf(path) != FileKind::kPlain) {
                in(file.content);
            }
        }
        for (const auto& [path, names] : data.directories) {
            in(path);
            in(names);
        }
        for (const auto& [path, target] : data.links) {
            in(path);
            in(target);
        }
        for (const auto& [path, device] : data.devices) {
            in(path);
            inDevice(device);
        }
        for (const RecordedCommand& command : data.commands) {
            in(command.command);
            in(command.output);
        }
    }

  private:
    void in(const std::string& text) const {
        const std::string found = m_table.foundIn(text);
        if (!found.empty()) {
            throw RedactionError("something of the original is still there");
        }
    }
    void in(const std::vector<std::string>& texts) const {
        for (const std::string& text : texts) {
            in(text);
        }
    }
    void in(const Bytes& bytes) const { in(std::string(bytes.begin(), bytes.end())); }
    void in(const RecordedPage& answer) const {
        in(answer.bytes);
        in(answer.sense);
    }
    void inDevice(const RecordedDevice& device) const {
        if (device.standardInquiry) {
            in(*device.standardInquiry);
        }
        for (const auto& [code, page] : device.pages) {
            in(page);
        }
        for (const auto& [block, answer] : device.sgIo) {
            in(answer);
        }
    }

    const SecretTable& m_table;
};

}  // namespace

RedactedHost redactHost(const RecordedHostData& data, const std::vector<std::string>& remarks,
                        const RedactionKey& key) {
    SecretTable table(key);
    collectSecrets(data, table);
    table.settle();
    RedactedHost result;
    result.data = Redactor(table).redact(data);
    for (const std::string& remark : remarks) {
        result.remarks.push_back(table.replaced(remark));
    }
    Search(table).in(result.data);
    return result;
}

}  // namespace recording
