#ifndef SCSITOOL_HOST_INTERRUPTION_H
#define SCSITOOL_HOST_INTERRUPTION_H

#include <signal.h>

#include "scsitool/host/export.h"

/// How a program that uses the library ends early and leaves the host in order. A program that does
/// not ask for it has none of it: the library installs no signal handler of its own accord.
namespace host {

/// Lets SIGINT, SIGTERM and SIGHUP interrupt what the process does on the Linux host, instead of
/// ending the process in the middle of it. Meant for the main program of a process with one thread,
/// called once, before anything is done. A signal that is ignored (as nohup(1) has it) stays so.
///
/// After the first signal no operation of the Linux host waits any more: a pause ends, waiting for
/// a semaphore and reading fail with EINTR, and a command is killed with its whole group. A request
/// that a device has already been sent ends when the kernel ends it. The program sees that in
/// `interruption` and ends. A second signal ends the process at once with the status 128 + signal;
/// the command in hand and the semaphores end with it.
///
/// Effects on the process: handlers for the three signals and for SIGALRM, and a timer.
SCSITOOL_EXPORT void handleInterruptions();

/// The signal that asks to end; 0 as long as there was none.
SCSITOOL_EXPORT int interruption() noexcept;

/// Lets the threads that are started meanwhile take no signal, so that one that asks to end reaches
/// the thread that waits. The calling thread takes its signals again at the end.
class SCSITOOL_EXPORT SignalsHeldBack {
  public:
    SignalsHeldBack() noexcept;
    ~SignalsHeldBack();
    SignalsHeldBack(const SignalsHeldBack&) = delete;
    SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

  private:
    sigset_t m_former;
};

/// The work is done and its result is to be written: from here on a first signal changes nothing
/// any more. A second one still ends the process.
SCSITOOL_EXPORT void ignoreInterruption() noexcept;

}  // namespace host

#endif
