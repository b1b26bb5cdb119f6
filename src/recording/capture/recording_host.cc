#include "recording/capture/recording_host.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>

#include "recording/text/strict_json.h"
#include "recording/text/utf8.h"

namespace recording {
namespace {

bool isSame(const RecordedCommand& one, const RecordedCommand& other) {
    return one.output == other.output && one.exitStatus == other.exitStatus &&
           one.signal == other.signal && one.timedOut == other.timedOut;
}

// The last answer stays for good, so it stands once.
std::vector<RecordedCommand>::const_iterator withoutRepeats(
    const std::vector<RecordedCommand>& answers) {
    auto end = answers.end();
    while (end - answers.begin() > 1 && isSame(*(end - 1), *(end - 2))) {
        --end;
    }
    return end;
}

// A node that answers no SCSI command at all is recorded without pages, which replays as ENOTTY.
void dropRefusedPages(RecordedDevice& device) {
    const auto isRefusal = [](const RecordedPage& page) { return page.error == ENOTTY; };
    const bool refusesAll = (!device.standardInquiry || isRefusal(*device.standardInquiry)) &&
                            std::all_of(device.pages.begin(), device.pages.end(),
                                        [&](const auto& page) { return isRefusal(page.second); });
    if (refusesAll) {
        device.standardInquiry.reset();
        device.pages.clear();
    }
}

}  // namespace

bool RecordingHost::isWritable(const std::string& text) {
    if (isUtf8(text)) {
        return true;
    }
    remark(printable(text, 200) + ": not recorded, for its name is not UTF-8");
    return false;
}

host::CommandResult RecordingHost::runCommand(const std::string& command, int timeoutSeconds) {
    host::CommandResult result = ForwardingHost::runCommand(command, timeoutSeconds);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (isWritable(command)) {
        noteCommand(command, result);
    }
    return result;
}

void RecordingHost::noteCommand(const std::string& command, const host::CommandResult& result) {
    RecordedCommand answer;
    answer.command = command;
    answer.timedOut = result.timedOut;
    if (!result.timedOut && WIFSIGNALED(result.waitStatus)) {
        answer.signal = WTERMSIG(result.waitStatus);
    } else if (!result.timedOut) {
        answer.exitStatus = WEXITSTATUS(result.waitStatus);
    }
    std::size_t bytes = 0;
    for (const std::string& line : result.lines) {
        bytes += line.size() + 1;
        if (bytes > m_limits.outputBytes) {
            remark(command + ": of more than " + std::to_string(m_limits.outputBytes) +
                   " bytes of output only these are recorded");
            break;
        }
        answer.output.push_back(line);
    }
    std::vector<RecordedCommand>& answers = m_commands[command];
    if (answers.empty()) {
        m_commandOrder.push_back(command);
    }
    if (answers.size() == m_limits.answers) {
        remark(command + ": run more than " + std::to_string(m_limits.answers) +
               " times; the answers between these and the last are not recorded");
        answers.pop_back();
    }
    answers.push_back(std::move(answer));
}

std::string RecordingHost::kernelRelease() {
    std::string release = ForwardingHost::kernelRelease();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_kernelRelease = toUtf8(release);
    return release;
}

int RecordingHost::hostName(std::string& name) {
    const int result = ForwardingHost::hostName(name);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hostName.reset();
    if (result >= 0) {
        m_hostName = name;
    }
    return result;
}

// Who may not open it for writing may not open it at all, as far as anybody tried.
RecordedDevice RecordingHost::deviceOf(const Node& node) {
    RecordedDevice device = node.device;
    dropRefusedPages(device);
    if (node.opened) {
        device.openError = 0;
    } else if (device.openError == 0) {
        device.openError = device.writeError;
    }
    if (node.openedToWrite || device.writeError == device.openError) {
        device.writeError = 0;
    }
    return device;
}

// What came to be there after all counts as there.
void RecordingHost::addAbsent(RecordedHostData& data) const {
    for (const std::string& path : m_absent) {
        const std::string place = path.substr(0, path.find_last_not_of('/') + 1);
        if (!place.empty() && place.front() == '/' && place.find('\0') == std::string::npos &&
            data.devices.count(place) == 0 && m_directories.count(place) == 0) {
            RecordedFile absent;
            absent.error = ENOENT;
            data.files.emplace(place, absent);
        }
    }
}

RecordedHostData RecordingHost::data() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    RecordedHostData data;
    data.hostName = m_hostName;
    data.kernelRelease = m_kernelRelease;
    data.files = m_files;
    data.directories = m_directories;
    data.directoryErrors = m_directoryErrors;
    data.links = m_links;
    for (const auto& [path, node] : m_nodes) {
        data.devices[path] = deviceOf(node);
    }
    for (const std::string& path : m_present) {
        if (data.devices.count(path) == 0) {
            data.files.emplace(path, RecordedFile());
        }
    }
    addAbsent(data);
    for (const std::string& command : m_commandOrder) {
        const std::vector<RecordedCommand>& answers = m_commands.at(command);
        data.commands.insert(data.commands.end(), answers.begin(), withoutRepeats(answers));
    }
    return data;
}

std::vector<std::string> RecordingHost::remarks() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return {m_remarks.begin(), m_remarks.end()};
}

}  // namespace recording
