#ifndef MINIMAL_KIT_TRACE_LOG_H
#define MINIMAL_KIT_TRACE_LOG_H

#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/kit/smart_ptr.h"

namespace qzfi_pdk_4_4 {

/// Keeps its lines as "LEVEL message".
class SCSITOOL_EXPORT CFiTraceLog {
  public:
    void trace(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
    std::vector<std::string> lines;
};

class SCSITOOL_EXPORT CFiTraceable {
  public:
    virtual ~CFiTraceable();
    virtual void registerTraceLog(const CFiSmartPtr<CFiTraceLog>& log);
    CFiSmartPtr<CFiTraceLog> m_traceLog;
};

class SCSITOOL_EXPORT CFiTraceLogFunction {
  public:
    CFiTraceLogFunction(const CFiSmartPtr<CFiTraceLog>& log, const char* function,
                        const char* source, int line = 0);
};

}  // namespace qzfi_pdk_4_4

#endif
