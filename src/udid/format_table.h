#ifndef SCSITOOL_UDID_FORMAT_TABLE_H
#define SCSITOOL_UDID_FORMAT_TABLE_H

#include <array>
#include <cstddef>
#include <string>

#include "scsitool/udid/reporter.h"

namespace udid {

/// All that is known of a format.
struct FormatRow {
    Format format;
    const char* name;     ///< in documents and programs
    const char* meaning;  ///< for people, as the table of docs/udid-formats.md has it
    bool hexadecimal;     ///< every byte counts; a text ends at its first NUL
    /// Bytes of a page as text; null where the text is not made of bytes. Bytes past the page's
    /// end are 0.
    std::string (*write)(const scsi::PageView& view, std::size_t offset, std::size_t count);
};

inline constexpr std::size_t kFormats = static_cast<std::size_t>(Format::kHostName) + 1;
extern const std::array<FormatRow, kFormats> kFormatTable;

const FormatRow& rowOf(Format format);

/// Bytes of a page in a format; empty for a format that is not made of bytes.
std::string formatted(const scsi::PageView& view, Format format, std::size_t offset,
                      std::size_t count);
/// The text without trailing blanks, every other blank as "_".
std::string underscored(const std::string& text);

}  // namespace udid

#endif
