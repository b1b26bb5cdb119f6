#ifndef SCSITOOL_HOST_COMMAND_KEEPER_H
#define SCSITOOL_HOST_COMMAND_KEEPER_H

#include <sys/types.h>

#include <atomic>
#include <cstddef>

namespace host {

/// What the keeper and the program need, laid out before they are cloned.
struct ProgramImage {
    const char* const* programs = nullptr;  ///< tried in order
    char* const* arguments = nullptr;
    int input = -1;
    int output = -1;
    int report = -1;
    int descriptorLimit = 0;
    pid_t caller = -1;
};

/// The part of the caller's memory that keeper and program work on. It must stay until both have
/// left it: the keeper when it has been reaped, the program when `guest` is 0.
struct KeeperMemory {
    static constexpr std::size_t kStackSize = 16384;
    static constexpr int kExpected = -1;

    ProgramImage image;
    /// kExpected, then the program's number until it has memory of its own or has ended, then 0.
    /// The kernel clears it, and wakes who waits for it (futex).
    std::atomic<int> guest{kExpected};
    alignas(64) unsigned char keeperStack[kStackSize];
    alignas(64) unsigned char programStack[kStackSize];
};

/// Starts the keeper; its number or -1. It starts the program, waits for it, writes its wait status
/// to `image.report` and ends. No signal is sent at its end, and only a wait for __WALL finds it.
///
/// It shares the calling process's memory, as vfork(2) has it: a clone with a memory of its own
/// would make the kernel copy every page that a caller of a gigabyte writes to while a command
/// runs. Hence, until `guest` is 0, the calling thread has to block every signal and may not rely
/// on errno, which it shares. From then on the keeper makes no call that can fail.
///
/// The keeper ends with the thread that started it, and with the keeper, however it ends, its whole
/// process group is killed. (Where memory cannot be shared, as under valgrind, it is copied.) Undo
/// operations of the caller's semaphores (SEM_UNDO) wait for the
/// keeper too: a lock that the kernel gives back when a caller dies is not free before that.
pid_t startKeeper(KeeperMemory& memory);

}  // namespace host

#endif
