#ifndef SCSITOOL_HOST_COMMAND_RUNNER_H
#define SCSITOOL_HOST_COMMAND_RUNNER_H

#include <string>
#include <vector>

#include "scsitool/host/command_words.h"
#include "scsitool/host/host.h"

namespace host {

/// Runs a program without a shell and waits for its end.
///
/// `words` are the program and its arguments. An absolute path is taken as it is; a name without a
/// '/' is looked up in /sbin, /bin, /usr/sbin and /usr/bin; a relative path is refused. The program
/// starts with /dev/null as standard input, no descriptor but 0, 1 and 2, default signals, in a
/// session and process group of its own, and with PATH and LC_ALL=C as its whole environment.
///
/// The lines hold standard output and standard error as they came, in order, in at most 64 MiB of
/// memory; what is beyond is read and dropped. Once the program has ended, what the pipe then
/// holds is taken; a descendant that still has the pipe open is not waited for and lives on.
///
/// The wait status is the program's own. At the time limit (seconds; 0 or below is at once) the
/// program and its whole group are killed: `timedOut` is set, the status is that of signal 9 and
/// the lines hold what came until then; an interruption (`handleInterruptions`) ends it likewise,
/// without `timedOut`. A program that cannot be executed or started gives 127 << 8
/// and no lines.
///
/// The caller's signal mask, handlers and other children are left alone, and it is sent no SIGCHLD;
/// the result is the same when the process ignores SIGCHLD. Safe for any number of threads.
CommandResult runProgram(const std::vector<std::string>& words, int timeoutSeconds);

}  // namespace host

#endif
