#ifndef SCSITOOL_RECORDING_REDACTION_WORDS_H
#define SCSITOOL_RECORDING_REDACTION_WORDS_H

#include <string>
#include <string_view>
#include <vector>

namespace recording {

/// ASCII letters and digits, whatever the locale.
bool isDigit(char c);
bool isAlphanumeric(char c);
bool isHexDigit(char c);
bool isHex(std::string_view text);
bool hasDigit(std::string_view text);
std::string lowerCase(std::string text);
std::string upperCase(std::string text);

/// The maximal runs of letters and digits in a text.
std::vector<std::string> wordsOf(std::string_view text);

/// Tells whether a word is part of how every Linux host looks and no name that somebody gave:
/// a directory of the standard hierarchy, a node that the kernel or a multipath layer numbers
/// (sda1, dm-3, mpathb), a word of the kernel's tables.
bool isCommonWord(std::string_view word);

}  // namespace recording

#endif
