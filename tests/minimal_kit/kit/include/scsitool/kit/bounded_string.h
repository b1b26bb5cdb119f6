#ifndef MINIMAL_KIT_BOUNDED_STRING_H
#define MINIMAL_KIT_BOUNDED_STRING_H

#include <cstddef>

#include "scsitool/host/export.h"

namespace qzfi_pdk_4_4 {

SCSITOOL_EXPORT int V_snprintf(char* destination, std::size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
SCSITOOL_EXPORT int V_sscanf(const char* source, std::size_t size, const char* format, ...)
    __attribute__((format(scanf, 3, 4)));
SCSITOOL_EXPORT std::size_t V_strlcpy(char* destination, const char* source, std::size_t size);
SCSITOOL_EXPORT std::size_t V_strlncpy(char* destination, std::size_t size, const char* source,
                                       std::size_t count);
SCSITOOL_EXPORT std::size_t V_strlcat(char* destination, const char* source, std::size_t size);
SCSITOOL_EXPORT std::size_t V_strlncat(char* destination, std::size_t size, const char* source,
                                       std::size_t count);
SCSITOOL_EXPORT std::size_t V_strnlen(const char* text, std::size_t size);

}  // namespace qzfi_pdk_4_4

#endif
