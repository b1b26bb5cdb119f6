#ifndef SCSITOOL_CLI_OUTPUT_LINE_FILE_H
#define SCSITOOL_CLI_OUTPUT_LINE_FILE_H

#include <fstream>
#include <ostream>
#include <string>

namespace cli {

/// A file for trace or journal lines; "-" is standard error.
class LineFile {
  public:
    enum class Mode { kReplace, kAppend };

    /// `what` names the file in messages ("journal"). Throws UsageError when it does not open.
    LineFile(std::string path, const char* what, Mode mode, std::ostream& err);

    std::ostream& stream() { return m_path == "-" ? m_err : m_file; }
    /// Writes what is left. Throws OperationError when not all lines were taken.
    void finish();

  private:
    std::string m_path;
    const char* m_what;
    std::ostream& m_err;
    std::ofstream m_file;
};

}  // namespace cli

#endif
