#ifndef MINIMAL_KIT_STRING_TOOL_H
#define MINIMAL_KIT_STRING_TOOL_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"

namespace qzfi_pdk_4_4 {

class SCSITOOL_EXPORT CFiStringTool {
  public:
    static std::string trim(const std::string& text, const std::string& characters);
    static std::vector<std::string> tokenize(const std::string& text,
                                             const std::string& delimiters);
    static std::string tostrupper(const std::string& text);
    static int CompareNoCase(const std::string& left, const std::string& right);
    static std::string vec2str(const std::vector<std::string>& elements,
                               const std::string& separator);
};

}  // namespace qzfi_pdk_4_4

#endif
