#include "cli/output/trace_sink.h"

#include "cli/base/text.h"
#include "cli/output/utc_time.h"

namespace cli {
void TraceSink::write(int level, const std::string& message) {
    const std::size_t end = message.find_last_not_of('\n');
    const std::string text = visible(message.substr(0, end + 1), true);
    if (m_processId != 0) {
        m_stream << utcTime() << " scsitool[" << m_processId << "] ";
    }
    m_stream << '[' << level << "] " << text << '\n';
    m_stream.flush();
}

}  // namespace cli
