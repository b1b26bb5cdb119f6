#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "device_host.h"
#include "scsitool/scsi/scsitool.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::Bytes;
using test::counting;
using test::DeviceHost;
using test::diskOf;
using test::Page;
using test::ranInShell;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kEntering[] = "[4] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()";
constexpr char kExiting[] = "[4] libscsitool: DEBUG: Exiting CScsiTool::GetModePageInfo()";
constexpr char kIoctlFailed[] =
    "[1] libscsitool: ERROR: ioctl(SCSI_IOCTL_SEND_COMMAN) for device /dev/sda ";
constexpr char kException[] = "[2] GetModePageInfo: Exception Ocurred";
constexpr char kAddressEntering[] =
    "[4] libscsitool: DEBUG: Entering CScsiTool::UpdateTargetLunPortInfo()";
constexpr char kAddressFailed[] =
    "[1] libscsitool: ERROR: CScsiTool::UpdateTargetLunPortInfo() failed for device /dev/sda.";

// One device, a tool with a trace and what its last request gave.
struct ToolOnADisk {
    explicit ToolOnADisk(const recording::RecordedDevice& device) {
        RecordedHostData recorded;
        recorded.devices["/dev/sda"] = device;
        host = std::make_unique<DeviceHost>(recorded);
        tool.registerTraceLog(trace.log());
    }
    unsigned ask(unsigned page, unsigned evpd) {
        return tool.GetModePageInfo(handle, record, page, length, evpd, data);
    }
    Bytes bytes() const {
        return data.get() == nullptr ? Bytes() : Bytes(data->get(), data->get() + length);
    }

    std::unique_ptr<DeviceHost> host;
    TraceCapture trace;
    CScsiTool tool;
    CScsiDeviceData record{"/dev/sda", "", "db01", 0, 0, 0, -1, "", "", "", 0};
    CScsiDeviceHandle handle;
    unsigned length = 777;
    PageBytes<> data;
};

recording::RecordedDevice wholeDisk() {
    return diskOf(Page::inquiry("ACME", "DISK"), {{0x00, Page::supported({0x80, 0x83})},
                                                  {0x80, Page::serial("S1")},
                                                  {0x83, Page::names().naa(counting(8))}});
}

template <class Call>
int thrownBy(Call call) {
    try {
        call();
    } catch (int thrown) {
        return thrown;
    }
    return 0;
}

TEST(ScsiTool, CommandBufferIsWholeAsTheKernelTakesIt) {
    ToolOnADisk on(wholeDisk());
    on.record.m_lun = 3;
    EXPECT_EQ(on.ask(0x83, 0), 0U);
    host::CommandBuffer expected{};
    const std::uint32_t outputLength = 480;
    std::memcpy(expected.data() + 4, &outputLength, 4);
    const Bytes cdb = {0x12, 0x61, 0x83, 0x00, 0xFC, 0x00};
    std::copy(cdb.begin(), cdb.end(), expected.begin() + 8);
    ASSERT_EQ(on.host->sent.size(), 1U);
    EXPECT_EQ(on.host->sent[0], expected);
}

TEST(ScsiTool, EvpdBitFollowsThePageAndTheRequest) {
    const struct {
        unsigned page;
        unsigned evpd;
        const char* cdb;
    } rows[] = {{0x83, 0, "12 01 83 00 fc 00"}, {0x83, 1, "12 01 83 00 fc 00"},
                {0x00, 0, "12 00 00 00 fc 00"}, {0x00, 1, "12 01 00 00 fc 00"},
                {0x00, 2, "12 00 00 00 fc 00"}, {0x01, 2, "12 01 01 00 fc 00"},
                {0xFF, 0, "12 01 ff 00 fc 00"}};
    for (const auto& row : rows) {
        ToolOnADisk on(wholeDisk());
        on.ask(row.page, row.evpd);
        EXPECT_EQ(on.host->requests.back(), std::string("send /dev/sda ") + row.cdb);
    }
}

TEST(ScsiTool, LunStandsInTheThreeHighestBits) {
    const struct {
        int lun;
        const char* standard;
        const char* vpd;
    } rows[] = {
        {0, "00", "01"}, {3, "60", "61"}, {7, "e0", "e1"}, {8, "00", "01"}, {255, "e0", "e1"}};
    for (const auto& row : rows) {
        ToolOnADisk on(wholeDisk());
        on.record.m_lun = row.lun;
        on.ask(0, 0);
        EXPECT_EQ(on.host->requests.back(),
                  std::string("send /dev/sda 12 ") + row.standard + " 00 00 fc 00");
        on.ask(0x80, 0);
        EXPECT_EQ(on.host->requests.back(),
                  std::string("send /dev/sda 12 ") + row.vpd + " 80 00 fc 00");
    }
}

TEST(ScsiTool, VpdResponseIsItsPageLengthAndFour) {
    for (const std::size_t payload : {0U, 1U, 247U}) {
        const Page page = Page::vpd(0xC0, payload + 4).bytes(4, counting(payload, 9));
        ToolOnADisk on(diskOf(Page::inquiry("A", "B"), {{0xC0, page}}));
        EXPECT_EQ(on.ask(0xC0, 0), 0U);
        EXPECT_EQ(on.length, payload + 4);
        EXPECT_EQ(on.bytes(), page.data());
        EXPECT_EQ(on.trace.lines(), (Texts{kEntering, kExiting}));
    }
}

TEST(ScsiTool, StandardResponseIsItsAdditionalLengthAndFive) {
    for (const std::size_t length : {5U, 36U, 96U, 252U}) {
        const Page page = Page::inquiry("ACME", "DISK", length);
        ToolOnADisk on(diskOf(page));
        EXPECT_EQ(on.ask(0, 0), 0U);
        EXPECT_EQ(on.length, length);
        EXPECT_EQ(on.bytes(), page.data());
    }
}

TEST(ScsiTool, ResponseThatClaimsMoreThanCameIsFilledWithZeros) {
    const Page page = Page::vpd(0xC0, 8).bytes(4, counting(4)).set(3, 255);
    ToolOnADisk on(diskOf(Page::inquiry("A", "B").cut(6).set(4, 255), {{0xC0, page}}));
    EXPECT_EQ(on.ask(0xC0, 0), 0U);
    Bytes expected = page.data();
    expected.resize(259);
    EXPECT_EQ(on.length, 259U);
    EXPECT_EQ(on.bytes(), expected);
    on.data.reset();
    EXPECT_EQ(on.ask(0, 0), 0U);
    EXPECT_EQ(on.length, 260U);
    expected = Page::inquiry("A", "B").cut(6).set(4, 255).data();
    expected.resize(260);
    EXPECT_EQ(on.bytes(), expected);
}

TEST(ScsiTool, ResponseOfNoBytesReadsAsZeros) {
    ToolOnADisk on(diskOf(Page(), {{0xC0, Page()}}));
    EXPECT_EQ(on.ask(0xC0, 0), 0U);
    EXPECT_EQ(on.bytes(), Bytes(4));
    EXPECT_EQ(on.ask(0, 0), 0U);
    EXPECT_EQ(on.bytes(), Bytes(5));
}

TEST(ScsiTool, FormerDataAreReplaced) {
    ToolOnADisk on(wholeDisk());
    EXPECT_EQ(on.ask(0x80, 0), 0U);
    EXPECT_EQ(on.ask(0x83, 0), 0U);
    EXPECT_EQ(on.bytes(), Page::names().naa(counting(8)).data());
}

TEST(ScsiTool, FormerDataAreGoneAfterAFailure) {
    ToolOnADisk on(wholeDisk());
    EXPECT_EQ(on.ask(0x80, 0), 0U);
    EXPECT_EQ(on.ask(0xC0, 0), 6U);
    EXPECT_EQ(on.length, 0U);
    EXPECT_EQ(on.data.get(), nullptr);
    EXPECT_EQ(on.ask(0x80, 0), 0U);
    on.host->onSend = [](host::CommandBuffer&) -> DeviceHost::Answer { throw std::bad_alloc(); };
    EXPECT_EQ(on.ask(0x80, 0), 6U);
    EXPECT_EQ(on.data.get(), nullptr);
    CScsiDeviceData gone("/dev/sdx", "", "", 0, 0, 0, -1, "", "", "", 0);
    CScsiDeviceHandle closed;
    on.host->onSend = [](host::CommandBuffer&) { return DeviceHost::Answer(); };
    EXPECT_EQ(on.ask(0x80, 0), 0U);
    EXPECT_EQ(on.tool.GetModePageInfo(closed, gone, 0x80, on.length, 0, on.data), 6U);
    EXPECT_EQ(on.length, 0U);
    EXPECT_EQ(on.data.get(), nullptr);
}

TEST(ScsiTool, PageMayBeTheVariableThatGetsTheLength) {
    ToolOnADisk on(wholeDisk());
    on.length = 0x83;
    EXPECT_EQ(on.tool.GetModePageInfo(on.handle, on.record, on.length, on.length, 0, on.data), 0U);
    EXPECT_EQ(on.host->requests.back(), "send /dev/sda 12 01 83 00 fc 00");
    EXPECT_EQ(on.bytes(), Page::names().naa(counting(8)).data());
}

TEST(ScsiTool, RequestsGoToTheHostThatOpenedTheHandle) {
    ToolOnADisk on(wholeDisk());
    EXPECT_EQ(on.ask(0, 0), 0U);
    const DeviceHost other;
    EXPECT_EQ(on.ask(0x80, 0), 0U);
    EXPECT_EQ(on.tool.GetTargetLunPortInfo(on.handle, on.record), 0U);
    EXPECT_EQ(on.host->requests.back(), "address /dev/sda");
    EXPECT_EQ(other.requests, Texts{});
}

TEST(ScsiTool, HandleWhoseHostIsGoneGivesSix) {
    ToolOnADisk on(wholeDisk());
    EXPECT_EQ(on.ask(0, 0), 0U);
    on.host.reset();
    const DeviceHost other;
    EXPECT_EQ(on.ask(0x80, 0), 6U);
    EXPECT_EQ(thrownBy([&] { on.tool.GetTargetLunPortInfo(on.handle, on.record); }), 6);
    EXPECT_EQ(other.requests, Texts{});
}

TEST(ScsiTool, RefusedRequestGivesSixAndNoData) {
    ToolOnADisk on(wholeDisk());
    EXPECT_EQ(on.ask(0xC0, 0), 6U);
    EXPECT_EQ(on.length, 0U);
    EXPECT_EQ(on.data.get(), nullptr);
    EXPECT_EQ(on.trace.lines(), (Texts{kEntering, kIoctlFailed}));
}

TEST(ScsiTool, ScsiStatusWithSenseDataGivesSixAndNoData) {
    for (const int status : {0x02, 0x18, 0x08000002}) {
        ToolOnADisk on(wholeDisk());
        on.host->onSend = [&](host::CommandBuffer& buffer) {
            const Bytes sense = {0x70, 0, 0x05, 0, 0, 0, 0, 0x0A};
            std::copy(sense.begin(), sense.end(), buffer.begin() + 8);
            return DeviceHost::Answer(status);
        };
        EXPECT_EQ(on.ask(0x80, 0), 6U);
        EXPECT_EQ(on.length, 0U);
        EXPECT_EQ(on.data.get(), nullptr);
        EXPECT_EQ(on.trace.lines(), (Texts{kEntering, kIoctlFailed}));
    }
}

TEST(ScsiTool, DeviceThatCannotBeOpenedGivesSix) {
    recording::RecordedDevice gone;
    gone.openError = EACCES;
    ToolOnADisk on(gone);
    on.handle.registerTraceLog(on.trace.log());
    EXPECT_EQ(on.ask(0, 0), 6U);
    EXPECT_EQ(on.length, 0U);
    EXPECT_EQ(on.data.get(), nullptr);
    EXPECT_EQ(on.trace.lines(),
              (Texts{kEntering,
                     "[2] ERROR: CScsiDeviceHandle::openDevice() Invalid device handle "
                     "[0xffffffff] for [/dev/sda], errno [13] throwing",
                     "[1] ERROR: CScsiDeviceHandle::openDevice() caught unhandled exception.",
                     kException}));
}

TEST(ScsiTool, HostThatThrowsGivesSix) {
    ToolOnADisk on(wholeDisk());
    on.host->onSend = [](host::CommandBuffer&) -> DeviceHost::Answer { throw std::bad_alloc(); };
    EXPECT_EQ(on.ask(0x80, 0), 6U);
    EXPECT_EQ(on.length, 0U);
    EXPECT_EQ(on.trace.lines(), (Texts{kEntering, kException}));
}

TEST(ScsiTool, HandleIsOpenedOnceForAllRequests) {
    ToolOnADisk on(wholeDisk());
    on.ask(0, 0);
    on.ask(0x80, 0);
    on.tool.GetTargetLunPortInfo(on.handle, on.record);
    EXPECT_EQ(on.host->requests,
              (Texts{"open /dev/sda O_RDWR|O_NONBLOCK", "send /dev/sda 12 00 00 00 fc 00",
                     "send /dev/sda 12 01 80 00 fc 00", "address /dev/sda"}));
}

TEST(ScsiTool, DeviceWordIsTakenApart) {
    const struct {
        std::uint32_t word;
        int port;
        unsigned bus;
        int lun;
        int target;
    } rows[] = {{0x02010005, 2, 1, 0, 5},
                {0x00000000, 0, 0, 0, 0},
                {0xFFFFFFFF, 255, 255, 255, 255},
                {0x01020304, 1, 2, 3, 4},
                {0x80000000, 128, 0, 0, 0}};
    for (const auto& row : rows) {
        ToolOnADisk on(diskOf(Page::inquiry("A", "B"), {}, row.word));
        EXPECT_EQ(on.tool.GetTargetLunPortInfo(on.handle, on.record), 0U);
        EXPECT_EQ(on.record.m_port, row.port);
        EXPECT_EQ(on.record.m_bus, row.bus);
        EXPECT_EQ(on.record.m_lun, row.lun);
        EXPECT_EQ(on.record.m_target, row.target);
        EXPECT_EQ(on.trace.lines(),
                  (Texts{kAddressEntering,
                         "[4] libscsitool: DEBUG: setting Bus number = " + std::to_string(row.bus),
                         "[4] libscsitool: DEBUG: setting LUN = " + std::to_string(row.lun),
                         "[4] libscsitool: DEBUG: setting Target = " + std::to_string(row.target),
                         "[4] libscsitool: DEBUG: Exiting CScsiTool::UpdateTargetLunPortInfo()"}));
    }
}

TEST(ScsiTool, FailingAddressQueryLogsBothLinesAndThrowsSix) {
    ToolOnADisk on(wholeDisk());
    on.host->onAddress = [] { return DeviceHost::Answer(-ENOTTY); };
    EXPECT_EQ(thrownBy([&] { on.tool.GetTargetLunPortInfo(on.handle, on.record); }), 6);
    EXPECT_EQ(on.trace.lines(),
              (Texts{kAddressEntering,
                     "[1] libscsitool: ERROR: CScsiTool::UpdateTargetLunPortInfo() "
                     "SCSI_IOCTL_GET_IDLUN IOCTL failed for device /dev/sda.",
                     kAddressFailed}));
    EXPECT_EQ(on.record.m_port, -1);
}

TEST(ScsiTool, AddressOfADeviceThatCannotBeOpenedThrowsSix) {
    recording::RecordedDevice gone;
    gone.openError = ENXIO;
    ToolOnADisk on(gone);
    EXPECT_EQ(thrownBy([&] { on.tool.GetTargetLunPortInfo(on.handle, on.record); }), 6);
    EXPECT_EQ(on.trace.lines(), (Texts{kAddressEntering, kAddressFailed}));
    EXPECT_EQ(on.host->requests, Texts{"open /dev/sda O_RDWR|O_NONBLOCK"});
}

TEST(ScsiTool, CapacityIsNotMeasured) {
    ToolOnADisk on(wholeDisk());
    on.record.m_sizeKb = 55;
    EXPECT_EQ(on.tool.GetScsiDeviceCapacity(on.handle, on.record), 0U);
    EXPECT_EQ(on.record.m_sizeKb, 55U);
    EXPECT_EQ(on.host->requests, Texts{});
    EXPECT_EQ(on.trace.lines(),
              (Texts{"[4] libscsitool: DEBUG: Entering CScsiTool::GetScsiDeviceCapacity()",
                     "[4] libscsitool: DEBUG: Exiting CScsiTool::GetScsiDeviceCapacity()"}));
}

TEST(ScsiTool, RemovalWritesTheAddressIntoTheKernelsTable) {
    ToolOnADisk on(wholeDisk());
    on.record.m_port = 2;
    on.record.m_bus = 1;
    on.record.m_target = 5;
    on.record.m_lun = 7;
    EXPECT_EQ(on.tool.RemoveDevice(&on.record), 0U);
    EXPECT_EQ(
        on.host->effects(),
        Texts{ranInShell("/bin/echo \"scsi remove-single-device 2 1 5 7\" >  /proc/scsi/scsi")});
    EXPECT_EQ(on.trace.lines(), Texts{});
}

TEST(ScsiTool, RemovalOfTheLargestAddressIsNotCut) {
    ToolOnADisk on(wholeDisk());
    on.record.m_port = -2147483647;
    on.record.m_bus = 2147483648U;
    on.record.m_target = -2147483647;
    on.record.m_lun = -2147483647;
    EXPECT_EQ(on.tool.RemoveDevice(&on.record), 0U);
    EXPECT_EQ(on.host->effects(),
              Texts{ranInShell("/bin/echo \"scsi remove-single-device -2147483647 -2147483648 "
                               "-2147483647 -2147483647\" >  /proc/scsi/scsi")});
}

TEST(ScsiTool, RemovalWithoutARecordOrAnAdapterRunsNothing) {
    ToolOnADisk on(wholeDisk());
    EXPECT_EQ(on.tool.RemoveDevice(nullptr), 6U);
    EXPECT_EQ(on.tool.RemoveDevice(&on.record), 6U);
    EXPECT_EQ(on.host->effects(), Texts{});
    EXPECT_EQ(on.trace.lines(), (Texts{"[2] RemoveDevice: Unknown device or adapter",
                                       "[2] RemoveDevice: Unknown device or adapter"}));
    on.record.m_port = 0;
    EXPECT_EQ(on.tool.RemoveDevice(&on.record), 0U);
    EXPECT_EQ(on.host->effects().size(), 1U);
}

TEST(ScsiTool, NothingIsTracedWithoutALog) {
    ToolOnADisk on(wholeDisk());
    on.tool.registerTraceLog({});
    EXPECT_EQ(on.ask(0x80, 0), 0U);
    EXPECT_EQ(on.ask(0xC0, 0), 6U);
    EXPECT_EQ(on.tool.GetTargetLunPortInfo(on.handle, on.record), 0U);
    EXPECT_EQ(on.tool.RemoveDevice(nullptr), 6U);
    EXPECT_EQ(on.trace.lines(), Texts{});
}

}  // namespace
