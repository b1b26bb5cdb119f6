#ifndef SCSITOOL_KIT_TRACE_LOG_H
#define SCSITOOL_KIT_TRACE_LOG_H

#include <atomic>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <string>

#include "scsitool/host/export.h"
#include "scsitool/kit/smart_ptr.h"

namespace qzfi_pdk_4_4 {

/// Where trace lines go. `write` is called by one thread at a time and must not trace itself.
class SCSITOOL_EXPORT CFiTraceSink {
  public:
    virtual ~CFiTraceSink();
    /// Takes one message as it was formatted, without a line feed of the log's own.
    virtual void write(int level, const std::string& message) = 0;
};

/// The trace log: printf-style messages with a numeric level (1 errors, 2 warnings, 3 information,
/// 4 entry and exit lines, 5 and 6 detail, 8 the one message to the operator) that go to an
/// exchangeable sink. A message above the log's level, or while there is no sink, is dropped
/// before anything is formatted. Tracing never throws: a message that cannot be formatted or
/// written is lost. Safe for any number of threads.
class SCSITOOL_EXPORT CFiTraceLog {
  public:
    CFiTraceLog();
    ~CFiTraceLog();
    CFiTraceLog(const CFiTraceLog&) = delete;
    CFiTraceLog& operator=(const CFiTraceLog&) = delete;

    /// Exchanges the sink; null means that nobody listens. Messages of a level up to `level` are
    /// written. The log shares the sink's ownership.
    void setSink(std::shared_ptr<CFiTraceSink> sink, int level);

    /// Tells whether a message of this level would be written.
    bool isEnabled(int level) const { return level <= m_level.load(std::memory_order_relaxed); }

    /// Formats a message and writes it. Text that the format takes ends at its first NUL.
    void trace(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
    /// The same with the arguments already gathered.
    void traceArguments(int level, const char* format, std::va_list arguments)
        __attribute__((format(printf, 3, 0)));

  private:
    std::atomic<int> m_level;
    std::mutex m_mutex;
    std::shared_ptr<CFiTraceSink> m_sink;
};

/// Base of everything that traces. It holds the registered trace log; while none is registered
/// nothing is traced.
class SCSITOOL_EXPORT CFiTraceable {
  public:
    CFiTraceable();
    virtual ~CFiTraceable();
    /// Stores the trace log and releases the former one.
    virtual void registerTraceLog(const CFiSmartPtr<CFiTraceLog>& log);

    CFiSmartPtr<CFiTraceLog> m_traceLog;
};

/// Traces the entry into a function at its construction and the exit at its end, both at level 6:
/// "Entering Function %s [%d, %s]" and "Exiting Function %s [%d, %s]" with the function, the line
/// and the source. The texts must outlive it.
class SCSITOOL_EXPORT CFiTraceLogFunction {
  public:
    CFiTraceLogFunction(const CFiSmartPtr<CFiTraceLog>& log, const char* function,
                        const char* source, int line = __builtin_LINE());
    ~CFiTraceLogFunction();
    CFiTraceLogFunction(const CFiTraceLogFunction&) = delete;
    CFiTraceLogFunction& operator=(const CFiTraceLogFunction&) = delete;

  private:
    CFiSmartPtr<CFiTraceLog> m_log;
    const char* m_function;
    const char* m_source;
    int m_line;
};

}  // namespace qzfi_pdk_4_4

#endif
