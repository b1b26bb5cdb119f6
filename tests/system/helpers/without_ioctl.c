/* Starts a program for which the kernel refuses one ioctl, as a kernel does that does not know it.
 *   without_ioctl NUMBER ERRNO PROGRAM [ARGUMENT ...]
 * Its processes inherit that. */
#include <errno.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

int main(int count, char** words) {
    if (count < 4) {
        fprintf(stderr, "usage: %s NUMBER ERRNO PROGRAM [ARGUMENT ...]\n", words[0]);
        return 2;
    }
    const unsigned request = (unsigned)strtoul(words[1], NULL, 0);
    const unsigned error = (unsigned)strtoul(words[2], NULL, 0);
    struct sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_ioctl, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, args[1])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, request, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | (error & SECCOMP_RET_DATA)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const struct sock_fprog program = {sizeof filter / sizeof filter[0], filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        perror("seccomp");
        return 126;
    }
    execvp(words[3], words + 3);
    perror(words[3]);
    return 127;
}
