#include "scsitool/kit/configuration.h"

#include <charconv>

#include "scsitool/host/host.h"
#include "scsitool/kit/string_tool.h"

namespace qzfi_pdk_4_4 {
namespace {

constexpr int kFailure = 6;
constexpr char kBlanks[] = " \t\r\n";

bool isPathOf(const std::string& path, const std::string& directory, const std::string& file) {
    return path.size() == directory.size() + 1 + file.size() &&
           path.compare(0, directory.size(), directory) == 0 && path[directory.size()] == '/' &&
           path.compare(directory.size() + 1, file.size(), file) == 0;
}

// Every open of a device reads one and the same file: its path is made once.
host::ReadResult read(const std::string& directory, const std::string& file) {
    static const std::string kUsual = "/etc/scsitool/devicefi.conf";
    return isPathOf(kUsual, directory, file)
               ? host::current().readFile(kUsual)
               : host::current().readFile(std::string(directory).append("/").append(file));
}

}  // namespace

void CFiConfigurationPathTool::getConfigFileInfo(const std::string& name, std::string& directory,
                                                 std::string& file) {
    directory = "/etc/scsitool";
    file = name;
    file += ".conf";
}

int CFiConfiguration::importConfig(const std::string& directory, const std::string& file) {
    const host::ReadResult text = read(directory, file);
    if (text.error() != 0) {
        return kFailure;
    }
    m_sections.clear();
    m_current.reset();
    m_imported = true;
    std::string sectionName;
    for (const std::string& line : CFiStringTool::tokenize(text.content, "\n")) {
        importLine(line.substr(0, line.find_first_of("#;")), sectionName);
    }
    return 0;
}

void CFiConfiguration::importLine(const std::string& line, std::string& sectionName) {
    const std::string text = CFiStringTool::trim(line, kBlanks);
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']') {
        sectionName = CFiStringTool::trim(text.substr(1, text.size() - 2), kBlanks);
        m_sections[sectionName];
        return;
    }
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        return;
    }
    m_sections[sectionName][CFiStringTool::trim(text.substr(0, equals), kBlanks)] =
        CFiStringTool::trim(text.substr(equals + 1), kBlanks);
}

int CFiConfiguration::openSection(const std::string& name, int create) {
    if (create != 0 && m_imported) {
        m_sections[name];
    }
    if (m_sections.count(name) == 0) {
        return kFailure;
    }
    m_current = name;
    return 0;
}

int CFiConfiguration::getIntegerValue(const std::string& key, unsigned int& value) const {
    if (!m_current) {
        return kFailure;
    }
    // A section that was opened stays until the next import.
    const Section& section = m_sections.at(*m_current);
    const auto found = section.find(key);
    if (found == section.end()) {
        return kFailure;
    }
    const std::string& text = found->second;
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return kFailure;
    }
    value = number;
    return 0;
}

}  // namespace qzfi_pdk_4_4
