#include "cli/output/line_file.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "cli/base/failure.h"

namespace cli {

LineFile::LineFile(std::string path, const char* what, Mode mode, std::ostream& err)
    : m_path(std::move(path)), m_what(what), m_err(err) {
    if (m_path == "-") {
        return;
    }
    m_file.open(m_path, std::ios::out | (mode == Mode::kAppend ? std::ios::app : std::ios::trunc));
    if (!m_file) {
        throw UsageError(m_path + ": cannot open the " + m_what +
                         " file for writing: " + std::strerror(errno));
    }
}

void LineFile::finish() {
    if (m_path != "-" && !m_file.flush()) {
        throw OperationError(m_path + ": cannot write the " + m_what + " file; it ends early");
    }
}

}  // namespace cli
