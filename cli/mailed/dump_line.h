#ifndef SCSITOOL_CLI_MAILED_DUMP_LINE_H
#define SCSITOOL_CLI_MAILED_DUMP_LINE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli::mailed {

/// One line of a text as a line of a hexadecimal dump.
struct DumpLine {
    enum class Kind {
        kText,    ///< no line of a dump
        kBytes,   ///< bytes, with or without an offset
        kEnd,     ///< an offset alone, behind the last byte (od, hexdump)
        kRepeat,  ///< "*": the line before, up to the next offset
        kWords,   ///< words of two bytes behind an offset, in the order of the writer's machine
    };
    Kind kind = Kind::kText;
    std::string offset;  ///< its digits as they stand; empty without one
    /// Those of `kEnd` are what it is when no offsets stand before it.
    std::vector<std::uint8_t> bytes;
};

/// Marks of quotation in front of a line ("> > "), blanks and a carriage return at its end are left
/// out.
std::string_view withoutQuotes(std::string_view line);

/// Reads a line as sg_vpd, sg_inq, this command, xxd, od -tx1 and hexdump -C write it. Characters
/// behind the bytes are left out, and brackets around them are blanks.
DumpLine readDumpLine(std::string_view line);

}  // namespace cli::mailed

#endif
