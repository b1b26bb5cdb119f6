#include "scsitool/kit/bounded_string.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace qzfi_pdk_4_4 {

int V_snprintf(char* destination, std::size_t size, const char* format, ...) {
    if (size == 0) {
        return 0;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const int wanted = std::vsnprintf(destination, size, format, arguments);
    va_end(arguments);
    if (wanted < 0) {
        destination[0] = '\0';
        return -1;
    }
    return static_cast<int>(std::min(static_cast<std::size_t>(wanted), size - 1));
}

int V_sscanf(const char* source, std::size_t size, const char* format, ...) {
    // Where no NUL ends the text within its size, a copy is scanned that certainly ends.
    std::string copy;
    const char* text = source;
    if (std::memchr(source, '\0', size) == nullptr) {
        copy.assign(source, size);
        text = copy.c_str();
    }
    std::va_list arguments;
    va_start(arguments, format);
    const int converted = std::vsscanf(text, format, arguments);
    va_end(arguments);
    return converted;
}

std::size_t V_strlcpy(char* destination, const char* source, std::size_t size) {
    const std::size_t length = std::strlen(source);
    V_strlncpy(destination, size, source, length);
    return length;
}

std::size_t V_strlncpy(char* destination, std::size_t size, const char* source, std::size_t count) {
    if (size == 0) {
        return 0;
    }
    const std::size_t copied = V_strnlen(source, std::min(count, size - 1));
    std::memcpy(destination, source, copied);
    destination[copied] = '\0';
    return copied;
}

std::size_t V_strlcat(char* destination, const char* source, std::size_t size) {
    const std::size_t held = V_strnlen(destination, size);
    const std::size_t length = std::strlen(source);
    V_strlncat(destination, size, source, length);
    return held + length;
}

std::size_t V_strlncat(char* destination, std::size_t size, const char* source, std::size_t count) {
    const std::size_t held = V_strnlen(destination, size);
    if (held == size) {
        return 0;
    }
    return V_strlncpy(destination + held, size - held, source, count);
}

std::size_t V_strnlen(const char* text, std::size_t size) {
    const void* const end = std::memchr(text, '\0', size);
    return end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : size;
}

}  // namespace qzfi_pdk_4_4
