#ifndef SCSITOOL_RECORDING_EFFECTS_JOURNAL_H
#define SCSITOOL_RECORDING_EFFECTS_JOURNAL_H

#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

namespace recording {

/// The line that a run's journal begins with, without a line feed: which version was told to do
/// what, and when (RFC 3339, UTC). Effects of several runs can stand in one file.
std::string runLine(const std::string& version, const std::vector<std::string>& command,
                    const std::string& at);

/// The effects on a host in the order in which they were asked for, each as one line of JSON
/// without a line feed. What is not valid UTF-8 is written as `toUtf8` has it. Safe for any number
/// of threads.
class Journal {
  public:
    Journal() = default;
    /// Also writes every line, with a line feed, to a stream at once; the stream must outlive the
    /// journal.
    explicit Journal(std::ostream& stream) : m_stream(&stream) {}
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// A command was run, with its time limit in seconds.
    void addCommand(const std::string& command, int timeoutSeconds);
    /// Text was appended to a file.
    void addAppend(const std::string& path, const std::string& data);
    /// A line was run through the shell.
    void addShell(const std::string& line);
    /// The caller paused.
    void addSleep(unsigned seconds);
    /// A recorded host was asked what its recording does not tell.
    void addUnanswered(const std::string& what);

    /// All lines so far, without line feeds.
    std::vector<std::string> lines() const;
    /// What was asked and not answered, in order, without the JSON around it.
    std::vector<std::string> unanswered() const;

  private:
    void add(std::string line);

    mutable std::mutex m_mutex;
    std::ostream* m_stream = nullptr;
    std::vector<std::string> m_lines;
    std::vector<std::string> m_unanswered;
};

}  // namespace recording

#endif
