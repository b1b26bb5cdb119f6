#include "scsitool/kit/trace_log.h"

#include <climits>
#include <cstdio>
#include <utility>

namespace qzfi_pdk_4_4 {
namespace {

// Below every level: nothing passes.
constexpr int kSilent = INT_MIN;
constexpr int kFunctionTraceLevel = 6;
// Nearly every message fits and is formatted once.
constexpr std::size_t kUsualLength = 512;

std::string formatted(const char* format, std::va_list arguments)
    __attribute__((format(printf, 1, 0)));

std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    char usual[kUsualLength];
    const int length = std::vsnprintf(usual, sizeof usual, format, again);
    va_end(again);
    if (length < 0) {
        return std::string();
    }
    const std::size_t size = static_cast<std::size_t>(length);
    if (size < sizeof usual) {
        return std::string(usual, size);
    }
    std::string text(size + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

}  // namespace

CFiTraceSink::~CFiTraceSink() = default;

CFiTraceLog::CFiTraceLog() : m_level(kSilent) {}
CFiTraceLog::~CFiTraceLog() = default;

void CFiTraceLog::setSink(std::shared_ptr<CFiTraceSink> sink, int level) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_level = sink != nullptr ? level : kSilent;
    // The former sink goes with the argument, when the lock is free again.
    m_sink.swap(sink);
}

void CFiTraceLog::trace(int level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    traceArguments(level, format, arguments);
    va_end(arguments);
}

void CFiTraceLog::traceArguments(int level, const char* format, std::va_list arguments) {
    if (!isEnabled(level)) {
        return;
    }
    try {
        const std::string message = formatted(format, arguments);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_sink != nullptr) {
            m_sink->write(level, message);
        }
    } catch (...) {
        // Destructors trace: a lost line is better than an exception out of one.
        return;
    }
}

CFiTraceable::CFiTraceable() = default;
CFiTraceable::~CFiTraceable() = default;

void CFiTraceable::registerTraceLog(const CFiSmartPtr<CFiTraceLog>& log) {
    m_traceLog = log;
}

CFiTraceLogFunction::CFiTraceLogFunction(const CFiSmartPtr<CFiTraceLog>& log, const char* function,
                                         const char* source, int line)
    : m_log(log), m_function(function), m_source(source), m_line(line) {
    if (m_log) {
        m_log->trace(kFunctionTraceLevel, "Entering Function %s [%d, %s]", m_function, m_line,
                     m_source);
    }
}

CFiTraceLogFunction::~CFiTraceLogFunction() {
    if (m_log) {
        m_log->trace(kFunctionTraceLevel, "Exiting Function %s [%d, %s]", m_function, m_line,
                     m_source);
    }
}

}  // namespace qzfi_pdk_4_4
