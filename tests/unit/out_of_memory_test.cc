// What the library promises where memory runs out: each allocation of an operation fails in turn,
// and nothing is thrown that was not promised, no memory is lost and no descriptor stays open.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "allocation_failure.h"
#include "page_builder.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/host/linux_host.h"
#include "temporary_directory.h"

namespace {

using test::failEachAllocation;
using test::livingAllocations;
using test::Page;

/// Two disks that answer, on a host that allocates nothing but what it has to hand over.
class FrugalHost : public host::ForwardingHost {
  public:
    FrugalHost() : ForwardingHost(host::linuxHost()), m_scope(*this) {}

    int opened = 0;
    int closed = 0;

    int openDevice(const std::string&, host::OpenMode) override {
        ++opened;
        return 1000;
    }
    int closeDevice(int) override {
        ++closed;
        return 0;
    }
    int sendCommand(int, host::CommandBuffer& buffer) override {
        const bool vpd = (buffer[9] & 1) != 0;
        const Page& page = !vpd ? m_inquiry : buffer[10] == 0 ? m_supported : m_serial;
        std::fill(buffer.begin() + 8, buffer.begin() + 488, std::uint8_t{0});
        std::copy(page.data().begin(), page.data().end(), buffer.begin() + 8);
        return 0;
    }
    int addressWords(int, host::AddressWords&) override { return 0; }
    int deviceSize(int, std::uint64_t&) override { throw std::bad_alloc(); }
    host::ReadResult readFile(const std::string& path) override {
        host::ReadResult result;
        if (path == "/proc/partitions") {
            result.content = "   8        0    1048576 sda\n   8       16    1048576 sdb\n";
        } else {
            result.openError = ENOENT;
        }
        return result;
    }
    host::DirectoryListing listDirectory(const std::string&) override {
        host::DirectoryListing listing;
        listing.names = {"mpatha", "emcpowera"};
        return listing;
    }
    int hostName(std::string& name) override {
        name = "a host with a name that is longer than what a string holds in itself";
        return 0;
    }
    int openSemaphore(int, int, int) override { return 1; }
    int operateSemaphore(int, const std::vector<host::SemaphoreOperation>&) override { return 0; }

  private:
    Page m_inquiry = Page::inquiry("ACME", "RAID 5");
    Page m_supported = Page::supported({0x00, 0x80});
    Page m_serial = Page::serial("S1");
    host::Scope m_scope;
};

void deleteAll(const std::vector<CScsiDeviceData*>& records) {
    for (CScsiDeviceData* const record : records) {
        delete record;
    }
}

class OutOfMemory : public testing::Test {
  protected:
    void SetUp() override {
        if (!test::allocationsCanFail()) {
            GTEST_SKIP() << "the sanitizer's allocations cannot be made to fail";
        }
    }
};

TEST_F(OutOfMemory, RescanNeitherThrowsNorLeaks) {
    FrugalHost host;
    CLinuxDeviceDiscovery discovery;
    const std::string none;
    deleteAll(discovery.rescan(false, false, false, none, none));
    ASSERT_GT(host.opened, 4);
    ASSERT_EQ(host.opened, host.closed);
    bool threw = false;
    const long before = livingAllocations();
    const std::size_t failures = failEachAllocation([&] {
        try {
            deleteAll(discovery.rescan(true, false, false, none, none));
        } catch (...) {
            threw = true;
        }
    });
    EXPECT_FALSE(threw);
    EXPECT_GT(failures, 20U);
    EXPECT_EQ(livingAllocations(), before);
    EXPECT_EQ(host.opened, host.closed);
}

TEST_F(OutOfMemory, ValidationNeitherThrowsNorLeaks) {
    FrugalHost host;
    CLinuxDeviceDiscovery discovery;
    bool threw = false;
    const long before = livingAllocations();
    const std::size_t failures = failEachAllocation([&] {
        try {
            deleteAll(discovery.validateDevice("/dev/sda"));
        } catch (...) {
            threw = true;
        }
    });
    EXPECT_FALSE(threw);
    EXPECT_GT(failures, 5U);
    EXPECT_EQ(livingAllocations(), before);
    EXPECT_EQ(host.opened, host.closed);
}

TEST_F(OutOfMemory, PageRequestGivesSixAndLeaksNothing) {
    FrugalHost host;
    CScsiTool tool;
    CScsiDeviceData record("/dev/sda", "", "", 0, 0, 0, -1, "", "", "", 0);
    CScsiDeviceHandle handle;
    handle.open(record, false);
    int notSix = 0;
    const long before = livingAllocations();
    const std::size_t failures = failEachAllocation([&] {
        unsigned length = 7;
        PageBytes<> data;
        const unsigned result = tool.GetModePageInfo(handle, record, 0x80, length, 0, data);
        if (result != 0 && (result != 6 || length != 0 || data.get() != nullptr)) {
            ++notSix;
        }
    });
    EXPECT_EQ(failures, 2U);  // the array and its holder
    EXPECT_EQ(notSix, 0);
    EXPECT_EQ(livingAllocations(), before);
}

TEST_F(OutOfMemory, CopyOfARecordLeaksNothing) {
    CScsiDeviceData record("/dev/sda", "", "", 0, 0, 0, -1, "", "", "", 0);
    test::store(record, 0x80, Page::serial("S1"));
    test::store(record, 0x83, Page::serial("S2"));
    const long before = livingAllocations();
    const std::size_t failures = failEachAllocation([&] {
        try {
            const CScsiDeviceData copy(record);
            CScsiDeviceData assigned("", "", "", 0, 0, 0, -1, "", "", "", 0);
            assigned = record;
        } catch (const std::bad_alloc&) {
            return;
        }
    });
    EXPECT_GE(failures, 12U);  // an array, its holder and a node for each of four pages
    EXPECT_EQ(livingAllocations(), before);
}

TEST_F(OutOfMemory, DiskThatIsMeasuredIsClosed) {
    FrugalHost host;
    CLinuxDeviceDiscovery discovery;
    std::vector<CScsiDeviceData> devices;
    EXPECT_EQ(discovery.enumerateNativeDevicePathsExt(devices), 6);
    EXPECT_EQ(host.opened, 1);
    EXPECT_EQ(host.closed, 1);
}

std::size_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

TEST_F(OutOfMemory, ListedDirectoryIsClosed) {
    const test::TemporaryDirectory directory;
    for (int file = 0; file < 20; ++file) {
        directory.file(
            "a name that is longer than what a string holds in itself " + std::to_string(file), "");
    }
    const std::size_t filesBefore = openFiles();
    const long before = livingAllocations();
    const std::size_t failures = failEachAllocation([&] {
        try {
            host::linuxHost().listDirectory(directory.path());
        } catch (const std::bad_alloc&) {
            return;
        }
    });
    EXPECT_GT(failures, 20U);
    EXPECT_EQ(openFiles(), filesBefore);
    EXPECT_EQ(livingAllocations(), before);
}

}  // namespace
