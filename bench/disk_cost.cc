// Takes the time of one enumeration of this host's sd disks: by the library, or by the system calls
// alone that it cannot do without. Started in an emulator whose clock counts instructions, the time
// is a number of instructions.
#include <fcntl.h>
#include <malloc.h>
#include <scsi/scsi.h>
#include <scsi/scsi_ioctl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "scsitool/udid/device_udid_factory.h"

namespace {

constexpr unsigned char kInquiry = 0x12;
constexpr unsigned char kAllocation = 252;  // as the library asks for it

std::vector<std::string> wholeDisks() {
    std::vector<std::string> disks;
    std::ifstream table("/proc/partitions");
    for (std::string line; std::getline(table, line);) {
        std::string name;
        for (std::istringstream words(line); words >> name;) {
        }
        if (name.compare(0, 2, "sd") == 0 &&
            name.find_first_of("0123456789") == std::string::npos) {
            disks.push_back("/dev/" + name);
        }
    }
    return disks;
}

// Every open of a disk looks for the tuning settings anew.
int openDisk(const std::string& disk) {
    const int settings = ::open("/etc/scsitool/devicefi.conf", O_RDONLY | O_CLOEXEC);
    if (settings >= 0) {
        ::close(settings);
    }
    return ::open(disk.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
}

void askPage(int descriptor, unsigned char evpd, unsigned char page) {
    std::array<unsigned char, 512> buffer = {};
    const std::uint32_t length = kAllocation;
    std::memcpy(&buffer[4], &length, sizeof length);
    const std::array<unsigned char, 6> command = {kInquiry, evpd, page, 0, kAllocation, 0};
    std::memcpy(&buffer[8], command.data(), command.size());
    ::ioctl(descriptor, SCSI_IOCTL_SEND_COMMAND, buffer.data());
}

void askDisk(int descriptor) {
    std::array<std::uint32_t, 2> address = {};
    askPage(descriptor, 0, 0);
    ::ioctl(descriptor, SCSI_IOCTL_GET_IDLUN, address.data());
    askPage(descriptor, 1, 0x00);
    askPage(descriptor, 1, 0x83);
    askPage(descriptor, 1, 0x80);
}

std::size_t bySystemCalls() {
    const std::vector<std::string> disks = wholeDisks();
    for (const std::string& disk : disks) {
        ::close(openDisk(disk));
    }
    for (const std::string& disk : disks) {
        const int descriptor = openDisk(disk);
        askDisk(descriptor);
        ::close(descriptor);
    }
    return disks.size();
}

std::size_t byLibrary() {
    return CUDIDFactory().enumerateDeviceMap(false, false, false, "", "").size();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string way = argc == 2 ? argv[1] : "";
    if (way != "calls" && way != "library") {
        std::fputs("usage: disk_cost calls|library\n", stderr);
        return 2;
    }
    // What a round frees stays with the process, as in one that goes on working: growing the heap
    // anew is none of a disk's cost.
    ::mallopt(M_TRIM_THRESHOLD, 64 << 20);
    constexpr int kRounds = 3;  // the first one fills the caches
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        const std::size_t disks = way == "calls" ? bySystemCalls() : byLibrary();
        const std::chrono::nanoseconds took = std::chrono::steady_clock::now() - begin;
        std::printf("%zu %lld\n", disks, static_cast<long long>(took.count()));
    }
    return 0;
}
