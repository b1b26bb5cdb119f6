#include "cli/output/trace_sink.h"

#include <fmt/format.h>

#include <chrono>
#include <ctime>

#include "cli/base/text.h"

namespace cli {
namespace {

std::string timeNow() {
    using std::chrono::milliseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto count = std::chrono::duration_cast<milliseconds>(now).count();
    const std::time_t seconds = count / 1000;
    std::tm fields = {};
    ::gmtime_r(&seconds, &fields);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &fields);
    return fmt::format("{}.{:03}Z", text, count % 1000);
}

}  // namespace

void TraceSink::write(int level, const std::string& message) {
    const std::size_t end = message.find_last_not_of('\n');
    const std::string text = visible(message.substr(0, end + 1), true);
    if (m_processId != 0) {
        m_stream << timeNow() << " scsitool[" << m_processId << "] ";
    }
    m_stream << '[' << level << "] " << text << '\n';
    m_stream.flush();
}

}  // namespace cli
