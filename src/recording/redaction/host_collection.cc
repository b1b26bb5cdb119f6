#include "recording/redaction/host_collection.h"

#include <sstream>
#include <string_view>

#include "recording/redaction/file_kind.h"
#include "recording/redaction/mount_table.h"
#include "recording/redaction/page_redaction.h"
#include "recording/redaction/text_scan.h"
#include "recording/redaction/words.h"

namespace recording {
namespace {

// What stands in a name below /dev.
void collectNodeName(const std::string& path, SecretTable& table) {
    constexpr std::string_view kDisk = "/dev/disk/by-";
    constexpr std::string_view kMapName = "dm-name-";
    const std::string name = baseName(path);
    if (startsWith(path, "/dev/mapper/") || startsWith(name, kMapName)) {
        scanNames(startsWith(name, kMapName) ? name.substr(kMapName.size()) : name, table);
    } else if (startsWith(path, "/dev/disk/by-label") ||
               startsWith(path, "/dev/disk/by-partlabel")) {
        scanNames(name, table);
    } else if (startsWith(path, "/dev/disk/by-path/")) {
        return;  // addresses alone, and they are told by their form
    } else if (startsWith(path, kDisk)) {
        scanIdentifier(name, table);
    } else if (startsWith(path, "/dev/")) {
        // "/dev/vg00/root": whoever made the node gave the name.
        scanNames(path.substr(5), table);
    }
}

class Collector {
  public:
    Collector(const RecordedHostData& data, SecretTable& table) : m_data(data), m_table(table) {}

    void collect() {
        learnProducts();
        if (m_data.hostName) {
            m_table.addName(*m_data.hostName);
            scanNames(*m_data.hostName, m_table);
        }
        for (const auto& [path, file] : m_data.files) {
            scanText(path, m_table);
            collectFile(path, file.content);
        }
        for (const auto& [path, names] : m_data.directories) {
            collectDirectory(path.back() == '/' ? path : path + "/", names);
        }
        for (const auto& [path, target] : m_data.links) {
            collectPath(path);
            scanText(target, m_table);
        }
        for (const auto& [path, device] : m_data.devices) {
            collectPath(path);
            collectDevice(device);
        }
        collectCommands();
    }

  private:
    void collectCommands() {
        for (const RecordedCommand& command : m_data.commands) {
            scanText(command.command, m_table);
            for (const std::string& line : command.output) {
                scanText(line, m_table);
            }
        }
    }

    void learnProducts() {
        for (const auto& [path, device] : m_data.devices) {
            if (device.standardInquiry) {
                learnProduct(device.standardInquiry->bytes, m_table);
            }
        }
        for (const auto& [path, file] : m_data.files) {
            const std::string name = baseName(path);
            if (name == "vendor" || name == "model" || name == "rev" || path == "/proc/scsi/scsi") {
                std::istringstream words(file.content);
                for (std::string word; words >> word;) {
                    m_table.addKnownWord(word);
                }
                for (const std::string& word : wordsOf(file.content)) {
                    m_table.addKnownWord(word);
                }
            }
        }
    }

    void collectPath(const std::string& path) {
        scanText(path, m_table);
        collectNodeName(path, m_table);
    }

    void collectFile(const std::string& path, const std::string& content) {
        const FileKind kind = kindOf(path);
        switch (kind) {
            case FileKind::kPlain:
                return;
            case FileKind::kInquiry:
            case FileKind::kPage:
                collectPage(pageCodeOf(kind, path), {content.begin(), content.end()}, m_table);
                return;
            case FileKind::kMounts:
                collectMounts(content, m_table);
                return;
            case FileKind::kName:
                scanNames(content, m_table);
                break;
            case FileKind::kIdentifier:
                scanIdentifier(content, m_table);
                break;
            case FileKind::kText:
                break;
        }
        scanText(content, m_table);
    }

    void collectDirectory(const std::string& path, const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            if (name != "." && name != "..") {
                collectPath(path + name);
            }
        }
    }

    void collectDevice(const RecordedDevice& device) {
        if (device.standardInquiry) {
            collectPage({}, device.standardInquiry->bytes, m_table);
            collectSense(device.standardInquiry->sense, m_table);
        }
        for (const auto& [code, page] : device.pages) {
            collectPage(code, page.bytes, m_table);
            collectSense(page.sense, m_table);
        }
        for (const auto& [block, answer] : device.sgIo) {
            collectAnswer(block, answer, m_table);
        }
    }

    const RecordedHostData& m_data;
    SecretTable& m_table;
};

}  // namespace

void collectSecrets(const RecordedHostData& data, SecretTable& table) {
    Collector(data, table).collect();
}

}  // namespace recording
