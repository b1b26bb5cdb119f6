#include "bench/memory_host.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace bench {
namespace {

constexpr int kFirstDescriptor = 1000;
constexpr std::size_t kHeader = 8;

// The kernel's names: sda ... sdz, sdaa ... sdzz, sdaaa ...
std::string diskName(std::size_t index) {
    std::string letters;
    for (std::size_t rest = index + 1; rest > 0; rest = (rest - 1) / 26) {
        letters.insert(letters.begin(), static_cast<char>('a' + (rest - 1) % 26));
    }
    return "sd" + letters;
}

// The index of "/dev/sd..." in that order.
std::size_t diskIndex(const std::string& path) {
    constexpr std::size_t kLetters = 7;
    std::size_t index = 0;
    for (std::size_t i = kLetters; i < path.size(); ++i) {
        index = index * 26 + static_cast<std::size_t>(path[i] - 'a') + 1;
    }
    return index - 1;
}

using Page = std::vector<std::uint8_t>;

Page inquiryData() {
    Page page(96, 0);
    page[2] = 6;
    page[3] = 2;
    page[4] = 91;
    std::memcpy(&page[8], "ACME    DISK ARRAY      0001", 28);
    return page;
}

const Page kInquiry = inquiryData();
const Page kSupported = {0, 0, 0, 3, 0x00, 0x80, 0x83};
const Page kSerial = {0, 0x80, 0, 12, '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B'};
const Page kIdentification = {
    0,    0x83, 0,    44,   2,    1,    0,    20,   'A',  'C',  'M',  'E',  ' ',  ' ',  ' ',  ' ',
    '0',  '1',  '2',  '3',  '4',  '5',  '6',  '7',  '8',  '9',  'A',  'B',  1,    3,    0,    16,
    0x60, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE};

const Page* pageFor(const std::uint8_t* cdb) {
    if ((cdb[1] & 1) == 0) {
        return &kInquiry;
    }
    switch (cdb[2]) {
        case 0x00:
            return &kSupported;
        case 0x80:
            return &kSerial;
        case 0x83:
            return &kIdentification;
        default:
            return nullptr;
    }
}

}  // namespace

MemoryHost::MemoryHost(std::size_t disks)
    : m_partitions("major minor  #blocks  name\n\n"), m_disks(disks) {
    for (std::size_t i = 0; i < disks; ++i) {
        const std::string name = diskName(i);
        m_partitions += "   8 " + std::to_string(i * 16) + " 1048576 " + name + "\n";
    }
}

int MemoryHost::openDevice(const std::string& path, host::OpenMode /*mode*/) {
    const std::size_t index = diskIndex(path);
    return index < m_disks ? kFirstDescriptor + static_cast<int>(index) : -ENOENT;
}

int MemoryHost::closeDevice(int /*descriptor*/) {
    return 0;
}

int MemoryHost::sendCommand(int /*descriptor*/, host::CommandBuffer& buffer) {
    const Page* const page = pageFor(buffer.data() + kHeader);
    if (page == nullptr) {
        return -EIO;
    }
    std::fill(buffer.begin() + kHeader, buffer.begin() + kHeader + 480, std::uint8_t{0});
    std::copy(page->begin(), page->end(), buffer.begin() + kHeader);
    return 0;
}

int MemoryHost::addressWords(int descriptor, host::AddressWords& words) {
    words.device = static_cast<std::uint32_t>(descriptor - kFirstDescriptor);
    return 0;
}

int MemoryHost::sgIo(int /*descriptor*/, host::SgIoRequest& /*request*/) {
    return -ENOTTY;
}

int MemoryHost::deviceSize(int /*descriptor*/, std::uint64_t& bytes) {
    bytes = std::uint64_t{1} << 30;
    return 0;
}

host::ReadResult MemoryHost::readFile(const std::string& path) {
    host::ReadResult result;
    if (path != "/proc/partitions") {
        result.openError = ENOENT;
        return result;
    }
    result.content = m_partitions;
    return result;
}

host::AppendResult MemoryHost::appendFile(const std::string& /*path*/, const std::string& /*text*/,
                                          const host::BeforeWrite& /*beforeWrite*/) {
    host::AppendResult result;
    result.openError = ENOENT;
    return result;
}

bool MemoryHost::pathExists(const std::string& /*path*/) {
    return false;
}
bool MemoryHost::isDirectory(const std::string& /*path*/) {
    return false;
}

host::DirectoryListing MemoryHost::listDirectory(const std::string& /*path*/) {
    host::DirectoryListing listing;
    listing.openError = ENOENT;
    return listing;
}

int MemoryHost::readLink(const std::string& /*path*/, std::string& /*target*/) {
    return -ENOENT;
}

int MemoryHost::deviceNumber(const std::string& path, host::DeviceNumber& number) {
    const std::size_t index = diskIndex(path);
    if (index >= m_disks) {
        return -ENOENT;
    }
    number = {host::DeviceNumber::Kind::kBlock, 8, static_cast<unsigned>(index) * 16};
    return 0;
}

int MemoryHost::writeAccess(const std::string& /*path*/) {
    return -ENOENT;
}

host::CommandResult MemoryHost::runCommand(const std::string& /*command*/, int /*timeoutSeconds*/) {
    host::CommandResult result;
    result.waitStatus = 127 << 8;
    return result;
}

int MemoryHost::runShell(const std::string& /*line*/) {
    return 127 << 8;
}
int MemoryHost::openSemaphore(int /*key*/, int /*count*/, int /*flags*/) {
    return 1;
}

int MemoryHost::operateSemaphore(int /*identifier*/,
                                 const std::vector<host::SemaphoreOperation>& /*operations*/) {
    return 0;
}

int MemoryHost::semaphoreUser(int /*identifier*/) {
    return 0;
}

std::string MemoryHost::kernelRelease() {
    return "6.1.0";
}

int MemoryHost::hostName(std::string& name) {
    name = "bench";
    return 0;
}

void MemoryHost::sleepSeconds(unsigned /*seconds*/) {}

}  // namespace bench
