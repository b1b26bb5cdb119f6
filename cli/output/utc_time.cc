#include "cli/output/utc_time.h"

#include <fmt/format.h>

#include <chrono>
#include <ctime>

namespace cli {

std::string utcTime() {
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

}  // namespace cli
