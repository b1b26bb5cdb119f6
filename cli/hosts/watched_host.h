#ifndef SCSITOOL_CLI_HOSTS_WATCHED_HOST_H
#define SCSITOOL_CLI_HOSTS_WATCHED_HOST_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "scsitool/host/forwarding_host.h"

namespace cli {

/// A command that was run, and how it ended. Of what it printed the beginning is kept.
struct CommandEffect {
    std::string command;
    host::CommandResult result;
    std::size_t linesLeftOut = 0;  ///< behind those that are kept
    std::string lastLine;          ///< the last one that is not blank, also when it is left out
    bool isRefused = false;        ///< the guard refused it, so that it never ran
};

/// Text that was appended to a file, and what came of it.
struct AppendEffect {
    std::string path;
    std::string data;
    host::AppendResult result;
};

/// Looks on while an operation works on a host. Several operations of the library tell their caller
/// nothing of a command that failed; who runs them by hand has to know. Also says which device or
/// command is in hand, for a line of progress.
class WatchedHost : public host::ForwardingHost {
  public:
    using Progress = std::function<void(const std::string& inHand)>;

    /// Hears once of a wait for the rescan lock that is longer than the patience, on a thread of
    /// its own. Must not throw.
    using Notice = std::function<void(const std::string& message)>;
    static constexpr std::chrono::milliseconds kPatience{3000};

    /// What is kept of the output of all commands together, in bytes of memory. The runner bounds
    /// what one command prints; a second copy of that is not kept here.
    static constexpr std::size_t kMostOutput = std::size_t{4} << 20;

    /// The inner host must outlive this one. `progress` may be empty.
    WatchedHost(host::Host& inner, Progress progress)
        : ForwardingHost(inner), m_progress(std::move(progress)) {}

    void tellOfLongWaits(Notice notice, std::chrono::milliseconds patience = kPatience) {
        m_notice = std::move(notice);
        m_patience = patience;
    }

    int openDevice(const std::string& path, host::OpenMode mode) override;
    host::AppendResult appendFile(const std::string& path, const std::string& text,
                                  const host::BeforeWrite& beforeWrite) override;
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override;
    int operateSemaphore(int identifier,
                         const std::vector<host::SemaphoreOperation>& operations) override;
    void sleepSeconds(unsigned seconds) override;

    /// The commands so far, in order, those that only read included.
    const std::vector<CommandEffect>& commands() const { return m_commands; }
    const std::vector<AppendEffect>& appends() const { return m_appends; }

  private:
    void show(const std::string& inHand) const;
    int waitForLock(int identifier, const std::vector<host::SemaphoreOperation>& operations);
    std::string holderOf(int identifier);
    void keep(const std::string& command, const host::CommandResult& result);

    Progress m_progress;
    Notice m_notice;
    std::chrono::milliseconds m_patience = kPatience;
    std::vector<CommandEffect> m_commands;
    std::size_t m_outputLeft = kMostOutput;
    std::vector<AppendEffect> m_appends;
};

/// A command that was run otherwise, all of its output kept.
CommandEffect effectOf(const std::string& command, host::CommandResult result);

/// Tells whether the command ended with exit status 0.
bool succeeded(const CommandEffect& effect);

/// Tells whether there is no such program, or none that can be executed.
bool couldNotStart(const CommandEffect& effect);

/// How a command ended, with the last line it printed: "/sbin/x ended with exit status 1: no". For
/// a message of one line.
std::string endingText(const CommandEffect& effect);

}  // namespace cli

#endif
