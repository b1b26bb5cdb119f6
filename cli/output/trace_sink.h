#ifndef SCSITOOL_CLI_OUTPUT_TRACE_SINK_H
#define SCSITOOL_CLI_OUTPUT_TRACE_SINK_H

#include <ostream>
#include <string>

#include "scsitool/kit/trace_log.h"

namespace cli {

/// Writes trace lines to a stream as "[LEVEL] message", each on one line: line feeds at the end of
/// a message are dropped, control characters inside it are escaped (tabs stay).
class TraceSink : public qzfi_pdk_4_4::CFiTraceSink {
  public:
    /// `processId` other than 0 puts the time (UTC) and the process first. The stream must outlive
    /// the sink.
    TraceSink(std::ostream& stream, int processId) : m_stream(stream), m_processId(processId) {}
    void write(int level, const std::string& message) override;

  private:
    std::ostream& m_stream;
    int m_processId;
};

}  // namespace cli

#endif
