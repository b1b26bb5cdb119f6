#ifndef SCSITOOL_KIT_CONFIGURATION_H
#define SCSITOOL_KIT_CONFIGURATION_H

#include <map>
#include <optional>
#include <string>

#include "scsitool/host/export.h"

namespace qzfi_pdk_4_4 {

/// Where configurations stand.
class SCSITOOL_EXPORT CFiConfigurationPathTool {
  public:
    /// Gives the two file strings of a configuration: its directory ("/etc/scsitool") and its file
    /// name (the configuration's name and ".conf").
    static void getConfigFileInfo(const std::string& name, std::string& directory,
                                  std::string& file);
};

/// One configuration file: sections in square brackets, "KEY = value" lines, comments from "#" or
/// ";" to the end of the line. Blanks and tabs around names and values do not count, letters are
/// told apart by their case, and a key or section that stands twice is continued: the last value
/// counts. A line of another form is passed over, and so is a file that cannot be read: the keys
/// are then missing. One object is used by one thread at a time.
class SCSITOOL_EXPORT CFiConfiguration {
  public:
    /// Reads a configuration from the current host. Gives 0, or 6 when the file cannot be read.
    int importConfig(const std::string& directory, const std::string& file);
    /// Makes a section the current one. A section that does not exist is created empty only in a
    /// configuration that was read. Gives 0, or 6 when there is no such section.
    int openSection(const std::string& name, int create);
    /// Reads an unsigned decimal number of the current section. Gives 0, or 6 (and leaves `value`
    /// as it was) when the key is missing or its value is no number of 32 bits.
    int getIntegerValue(const std::string& key, unsigned int& value) const;

  private:
    using Section = std::map<std::string, std::string>;

    void importLine(const std::string& line, std::string& sectionName);

    std::map<std::string, Section> m_sections;
    // By its name: a copy has sections of its own.
    std::optional<std::string> m_current;
    bool m_imported = false;
};

}  // namespace qzfi_pdk_4_4

#endif
