#include "cli/common/wait_option.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "cli/base/failure.h"
#include "cli/base/stopwatch.h"
#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/common/udev.h"
#include "scsitool/host/interruption.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli {
namespace {

constexpr unsigned kLongestWait = 86400;
constexpr unsigned kLongestPause = 5;

CLI::Validator anything(const char* option) {
    return CLI::Validator(
        [option](const std::string& text) {
            if (text.empty()) {
                throw UsageError(std::string(option) +
                                 ": expected a UDID, found an empty argument");
            }
            return std::string();
        },
        "");
}

CLI::Validator secondsOf(const char* option) {
    return CLI::Validator(
        [option](const std::string& text) {
            unsigned number = 0;
            const char* const end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, number);
            if (error != std::errc() || stop != end || number > kLongestWait) {
                throw UsageError(std::string(option) + " " + text +
                                 ": expected a number from 0 to " + std::to_string(kLongestWait));
            }
            return std::string();
        },
        "");
}

std::vector<std::string> devicesOf(const Context& context, const std::string& udid) {
    askAhead(context, "", interviews::udid());
    CUDIDFactory factory;
    context.traceInto(factory);
    std::vector<std::string> names;
    for (const auto& [name, info] : factory.enumerateDeviceMap(false, false, false, "", "")) {
        if (info.uid == udid) {
            names.push_back(name);
        }
    }
    return names;
}

}  // namespace

void WaitOption::declare(CLI::App& app) {
    CLI::Option* const wait =
        app.add_option("--wait", m_udid, "End only when the volume of this UDID is there")
            ->type_name("UDID")
            ->check(anything("--wait"));
    app.add_option("--timeout", m_seconds,
                   "Fail when it has not appeared in SECONDS (default 30, at most 86400)")
        ->type_name("SECONDS")
        ->check(secondsOf("--timeout"))
        ->needs(wait);
}

// A recorded host takes no time to sleep: what was slept counts as well as what has passed.
std::vector<std::string> WaitOption::waitFor(const Context& context) const {
    const std::string udid = CStringTool::tostrupper(m_udid);
    const Stopwatch watch;
    unsigned slept = 0;
    for (unsigned pause = 1;; pause = std::min(pause + 1, kLongestPause)) {
        std::vector<std::string> devices = devicesOf(context, udid);
        const unsigned passed = std::max(slept, watch.passed());
        if (!devices.empty() || passed >= m_seconds || host::interruption() != 0) {
            return devices;
        }
        pause = std::min(pause, m_seconds - passed);
        context.host().sleepSeconds(pause);
        slept += pause;
    }
}

void WaitOption::addTo(Report& report, const Context& context) const {
    if (m_udid.empty() || context.options.dryRun) {
        return;
    }
    settleUdev(context);
    const std::vector<std::string> devices = waitFor(context);
    Json& waited = report.data["waited"];
    waited = {{"udid", jsonText(m_udid)}, {"devices", Json::array()}};
    for (const std::string& name : devices) {
        waited["devices"].push_back(jsonText(name));
    }
    if (!devices.empty()) {
        report.text += visible(m_udid) + " is there: " + visible(joined(devices, " ")) + "\n";
    } else if (report.failure.empty()) {
        report.failure = m_udid + " did not appear in " + std::to_string(m_seconds) + " s";
    }
}

}  // namespace cli
