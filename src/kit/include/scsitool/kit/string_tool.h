#ifndef SCSITOOL_KIT_STRING_TOOL_H
#define SCSITOOL_KIT_STRING_TOOL_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"

namespace qzfi_pdk_4_4 {

/// String helpers of the kit. All are pure and safe for any number of threads.
class SCSITOOL_EXPORT CFiStringTool {
  public:
    /// Removes every character of `characters` from both ends.
    static std::string trim(const std::string& text, const std::string& characters);
    /// Splits at every character of `delimiters`; empty pieces are left out.
    static std::vector<std::string> tokenize(const std::string& text,
                                             const std::string& delimiters);
    /// Upper-cases what the C library's current locale knows as letters.
    static std::string tostrupper(const std::string& text);
    /// Compares without regard to case: 0 when equal, else the sign of the first difference.
    static int CompareNoCase(const std::string& left, const std::string& right);
    /// Joins the elements with a separator between them.
    static std::string vec2str(const std::vector<std::string>& elements,
                               const std::string& separator);
};

}  // namespace qzfi_pdk_4_4

#endif
