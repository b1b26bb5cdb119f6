#ifndef SCSITOOL_TOOLS_STRING_TOOL_H
#define SCSITOOL_TOOLS_STRING_TOOL_H

#include <string>

#include "scsitool/host/export.h"

/// Conversion and clean-up of narrow and wide strings.
///
/// Every operation is static and gives a new string or number: no argument is changed, nothing is
/// kept, and the host is not touched. None throws but for memory exhaustion, and none reports a
/// text that it cannot read: such a text gives 0 or an empty string, as said for each operation.
/// All are safe for any number of threads as long as none changes the process's locale meanwhile.
class SCSITOOL_EXPORT CStringTool {
  public:
    /// Tells whether every character is a letter or a digit of the current locale. An empty string
    /// is not alphanumeric.
    static bool isalphaNumeric(const std::string& s);

    /// A copy whose letters (of the current locale) are upper-case.
    static std::string tostrupper(const std::string& s);
    /// A copy whose letters (of the current locale) are lower-case.
    static std::string tostrlower(const std::string& s);
    /// A copy whose letters (of the current locale) are upper-case.
    static std::wstring tostrupper(const std::wstring& s);
    /// A copy whose letters (of the current locale) are lower-case.
    static std::wstring tostrlower(const std::wstring& s);

    /// Removes the leading run of `c`. What remains is read as a C text: it ends at its first NUL,
    /// also when there was no such run.
    static std::string ltrim(const std::string& s, char c);
    /// Removes the trailing run of `c`. NULs before that run are kept.
    static std::string rtrim(const std::string& s, char c);
    /// Removes the blanks (0x20) at both ends; tabs and line ends are kept. As with `ltrim` the
    /// result ends at its first NUL.
    static std::string trim(const std::string& s);

    /// "true" or "false".
    static std::string bool2str(bool b);
    /// The number in decimal, with a minus sign when it is negative.
    static std::string int2str(int n);
    /// The number in decimal.
    static std::string uint2str(unsigned int n);
    /// `int2str` as a wide string.
    static std::wstring int2wstr(int n);
    /// `uint2str` as a wide string.
    static std::wstring uint2wstr(unsigned int n);

    /// Reads a signed decimal number as scanf's "%d" does: leading white space is skipped and the
    /// number ends at the first character that is not a digit. A text that does not begin with a
    /// number gives 0; of a number beyond 32 bits the low 32 bits remain.
    static int str2int(const std::string& s);
    /// Reads a number exactly as `str2int` does and gives the same bits: "-1" is 4294967295.
    static unsigned int str2uint(const std::string& s);
    /// Reads a hexadecimal number behind two characters that are not looked at (meant to be "0x").
    /// A text of fewer than three characters, or one with a character other than 0-9, A-F, a-f up
    /// to its end or first NUL, gives 0; of more than eight digits the low 32 bits remain.
    static unsigned int hexstr2uint(const std::string& s);
    /// Two lower-case hexadecimal digits a byte, in byte order and without separators. `data` holds
    /// `length` bytes and stays the caller's; a length of 0 or below gives the empty string.
    static std::string binary2str(unsigned char* data, int length);

    /// Converts multibyte text (of the current locale) up to its first NUL. Text that the locale
    /// cannot convert gives the empty string.
    static std::wstring str2wstr(const std::string& s);
    /// Converts wide text up to its first NUL into multibyte text (of the current locale) of at
    /// most two bytes for each wide character of `s`: what is longer is cut at a whole character.
    /// Text that the locale cannot convert gives the empty string.
    static std::string wstr2str(const std::wstring& s);
    /// A copy: a caller that is generic over both kinds of string may pass either.
    static std::wstring str2wstr(const std::wstring& s);
    /// A copy: a caller that is generic over both kinds of string may pass either.
    static std::string wstr2str(const std::string& s);
};

#endif
