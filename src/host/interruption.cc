#include "scsitool/host/interruption.h"

#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "host/retrying.h"

namespace host {
namespace {

constexpr int kHandled[] = {SIGINT, SIGTERM, SIGHUP};
constexpr int kSignalStatus = 128;
constexpr long kAgain = 20'000;  // microseconds

std::atomic<bool> handled{false};
std::atomic<int> asked{0};
std::atomic<int> counted{0};
static_assert(std::atomic<int>::is_always_lock_free, "signal handlers use these");

// What a signal interrupts is noticed when the call ends with EINTR. One that comes just before the
// call would be missed, so the timer comes again and again.
void setTimer(long interval) {
    const itimerval every = {{0, interval}, {0, interval}};
    ::setitimer(ITIMER_REAL, &every, nullptr);
}

void interrupt(int number) {
    const int error = errno;
    if (++counted > 1) {
        ::_exit(kSignalStatus + number);
    }
    asked = number;
    setTimer(kAgain);
    errno = error;
}

void wakeUp(int /*number*/) {}

void handle(int number, void (*handler)(int), int flags) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    // Two handlers at a time would have to agree on which signal was the first.
    for (const int other : kHandled) {
        ::sigaddset(&action.sa_mask, other);
    }
    ::sigaction(number, &action, nullptr);
}

bool isIgnored(int number) {
    struct sigaction action = {};
    return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void handleAll(void (*handler)(int), int flags) {
    for (const int number : kHandled) {
        if (!isIgnored(number)) {
            handle(number, handler, flags);
        }
    }
}

void noticeLate(int number) {
    if (++counted > 1) {
        ::_exit(kSignalStatus + number);
    }
}

}  // namespace

void handleInterruptions() {
    handled = true;
    handle(SIGALRM, wakeUp, 0);
    handleAll(interrupt, 0);
}

int interruption() noexcept {
    return asked;
}

SignalsHeldBack::SignalsHeldBack() noexcept : m_former() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &m_former);
}

SignalsHeldBack::~SignalsHeldBack() {
    ::pthread_sigmask(SIG_SETMASK, &m_former, nullptr);
}

void ignoreInterruption() noexcept {
    if (!handled) {
        return;
    }
    // The calls that write go on where a signal interrupts them.
    handleAll(noticeLate, SA_RESTART);
    setTimer(0);
}

bool mayRetry(long result) {
    return result < 0 && errno == EINTR && asked == 0;
}

}  // namespace host
