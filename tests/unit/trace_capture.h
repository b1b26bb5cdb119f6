#ifndef SCSITOOL_TESTS_TRACE_CAPTURE_H
#define SCSITOOL_TESTS_TRACE_CAPTURE_H

#include <memory>
#include <string>
#include <vector>

#include "scsitool/kit/context_singleton.h"
#include "scsitool/kit/trace_log.h"

namespace test {

/// A trace log that keeps its lines as "[LEVEL] message".
class TraceCapture {
  public:
    explicit TraceCapture(int level = 9) : m_sink(std::make_shared<Sink>()) {
        m_log = qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>(new qzfi_pdk_4_4::CFiTraceLog);
        m_log->setSink(m_sink, level);
    }

    qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log() { return m_log; }
    const std::vector<std::string>& lines() const { return m_sink->lines; }
    void clear() { m_sink->lines.clear(); }

    /// The lines with the source line of function traces written as "N": it moves with the code.
    std::vector<std::string> stableLines() const {
        std::vector<std::string> stable;
        for (const std::string& line : m_sink->lines) {
            stable.push_back(withoutSourceLine(line));
        }
        return stable;
    }

  private:
    static std::string withoutSourceLine(const std::string& line) {
        const bool ofFunction = line.compare(0, 22, "[6] Entering Function ") == 0 ||
                                line.compare(0, 21, "[6] Exiting Function ") == 0;
        const std::size_t number = line.find(" [", 21) + 2;
        const std::size_t behind = line.find_first_not_of("0123456789", number);
        if (!ofFunction || behind == number || line.compare(behind, 2, ", ") != 0) {
            return line;
        }
        return line.substr(0, number) + "N" + line.substr(behind);
    }

    struct Sink : qzfi_pdk_4_4::CFiTraceSink {
        void write(int level, const std::string& message) override {
            lines.push_back("[" + std::to_string(level) + "] " + message);
        }
        std::vector<std::string> lines;
    };

    std::shared_ptr<Sink> m_sink;
    qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog> m_log;
};

/// Puts a log in place as the process-wide trace log and takes it away at its end.
class ProcessTraceScope {
  public:
    explicit ProcessTraceScope(const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log) {
        Context::registerInstance(log);
    }
    ~ProcessTraceScope() { Context::registerInstance({}); }
    ProcessTraceScope(const ProcessTraceScope&) = delete;
    ProcessTraceScope& operator=(const ProcessTraceScope&) = delete;

  private:
    using Context =
        qzfi_pdk_4_4::CFiContextSingleton<qzfi_pdk_4_4::CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;
};

}  // namespace test

#endif
