#include <cstdarg>
#include <cstdio>

#include "scsitool/kit/exec_pipe.h"
#include "scsitool/kit/trace_log.h"

namespace qzfi_pdk_4_4 {

void CFiTraceLog::trace(int level, const char* format, ...) {
    char message[1024];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    lines.push_back(std::to_string(level) + " " + message);
}

CFiTraceable::~CFiTraceable() = default;
void CFiTraceable::registerTraceLog(const CFiSmartPtr<CFiTraceLog>& log) {
    m_traceLog = log;
}

CFiTraceLogFunction::CFiTraceLogFunction(const CFiSmartPtr<CFiTraceLog>& log, const char* function,
                                         const char* source, int line) {
    if (log) {
        log->trace(6, "Entering Function %s [%d, %s]", function, line, source);
    }
}

int CFiExecPipeBase::Exec(const std::string& /*command*/, std::vector<std::string>& output,
                          const std::string& /*input*/, int /*timeLimit*/,
                          const std::string& /*user*/, const std::string& /*group*/,
                          const std::string& /*directory*/) {
    output.clear();
    return 11;
}

}  // namespace qzfi_pdk_4_4
