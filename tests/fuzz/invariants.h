#ifndef SCSITOOL_TESTS_FUZZ_INVARIANTS_H
#define SCSITOOL_TESTS_FUZZ_INVARIANTS_H

#include <string>

/// What holds whatever comes in. A demand that is not met ends the process: the fuzzer keeps the
/// input.
namespace fuzz {

[[noreturn]] void fail(const std::string& what, const std::string& seen);

inline void demand(bool holds, const char* what, const std::string& seen = std::string()) {
    if (!holds) {
        fail(what, seen);
    }
}

/// UTF-8 without anything that steers a terminal: no control character (C0 but line feed and tab,
/// DEL, C1), none that changes the writing direction.
void demandTerminalText(const std::string& text);

/// One JSON document of the command, as output.schema.json has it, in ASCII.
void demandDocument(const std::string& text);

}  // namespace fuzz

#endif
