#include "cli/base/whole_file.h"

#include <cerrno>
#include <cstring>

#include "cli/base/failure.h"
#include "scsitool/host/interruption.h"
#include "scsitool/host/own_files.h"

namespace cli {

void WholeFile::demandWritable() const {
    const int refused = host::checkReplaceable(m_path);
    if (refused != 0) {
        fail(-refused);
    }
}

void WholeFile::write(const std::string& text) const {
    // Whoever is told that it was ended finds the file as it was.
    host::ignoreInterruption();
    if (host::interruption() != 0) {
        throw OperationError(m_path + ": ended before it was written; nothing was written");
    }
    const int error = host::replaceFile(m_path, text);
    if (error != 0) {
        fail(-error);
    }
}

void WholeFile::fail(int error) const {
    throw OperationError(
        m_path + ": " +
        (error == EINVAL ? "it is there and no regular file (a link, a directory or a device); "
                           "name another file"
                         : "cannot write the " + m_what + ": " + std::strerror(error)) +
        (error == EINVAL ? "" : "; nothing was left there"));
}

}  // namespace cli
