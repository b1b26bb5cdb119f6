#ifndef SCSITOOL_HOST_MACHINE_PATHS_H
#define SCSITOOL_HOST_MACHINE_PATHS_H

#include <cerrno>
#include <string>

/// What the calls of the machine share about paths and results.
namespace host::machine {

/// A system call's result as `Host` hands it over.
inline int negatedErrno(int result) {
    return result < 0 ? -errno : result;
}

/// A NUL would cut the path silently: another file than the named one would be meant.
inline bool isPath(const std::string& path) {
    return path.find('\0') == std::string::npos;
}

/// open(2), close-on-exec, retried when a signal interrupts it: a descriptor or a negated errno.
int openRetrying(const std::string& path, int flags);

/// close(2): 0 or a negated errno.
int closeOnce(int descriptor);

}  // namespace host::machine

#endif
