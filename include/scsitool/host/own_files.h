#ifndef SCSITOOL_HOST_OWN_FILES_H
#define SCSITOOL_HOST_OWN_FILES_H

#include <string>

#include "scsitool/host/export.h"
#include "scsitool/host/host.h"

/// Files of the program's own: what it was told to read or to write on its command line. They are
/// no part of the host that it works on, so no `Host` is asked for them, and a `LiveHostRefusal`
/// does not concern them. All may be called from any thread.
namespace host {

/// Reads a file that the program was told to read (a recorded host, mailed pages), of at most 64
/// MiB, with the result of `Host::readFile`. "-" is standard input, whatever it is, to its end;
/// `readError` is EINTR when a signal ended that (`host::interruption`).
SCSITOOL_EXPORT ReadResult readInputFile(const std::string& path);

/// Tells whether two paths lead to one file on disk, under whatever names and links. Of files that
/// are not there yet it tells whether opening both for writing would make one. What is no file (a
/// terminal, a pipe, /dev/null) may be named any number of times: false, as for a path that leads
/// nowhere.
SCSITOOL_EXPORT bool isOneFile(const std::string& left, const std::string& right);

/// Tells whether `replaceFile` could write there as things stand: 0, or a negated errno. EINVAL is
/// a path that is there and is no regular file (a link, a directory, a device) or holds a NUL.
SCSITOOL_EXPORT int checkReplaceable(const std::string& path);

/// Writes a file whole or not at all: a new file beside it (mode 0600, created exclusively) is
/// written, brought to the disk and renamed to the path, where it takes the place of a regular file
/// that is there. Gives 0, or a negated errno as above; the path is then as it was and nothing is
/// left beside it. Signals that end the process wait until this is done.
SCSITOOL_EXPORT int replaceFile(const std::string& path, const std::string& content);

/// Opens /dev/null for each of the descriptors 0 to 2 that is closed, the first thing a program
/// does: otherwise the next file that it opens becomes its standard output, and what it prints
/// lands in that file. They are opened the wrong way round (standard input for writing, the others
/// for reading), so that whoever uses one is told that it goes nowhere. 0 or a negated errno.
/// Call it while the process has one thread.
SCSITOOL_EXPORT int openStandardDescriptors();

}  // namespace host

#endif
