#!/bin/sh
# Proves that the operating system is asked for something in src/host/ only: everything above goes
# through host::Host, so that a recorded host can stand in for the machine. Prints each line that
# breaks this and fails. C library parsing, formatting and writing to standard output are no matter
# of the host; in cli/ and src/recording/ the command's own files may be streams.
#
# usage: system_calls.sh SOURCE_DIRECTORY
set -eu
cd "${1:?usage: system_calls.sh SOURCE_DIRECTORY}"

calls='accept|access|alarm|bind|chdir|chmod|chown|clone|close|closedir|connect|creat|daemon|dup|dup2|dup3|epoll_[a-z]+|eventfd|execl|execle|execlp|execv|execve|execvp|execvpe|faccessat|fchmod|fcntl|fdopen|fdopendir|flock|fopen|fork|freopen|fstat|fsync|ftruncate|getcwd|getdents|getenv|gethostname|getpid|inotify_[a-z]+|ioctl|kill|link|lockf|lseek|lstat|mkdir|mkfifo|mknod|mkstemp|mmap|mount|msgget|munmap|nanosleep|open|open64|openat|opendir|pause|pipe|pipe2|poll|popen|posix_spawn|posix_spawnp|ppoll|prctl|pread|pselect|ptrace|putenv|pwrite|readdir|readlink|realpath|recv|remove|rename|rmdir|scandir|secure_getenv|select|semctl|semget|semop|semtimedop|send|setenv|setpgid|setsid|shmget|sigaction|signal|sleep|socket|stat|statfs|statvfs|symlink|sync|syscall|sysconf|sysinfo|system|tmpfile|truncate|umask|umount|uname|unlink|unsetenv|usleep|utime|vfork|wait|waitid|waitpid'
global="(^|[^A-Za-z0-9_>)])::(read|write|raise|$calls)[[:space:]]*\\("
standard='std::(system|remove|rename|getenv|raise|signal|fopen|freopen|tmpfile)[[:space:]]*\(|std::this_thread::sleep|std::filesystem'
# Headers that only bring constants and macros (sys/ipc.h, sys/wait.h) do no harm: calls are found.
headers='#include <(filesystem|unistd\.h|fcntl\.h|dirent\.h|spawn\.h|poll\.h|sys/(ioctl|socket|stat|mman|mount|sem|shm|uio|utsname|prctl|syscall)\.h|scsi/[a-z_]+\.h|linux/[a-z_]+\.h)>'
streams='std::(basic_)?[io]?(fstream|filebuf)|#include <fstream>'
# A member (behind "." or "->") and a qualified name are something else.
bare="(^|[^A-Za-z0-9_.:>~])($calls)[[:space:]]*\\("
# A name behind a type is declared, not called; what stands behind "return" is called.
declared="^[0-9]+:[[:space:]]*((static|virtual|explicit|inline|constexpr|const|unsigned) )*[A-Za-z_][A-Za-z0-9_:<>]*[&*]* ($calls)\\("
returned="(return|throw|else|case) +($calls)[[:space:]]*\\("

# The code alone: texts are emptied and comments dropped.
code() {
    sed -e 's/"\([^"\\]\|\\.\)*"/""/g' -e 's://.*$::' -e 's:^[[:space:]]*/\*.*$::' "$1"
}

hits() {
    code "$1" | grep -nE "$global|$standard|$headers" | grep -vE "$allowed" || true
    code "$1" | grep -nE "$bare" | grep -vE "$declared" || true
    code "$1" | grep -nE "$returned" || true
    case $1 in
        cli/* | src/recording/*) ;;
        *) code "$1" | grep -nE "$streams" || true ;;
    esac
}

# The command writes to a pipe whose reader may go away, and asks for its own terminal.
allowed='std::signal\(SIGPIPE, SIG_IGN\);'

found=0
for file in $(find src cli \( -name '*.cc' -o -name '*.h' \) 2>/dev/null | sort); do
    case $file in
        src/host/* | cli/output/terminal.cc) continue ;;
    esac
    lines=$(hits "$file" | sort -nu)
    if [ -n "$lines" ]; then
        printf '%s\n' "$lines" | sed "s|^|$file:|"
        found=1
    fi
done
exit "$found"
