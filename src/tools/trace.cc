#include "tools/trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tools {
namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceLog;

// A log that takes its arguments gathered drops what nobody listens to before anything is
// formatted. Where a kit's log does not (the last argument then picks the function below), the
// message is formatted here and handed over by the one operation that every kit has.
template <class Log>
[[gnu::format(printf, 3, 0)]] auto handOver(Log& log, int level, const char* format,
                                            std::va_list arguments, int /*preferred*/)
    -> decltype(log.traceArguments(level, format, arguments)) {
    return log.traceArguments(level, format, arguments);
}

template <class Log>
[[gnu::format(printf, 3, 0)]] void handOver(Log& log, int level, const char* format,
                                            std::va_list arguments, long /*otherwise*/) {
    char* message = nullptr;
    if (::vasprintf(&message, format, arguments) >= 0) {
        const std::unique_ptr<char, decltype(&std::free)> owned(message, &std::free);
        log.trace(level, "%s", message);
    }
}

}  // namespace

void traceTo(const CFiSmartPtr<CFiTraceLog>& log, int level, const char* format, ...) {
    CFiTraceLog* const target = log.get();
    if (target == nullptr) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    handOver(*target, level, format, arguments, 0);
    va_end(arguments);
}

}  // namespace tools
