#!/bin/sh
# Proves that the search for system calls finds them and takes nothing else for one.
#
# usage: system_calls_are_found.sh SEARCH_SCRIPT
set -eu
search=${1:?usage: system_calls_are_found.sh SEARCH_SCRIPT}
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree/src/scsi" "$tree/src/host" "$tree/src/recording" "$tree/cli"
failed=0

# expect found|clean FILE LINE
expect() {
    printf '%s\n' "$3" > "$tree/$2"
    if sh "$search" "$tree" > "$tree/output"; then result=clean; else result=found; fi
    if [ "$result" != "$1" ] || { [ "$1" = found ] && ! grep -q "^$2:1:" "$tree/output"; }; then
        printf 'not %s in %s: %s\n' "$1" "$2" "$3"
        failed=1
    fi
    rm "$tree/$2"
}

while IFS= read -r line; do
    expect found src/scsi/x.cc "$line"
    expect clean src/host/x.cc "$line"
done <<'LINES'
    const int fd = open(path, O_RDONLY);
    const int fd = ::open(path, O_RDONLY);
    return ioctl(fd, request, buffer);
    ioctl (fd, request, buffer);
    if (fork() == 0) {
    std::system(line.c_str());
    system(line.c_str());
    FILE* pipe = popen(command, "r");
    while ((entry = readdir(directory)) != nullptr) {
    return unlink(path);
    const int s = socket(AF_UNIX, SOCK_STREAM, 0);
    sleep(5);
    std::this_thread::sleep_for(delay);
    std::ifstream file(path);
    ::read(fd, buffer, size);
    const char* home = std::getenv("HOME");
#include <unistd.h>
#include <sys/ioctl.h>
#include <filesystem>
LINES

while IFS= read -r line; do
    expect clean src/scsi/x.cc "$line"
done <<'LINES'
    const int fd = host.openDevice(path, mode);
    handle.open(device, true);
    int open(CScsiDeviceData& device, bool noThrow);
    int CScsiDeviceHandle::open(CScsiDeviceData& device, bool noThrow) {
    CFiExecPipePosix pipe(1);
    // open(path) would not do
    trace("ioctl(%d) failed");
    std::sscanf(text, "%d", &number);
    std::printf("%d", number);
    closeDevice(fd);
LINES

expect clean cli/x.cc '    std::ifstream file(path);'
expect clean src/recording/x.cc '    std::ofstream file(path);'
expect found cli/x.cc '    std::system("ls");'
exit "$failed"
