#!/usr/bin/env bash
# Proves that the operating system is asked for something in src/host/ only: everything above goes
# through host::Host, so that a recorded host can stand in for the machine. It looks at what the
# built objects leave undefined: no macro, header or way of writing hides a call there. A function
# of the C library that is not known here to keep to memory, and every class of the C++ library
# that opens or waits, is printed with its object and fails the check.
#   system_calls.sh BUILD-FOLDER LIST-OF-OBJECTS
set -euo pipefail
export LC_ALL=C
build=$1 list=$2

# What the compiler's own code needs.
runtime='_GLOBAL_OFFSET_TABLE_|__dynamic_cast|_Unwind_[A-Za-z]+|__(cxa|gxx|dso|gcc|stack_chk|tls|libc_single)_[A-Za-z0-9_]+|__u?(div|mod)[a-z]*i[34]|__errno_location|__assert_fail|abort'
# Memory, texts (regular expressions too), numbers and the locale; and writing to a stream that is open already.
memory='malloc|mallopt|calloc|realloc|free|w?mem(chr|cmp|cpy|mem|move|rchr|set)|str[a-z]+|wcs[a-z]+|mbs[a-z]+|isw?(alnum|alpha|cntrl|digit|graph|lower|print|punct|space|upper|xdigit)|tow?(lower|upper)|bsearch|qsort|reg(comp|exec|free)|localeconv|setlocale|gmtime_r'
formats='v?(as|f|s|sn)?printf|v?sscanf|puts|putchar|fputs|fputc|fwrite|fflush|stdout|stderr|pthread_(mutex_(un)?lock|once|self)'
# The C library gives some of these another name: for a standard, or with a check of the length.
harmless="(__isoc[0-9]+_)?(__)?($runtime|$memory|$formats)(_chk)?"
# Of the C++ library: file systems, files, threads, waits, clocks, random devices. Nothing of ours
# stands in namespace std.
files='St(10filesystem|1[0-9]basic_[io]?f(stream|ilebuf))'
others='St(6thread|13random_device|6chrono|18condition_variable)'

# main() and the terminal are the command's place in its process; its own files are streams, and
# its option parser asks for files and the environment. A recorded host has semaphores in memory.
# What is told while something is waited for is told by threads.
allowed() {
    case $1 in
        src/host/*) echo '.*' ;;
        src/hosts/*) echo '_ZNSt18condition_variableD.*' ;;
        src/recording/*) echo "_Z.*($files|St18condition_variable).*" ;;
        cli/output/terminal.cc) echo 'getenv|geteuid|getpid|ioctl|isatty' ;;
        cli/output/utc_time.cc) echo '_ZNSt6chrono3_V212system_clock3nowEv' ;;
        cli/base/stopwatch.cc) echo '_ZNSt6chrono3_V212steady_clock3nowEv' ;;
        cli/output/progress_line.cc | cli/hosts/long_wait.cc) echo "pthread_cond_clockwait|_Z.*($others).*" ;;
        cli/main.cc) echo 'signal' ;;
        cli/*) echo "getenv|_ZN3cli.*|_Z.*($files|St18condition_variableD).*" ;;
        *) echo 'nothing' ;;
    esac
}

# "place name" for each name that is not known to be harmless.
undefined() {
    xargs nm -u -A <"$list" | sed -E \
        -e "s|^$build/||" -e 's,CMakeFiles/[^/]*\.dir/(\./)?,,' -e 's|\.o: +[Uwv] | |' -e 's|@.*||' |
        grep -E " ([^_]|_[^Z]|_Z.*($files|$others))" | { grep -vE " $harmless\$" || true; }
}

found=0
while read -r place name; do
    if ! grep -qxE "$(allowed "$place")" <<<"$name"; then
        echo "$place: $(c++filt -p "$name")"
        found=1
    fi
done < <(undefined)
exit $found
