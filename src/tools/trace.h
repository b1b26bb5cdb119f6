#ifndef SCSITOOL_TOOLS_TRACE_H
#define SCSITOOL_TOOLS_TRACE_H

#include "scsitool/kit/smart_ptr.h"
#include "scsitool/kit/trace_log.h"

namespace tools {

/// Traces through a log that may be null: nothing is formatted unless somebody listens. A level
/// and a printf format as CFiTraceLog::trace takes them. Never throws.
void traceTo(const qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>& log, int level,
             const char* format, ...) __attribute__((format(printf, 3, 4)));

}  // namespace tools

#endif
