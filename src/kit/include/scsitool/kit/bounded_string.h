#ifndef SCSITOOL_KIT_BOUNDED_STRING_H
#define SCSITOOL_KIT_BOUNDED_STRING_H

#include <cstddef>
#include <string>

#include "scsitool/host/export.h"

/// String functions with an explicit size of the destination. A size counts the NUL that ends the
/// text; a destination of size 0 is left alone. All are safe for any number of threads.
namespace qzfi_pdk_4_4 {

/// Formats into a buffer. Gives the number of characters written (what does not fit is cut), or
/// -1 for a format that cannot be carried out.
SCSITOOL_EXPORT int V_snprintf(char* destination, std::size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
/// Scans at most `size` characters of a text as sscanf(3) does and gives the number of items that
/// were converted, -1 at the text's end. "%d" of a number beyond 32 bits is converted all the same.
SCSITOOL_EXPORT int V_sscanf(const char* source, std::size_t size, const char* format, ...)
    __attribute__((format(scanf, 3, 4)));
/// Copies a text, cut to the destination. Gives the length of the source.
SCSITOOL_EXPORT std::size_t V_strlcpy(char* destination, const char* source, std::size_t size);
/// Copies at most `count` characters of a text. Gives the number of characters copied.
SCSITOOL_EXPORT std::size_t V_strlncpy(char* destination, std::size_t size, const char* source,
                                       std::size_t count);
/// Appends a text, cut to the destination. Gives the length that was wanted.
SCSITOOL_EXPORT std::size_t V_strlcat(char* destination, const char* source, std::size_t size);
/// Appends at most `count` characters of a text. Gives the number of characters appended.
SCSITOOL_EXPORT std::size_t V_strlncat(char* destination, std::size_t size, const char* source,
                                       std::size_t count);
/// The length of a text that may lack its NUL within `size` characters.
SCSITOOL_EXPORT std::size_t V_strnlen(const char* text, std::size_t size);

}  // namespace qzfi_pdk_4_4

#endif
