#!/usr/bin/env bash
# Proves that the check of the objects finds what asks the operating system, and that it takes
# nothing else for it.
#   system_calls_are_found.sh CHECK C++-COMPILER
set -euo pipefail
check=$1 compiler=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

compile() {
    "$compiler" -std=c++17 -O1 -w -x c++ -c - -o "$folder/$1.o"
}

# expect OBJECT PLACE [CALL...]: of an object in that place the check names these calls, no more.
expect() {
    local object=$1 place=$2 status=0
    shift 2
    local at=$folder/${place%%/*}/CMakeFiles/target.dir/${place#*/}.o
    mkdir -p "$(dirname "$at")"
    cp "$folder/$object.o" "$at"
    echo "$at" >"$folder/list"
    "$check" "$folder" "$folder/list" >"$folder/found" || status=$?
    printf '%s\n' "$@" | sed "/^\$/d; s|^|$place: |" | sort >"$folder/expected"
    if ! diff <(sort "$folder/found") "$folder/expected" || [ $status -ne $(($# > 0)) ]; then
        echo "the check of $object as $place ended with $status; expected (>): ${*:-nothing}"
        exit 1
    fi
}

compile calls <<'END'
#include <dirent.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <chrono>
#include <thread>
#define HIDDEN(name) o##name
int viaMacro(const char* path) { return HIDDEN(pen)(path, O_RDONLY); }
auto viaPointer() { return &ioctl; }
void viaStandard(const char* line) { std::system(line); }
void pause(int n) { std::this_thread::sleep_for(std::chrono::seconds(n)); }
int terminal() { return isatty(1); }
FILE* stream(const char* path) { return std::fopen(path, "r"); }
const char* environment() { return std::getenv("HOME"); }
DIR* folder(const char* path) { return ::opendir(path); }
END
# How a pause of the C++ library reaches the kernel depends on the library's version.
pause=$(nm -u "$folder/calls.o" | grep -oE '(clock_)?nanosleep')
calls=(open ioctl system "$pause" isatty fopen getenv opendir)
expect calls src/scsi/tool.cc "${calls[@]}"
expect calls src/recording/hex.cc "${calls[@]}"
expect calls cli/commands/disks.cc open ioctl system "$pause" isatty fopen opendir
expect calls src/host/linux_host.cc

compile files <<'END'
#include <condition_variable>
#include <filesystem>
#include <fstream>
bool there(const char* path) { return std::filesystem::exists(path); }
void write(std::ofstream& file, const char* path) { file.open(path); }
void wait(std::condition_variable& c, std::unique_lock<std::mutex>& lock) { c.wait(lock); }
END
for place in src/udid/page.cc src/kit/configuration.cc cli/main.cc; do
    # How much of each the compiler leaves undefined is its own matter.
    (expect files $place >"$folder/log") || true
    for part in filesystem 'basic_(ofstream|filebuf)' condition_variable; do
        grep -qE "^$place: .*$part" "$folder/found" || { echo "no $part is found in $place" && exit 1; }
    done
done
expect files src/recording/recorded_host.cc

compile memory <<'END'
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>
std::map<std::string, std::vector<std::string>> map;
std::mutex mutex;
struct Host { virtual int open(const char* path); int ioctl(int); };
int members(Host& host, const char* path) { return host.open(path) + host.ioctl(1); }
int numbers(const char* text) { int n = 0; std::sscanf(text, "%d", &n); return n; }
void print(const char* text) { std::printf("%s\n%s", text, text); std::fputs(text, stderr); }
void keep(const char* text) { const std::lock_guard<std::mutex> lock(mutex); map[text].push_back(text); }
void lower(char* text) { *text = std::tolower(*text); std::memmove(text, text + 1, std::strlen(text)); }
END
expect memory src/scsi/tool.cc
