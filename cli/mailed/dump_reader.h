#ifndef SCSITOOL_CLI_MAILED_DUMP_READER_H
#define SCSITOOL_CLI_MAILED_DUMP_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace cli::mailed {

/// Bytes that stand together in a text.
struct Dump {
    std::size_t line = 0;  ///< of its first byte, counted from 1
    std::string device;    ///< the last device node that was named before it; empty without one
    std::string title;     ///< the last line before it that is no dump; empty without one
    std::vector<std::uint8_t> bytes;
};

/// What a text holds.
struct Dumps {
    std::vector<Dump> all;             ///< in their order
    std::vector<std::string> remarks;  ///< what was left out and why, with its line
};

/// A dump longer than this is no page: it is left out.
inline constexpr std::size_t kLongestDump = 1U << 20;

/// Finds the dumps in what somebody mailed. `name` stands for the text in remarks. Every line is
/// looked at once.
Dumps findDumps(const std::string& text, const std::string& name);

}  // namespace cli::mailed

#endif
