#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "scsitool/kit/bounded_string.h"
#include "scsitool/kit/string_tool.h"

namespace qzfi_pdk_4_4 {

std::string CFiStringTool::trim(const std::string& text, const std::string& characters) {
    std::string rest = text.substr(std::min(text.find_first_not_of(characters), text.size()));
    rest.erase(rest.find_last_not_of(characters) + 1);
    return rest;
}

std::vector<std::string> CFiStringTool::tokenize(const std::string& text,
                                                 const std::string& delimiters) {
    std::vector<std::string> tokens(1);
    for (const char c : text) {
        if (delimiters.find(c) == std::string::npos) {
            tokens.back() += c;
        } else if (!tokens.back().empty()) {
            tokens.emplace_back();
        }
    }
    if (tokens.back().empty()) {
        tokens.pop_back();
    }
    return tokens;
}

std::string CFiStringTool::tostrupper(const std::string& text) {
    std::string upper = text;
    for (char& c : upper) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return upper;
}

int CFiStringTool::CompareNoCase(const std::string& left, const std::string& right) {
    return ::strcasecmp(left.c_str(), right.c_str());
}

std::string CFiStringTool::vec2str(const std::vector<std::string>& elements,
                                   const std::string& separator) {
    std::string joined;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        joined += (i > 0 ? separator : "") + elements[i];
    }
    return joined;
}

int V_snprintf(char* destination, std::size_t size, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(destination, size, format, arguments);
    va_end(arguments);
    return std::min(wanted, static_cast<int>(size) - 1);
}

int V_sscanf(const char* source, std::size_t size, const char* format, ...) {
    const std::string text(source, V_strnlen(source, size));
    std::va_list arguments;
    va_start(arguments, format);
    const int converted = std::vsscanf(text.c_str(), format, arguments);
    va_end(arguments);
    return converted;
}

std::size_t V_strlcpy(char* destination, const char* source, std::size_t size) {
    V_strlncpy(destination, size, source, std::strlen(source));
    return std::strlen(source);
}

std::size_t V_strlncpy(char* destination, std::size_t size, const char* source, std::size_t count) {
    const std::size_t copied = V_strnlen(source, std::min(count, size - 1));
    std::memcpy(destination, source, copied);
    destination[copied] = '\0';
    return copied;
}

std::size_t V_strlcat(char* destination, const char* source, std::size_t size) {
    const std::size_t held = std::strlen(destination);
    return held + V_strlcpy(destination + held, source, size - held);
}

std::size_t V_strlncat(char* destination, std::size_t size, const char* source, std::size_t count) {
    const std::size_t held = std::strlen(destination);
    return V_strlncpy(destination + held, size - held, source, count);
}

std::size_t V_strnlen(const char* text, std::size_t size) {
    return ::strnlen(text, size);
}

}  // namespace qzfi_pdk_4_4
