#ifndef SCSITOOL_CLI_BASE_WHOLE_FILE_H
#define SCSITOOL_CLI_BASE_WHOLE_FILE_H

#include <string>

namespace cli {

/// A file that a command was told to write, whole or not at all; it takes the place of a regular
/// file that is there. `what` it is stands in messages: "recording".
class WholeFile {
  public:
    WholeFile(std::string path, std::string what)
        : m_path(std::move(path)), m_what(std::move(what)) {}

    const std::string& path() const { return m_path; }
    /// Throws OperationError when it could not be written as things stand: to be known before a
    /// host is asked, which may take its time.
    void demandWritable() const;
    /// Throws OperationError when a signal has ended the command or it cannot be written.
    void write(const std::string& text) const;

  private:
    [[noreturn]] void fail(int error) const;

    const std::string m_path;
    const std::string m_what;
};

}  // namespace cli

#endif
