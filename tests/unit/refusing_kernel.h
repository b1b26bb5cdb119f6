#ifndef SCSITOOL_TESTS_REFUSING_KERNEL_H
#define SCSITOOL_TESTS_REFUSING_KERNEL_H

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>

namespace test {

/// Has the kernel refuse a system call to this process from now on; false when it cannot.
inline bool refuse(long number, int error) {
    sock_filter program[] = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, static_cast<unsigned>(number)},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)},
        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
    };
    const sock_fprog filter = {4, program};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// What a process of its own gives, 0 to 255; -1 when it did not come to an end by itself.
template <class Work>
int inAProcess(Work work) {
    const pid_t process = ::fork();
    if (process == 0) {
        ::_exit(work());
    }
    int status = -1;
    return ::waitpid(process, &status, 0) == process && WIFEXITED(status) ? WEXITSTATUS(status)
                                                                          : -1;
}

}  // namespace test

#endif
