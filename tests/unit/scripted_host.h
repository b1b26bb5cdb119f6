#ifndef SCSITOOL_TESTS_SCRIPTED_HOST_H
#define SCSITOOL_TESTS_SCRIPTED_HOST_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "recording/effects/journal.h"
#include "recording/replay/recorded_host.h"
#include "scsitool/host/forwarding_host.h"

namespace test {

/// The journal lines of single effects, to compare a whole journal with.
inline std::string ran(const std::string& command, int timeoutSeconds = 600) {
    recording::Journal journal;
    journal.addCommand(command, timeoutSeconds);
    return journal.lines().front();
}
inline std::string appended(const std::string& path, const std::string& data) {
    recording::Journal journal;
    journal.addAppend(path, data);
    return journal.lines().front();
}
inline std::string ranInShell(const std::string& line) {
    recording::Journal journal;
    journal.addShell(line);
    return journal.lines().front();
}
inline std::string slept(unsigned seconds) {
    recording::Journal journal;
    journal.addSleep(seconds);
    return journal.lines().front();
}

struct RecordedHostHolder {
    explicit RecordedHostHolder(recording::RecordedHostData data)
        : recorded(std::move(data), journal) {}
    recording::Journal journal;
    recording::RecordedHost recorded;
};

/// A recorded host that changes while it is used, or misbehaves, as a test tells it to. It is the
/// current host for as long as it exists.
class ScriptedHost : private RecordedHostHolder, public host::ForwardingHost {
  public:
    explicit ScriptedHost(recording::RecordedHostData data = {})
        : RecordedHostHolder(std::move(data)), ForwardingHost(recorded), m_scope(*this) {}

    std::vector<std::string> effects() const { return journal.lines(); }

    /// What a file reads as from now on.
    std::map<std::string, std::string> files;
    /// What appending to a file comes to in place of success; a failed open has no effect.
    std::map<std::string, host::AppendResult> appendResults;
    /// What a directory lists as.
    std::map<std::string, host::DirectoryListing> listings;
    /// Called at the beginning of an operation; may throw.
    std::function<void(const std::string& path)> beforeRead = [](const std::string&) {};
    std::function<void(const std::string& command)> beforeCommand = [](const std::string&) {};
    /// Called with every text that was taken.
    std::function<void(const std::string& path, const std::string& text)> afterAppend =
        [](const std::string&, const std::string&) {};

    host::ReadResult readFile(const std::string& path) override {
        beforeRead(path);
        const auto changed = files.find(path);
        if (changed == files.end()) {
            return ForwardingHost::readFile(path);
        }
        host::ReadResult result;
        result.content = changed->second;
        return result;
    }
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override {
        const auto told = appendResults.find(path);
        if (told != appendResults.end() && told->second.openError != 0) {
            return told->second;
        }
        const host::AppendResult result = ForwardingHost::appendFile(path, text, beforeWrite);
        if (result.openError != 0) {
            return result;
        }
        afterAppend(path, text);
        return told != appendResults.end() ? told->second : result;
    }
    host::DirectoryListing listDirectory(const std::string& path) override {
        const auto told = listings.find(path);
        return told != listings.end() ? told->second : ForwardingHost::listDirectory(path);
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        beforeCommand(command);
        return ForwardingHost::runCommand(command, timeoutSeconds);
    }

  private:
    host::Scope m_scope;
};

}  // namespace test

#endif
