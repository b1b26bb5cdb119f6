#include "recording/effects/journal.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

#include "recording/text/utf8.h"

namespace recording {
namespace {

// Keeps the order in which members are given.
using Line = nlohmann::ordered_json;

}  // namespace

std::string runLine(const std::string& version, const std::vector<std::string>& command,
                    const std::string& at) {
    Line words = Line::array();
    for (const std::string& word : command) {
        words.push_back(toUtf8(word));
    }
    return Line{{"run", {{"version", version}, {"command", words}, {"at", at}}}}.dump();
}

void Journal::addCommand(const std::string& command, int timeoutSeconds) {
    add(Line{{"effect", "command"}, {"command", toUtf8(command)}, {"timeout", timeoutSeconds}}
            .dump());
}

void Journal::addAppend(const std::string& path, const std::string& data) {
    add(Line{{"effect", "append"}, {"path", toUtf8(path)}, {"data", toUtf8(data)}}.dump());
}

void Journal::addShell(const std::string& line) {
    add(Line{{"effect", "shell"}, {"command", toUtf8(line)}}.dump());
}

void Journal::addSleep(unsigned seconds) {
    add(Line{{"effect", "sleep"}, {"seconds", seconds}}.dump());
}

void Journal::addUnanswered(const std::string& what) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_unanswered.push_back(what);
    }
    add(Line{{"effect", "unanswered"}, {"what", toUtf8(what)}}.dump());
}

std::vector<std::string> Journal::lines() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

std::vector<std::string> Journal::unanswered() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_unanswered;
}

void Journal::add(std::string line) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stream != nullptr) {
        *m_stream << line << '\n';
        m_stream->flush();
    }
    m_lines.push_back(std::move(line));
}

}  // namespace recording
