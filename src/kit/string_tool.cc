#include "scsitool/kit/string_tool.h"

#include <strings.h>

#include <cctype>

namespace qzfi_pdk_4_4 {

std::string CFiStringTool::trim(const std::string& text, const std::string& characters) {
    const std::size_t first = text.find_first_not_of(characters);
    if (first == std::string::npos) {
        return std::string();
    }
    return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

std::vector<std::string> CFiStringTool::tokenize(const std::string& text,
                                                 const std::string& delimiters) {
    std::vector<std::string> tokens;
    std::size_t start = text.find_first_not_of(delimiters);
    while (start != std::string::npos) {
        const std::size_t end = text.find_first_of(delimiters, start);
        tokens.push_back(text.substr(start, end - start));
        start = text.find_first_not_of(delimiters, end);
    }
    return tokens;
}

std::string CFiStringTool::tostrupper(const std::string& text) {
    std::string upper(text);
    for (char& c : upper) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return upper;
}

int CFiStringTool::CompareNoCase(const std::string& left, const std::string& right) {
    return strcasecmp(left.c_str(), right.c_str());
}

std::string CFiStringTool::vec2str(const std::vector<std::string>& elements,
                                   const std::string& separator) {
    std::string joined;
    for (const std::string& element : elements) {
        if (&element != &elements.front()) {
            joined += separator;
        }
        joined += element;
    }
    return joined;
}

}  // namespace qzfi_pdk_4_4
