#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <stdexcept>

#include "device_host.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/scsi/scsitoolbase.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::Bytes;
using test::counting;
using test::DeviceHost;
using test::diskOf;
using test::Page;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kTooShort[] =
    "[2] WARNING: UpdateStdInquiryString invalid SCSI inq page size, device may have been removed.";
constexpr char kNoDisk[] =
    "[2] WARNING: UpdateStdInquiryString SCSI check for disk device error, device may have been "
    "removed.";
constexpr char kFailed[] =
    "[2] WARNING: CScsiToolBase::UpdateDevice() call to UpdateStdInquiryString for device "
    "/dev/sda";
constexpr char kException[] = "[2] UpdateDevice: Exception Occurred";

CScsiDeviceData record() {
    return CScsiDeviceData("/dev/sda", "", "db01", 0, 0, 0, -1, "", "", "", 0);
}

Bytes storedIn(CScsiDeviceData& device, unsigned code) {
    unsigned char* buffer = nullptr;
    unsigned length = 0;
    device.GetScsiModePage(code, &buffer, length);
    return Bytes(buffer, buffer + length);
}

std::vector<unsigned> codesIn(const CScsiDeviceData& device) {
    std::vector<unsigned> codes;
    for (const auto& [code, page] : device.m_pages) {
        codes.push_back(code);
    }
    return codes;
}

// A tool without an operating system: what a request gives comes from the test, and the requests
// and steps are written down.
struct FakeTool : CScsiToolBase {
    std::map<std::pair<unsigned, unsigned>, Bytes> pages;  // (page, evpd) to the response
    std::function<void(const std::string& step)> beforeStep = [](const std::string&) {};
    unsigned capacityResult = 0;
    unsigned addressResult = 0;
    Texts steps;

    void note(const std::string& step) {
        steps.push_back(step);
        beforeStep(step);
    }
    unsigned GetTargetLunPortInfo(CScsiDeviceHandle&, CScsiDeviceData&) override {
        note("address");
        return addressResult;
    }
    unsigned GetScsiDeviceCapacity(CScsiDeviceHandle& handle, CScsiDeviceData& device) override {
        note("capacity");
        EXPECT_EQ(CScsiToolBase::GetScsiDeviceCapacity(handle, device), 0U);
        return capacityResult;
    }
    unsigned GetModePageInfo(CScsiDeviceHandle&, CScsiDeviceData&, const unsigned int& page,
                             unsigned int& length, unsigned int evpd, PageBytes<>& data) override {
        EXPECT_EQ(data.get(), nullptr);
        note("page " + std::to_string(page) + " evpd " + std::to_string(evpd));
        length = 0;
        const auto found = pages.find({page, evpd});
        if (found == pages.end()) {
            return 6;
        }
        auto* const bytes = new unsigned char[found->second.size()];
        std::copy(found->second.begin(), found->second.end(), bytes);
        data.reset(new AdapterAutoPtrArray<unsigned char>(bytes));
        length = static_cast<unsigned>(found->second.size());
        return 0;
    }
    void answer(unsigned page, unsigned evpd, const Page& response) {
        pages[{page, evpd}] = response.data();
    }
};

FakeTool diskTool(const Page& inquiry = Page::inquiry("ACME", "RAID 5")) {
    FakeTool tool;
    tool.answer(0, 0, inquiry);
    return tool;
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

// --- UpdateDevice, over the tool of Linux

struct LiveTool {
    explicit LiveTool(const recording::RecordedDevice& disk) {
        RecordedHostData data;
        data.devices["/dev/sda"] = disk;
        host = std::make_unique<DeviceHost>(data);
        tool.registerTraceLog(trace.log());
    }
    unsigned update() { return tool.UpdateDevice(&device); }

    std::unique_ptr<DeviceHost> host;
    TraceCapture trace;
    CScsiTool tool;
    CScsiDeviceData device = record();
};

TEST(ScsiToolBase, NullRecordGivesSixWithItsWarning) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK")));
    EXPECT_EQ(live.tool.UpdateDevice(nullptr), 6U);
    EXPECT_EQ(live.trace.lines(),
              Texts{"[2] WARNING: CScsiToolBase::UpdateDevice() invalid SCSI device handle."});
    EXPECT_EQ(live.host->requests, Texts{});
}

TEST(ScsiToolBase, DeviceIsAskedForEverythingInOrder) {
    const Bytes codes = {0x00, 0x10, 0x11, 0x80, 0x83, 0x86, 0xB0, 0xC0, 0xC8, 0xD0};
    std::map<std::uint8_t, Page> pages;
    for (const std::uint8_t code : codes) {
        pages[code] = Page::vpd(code, 12);
    }
    pages[0x00] = Page::supported(codes);
    LiveTool live(diskOf(Page::inquiry("ACME", "RAID 5"), pages));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.host->requests,
              (Texts{"open /dev/sda O_RDWR|O_NONBLOCK", "send /dev/sda 12 00 00 00 fc 00",
                     "address /dev/sda", "send /dev/sda 12 01 00 00 fc 00",
                     "send /dev/sda 12 01 83 00 fc 00", "send /dev/sda 12 01 80 00 fc 00",
                     "send /dev/sda 12 01 c0 00 fc 00", "send /dev/sda 12 01 c8 00 fc 00",
                     "send /dev/sda 12 01 10 00 fc 00", "send /dev/sda 12 01 11 00 fc 00",
                     "send /dev/sda 12 01 d0 00 fc 00", "close /dev/sda"}));
    EXPECT_EQ(codesIn(live.device),
              (std::vector<unsigned>{0, 0x10, 0x11, 0x80, 0x83, 0xC0, 0xC8, 0xD0}));
    EXPECT_EQ(live.device.m_supportedPages, std::vector<unsigned>(codes.begin(), codes.end()));
}

TEST(ScsiToolBase, RecordIsFilled) {
    LiveTool live(diskOf(Page::inquiry("HP", "HSV210", 36, "6.1"),
                         {{0x00, Page::supported({0x00, 0x80})}, {0x80, Page::serial("S1")}}));
    live.device.m_sizeKb = 77;
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.device.m_osName, "Linux");
    EXPECT_EQ(live.device.m_vendorId, "HP");
    EXPECT_EQ(live.device.m_productId, "HSV210");
    EXPECT_EQ(live.device.m_firmwareLevel, "6.1 ");
    EXPECT_EQ(live.device.m_port, 2);
    EXPECT_EQ(live.device.m_bus, 1U);
    EXPECT_EQ(live.device.m_target, 5);
    EXPECT_EQ(live.device.m_lun, 0);
    EXPECT_EQ(live.device.m_sizeKb, 77U);
    EXPECT_EQ(storedIn(live.device, 0), Page::inquiry("HP", "HSV210", 36, "6.1").data());
    EXPECT_EQ(storedIn(live.device, 0x80), Page::serial("S1").data());
}

TEST(ScsiToolBase, DeviceListingTwoOfTheSevenPagesGetsThoseFetched) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"), {{0x00, Page::supported({0x80, 0x83})},
                                                         {0x80, Page::serial("S1")},
                                                         {0x83, Page::names()}}));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.host->count("send /dev/sda 12 01 c0 00 fc 00"), 0U);
    EXPECT_EQ(Texts(live.host->requests.end() - 3, live.host->requests.end()),
              (Texts{"send /dev/sda 12 01 83 00 fc 00", "send /dev/sda 12 01 80 00 fc 00",
                     "close /dev/sda"}));
    EXPECT_EQ(codesIn(live.device), (std::vector<unsigned>{0, 0x80, 0x83}));
}

TEST(ScsiToolBase, DeviceWithAnEmptyPageListGetsNoPageFetched) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"),
                         {{0x00, Page::supported({})}, {0x83, Page::names()}}));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.host->requests.back(), "close /dev/sda");
    EXPECT_EQ(live.host->requests[live.host->requests.size() - 2],
              "send /dev/sda 12 01 00 00 fc 00");
    EXPECT_TRUE(live.device.m_supportedPages.empty());
}

TEST(ScsiToolBase, DeviceWithoutAPageListGetsNoPageFetched) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"), {{0x83, Page::names()}}));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(codesIn(live.device), std::vector<unsigned>{0});
}

TEST(ScsiToolBase, CodeListedTwiceIsFetchedOnce) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"),
                         {{0x00, Page::supported({0x80, 0x80})}, {0x80, Page::serial("S1")}}));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.host->count("send /dev/sda 12 01 80 00 fc 00"), 1U);
}

TEST(ScsiToolBase, TraceOfOneDevice) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"), {{0x00, Page::supported({0xD0, 0x83})},
                                                         {0x83, Page::names()},
                                                         {0xD0, Page::vpd(0xD0, 8)}}));
    EXPECT_EQ(live.update(), 0U);
    const std::string entering = "[4] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()";
    const std::string exiting = "[4] libscsitool: DEBUG: Exiting CScsiTool::GetModePageInfo()";
    EXPECT_EQ(
        live.trace.lines(),
        (Texts{entering, exiting,
               "[4] libscsitool: DEBUG: Entering CScsiTool::UpdateTargetLunPortInfo()",
               "[4] libscsitool: DEBUG: setting Bus number = 1",
               "[4] libscsitool: DEBUG: setting LUN = 0",
               "[4] libscsitool: DEBUG: setting Target = 5",
               "[4] libscsitool: DEBUG: Exiting CScsiTool::UpdateTargetLunPortInfo()", entering,
               exiting, "[4] libscsitool: DEBUG: Entering CScsiTool::GetScsiDeviceCapacity()",
               "[4] libscsitool: DEBUG: Exiting CScsiTool::GetScsiDeviceCapacity()",
               "[6] CSciToolBase:UpdateModePageString for page[131]...", entering, exiting,
               "[6] CSciToolBase:UpdateModePageString for page[131] done",
               "[6] CSciToolBase:UpdateModePageString for page[208]...", entering, exiting,
               "[6] CSciToolBase:UpdateModePageString for page[208] done"}));
}

TEST(ScsiToolBase, SecondUpdateDoublesThePageListAndReplacesThePages) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"),
                         {{0x00, Page::supported({0x00, 0x80})}, {0x80, Page::serial("S1")}}));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(live.device.m_supportedPages, (std::vector<unsigned>{0x00, 0x80, 0x00, 0x80}));
    EXPECT_EQ(codesIn(live.device), (std::vector<unsigned>{0, 0x80}));
    EXPECT_EQ(storedIn(live.device, 0x80), Page::serial("S1").data());
}

TEST(ScsiToolBase, CdRomIsRefusedAndItsInquiryDataStored) {
    const Page inquiry = Page::inquiry("QEMU", "CD-ROM").set(0, 0x05);
    LiveTool live(diskOf(inquiry, {{0x00, Page::supported({0x80})}}));
    EXPECT_EQ(live.update(), 6U);
    EXPECT_EQ(Texts(live.trace.lines().end() - 2, live.trace.lines().end()),
              (Texts{kNoDisk, kFailed}));
    EXPECT_EQ(storedIn(live.device, 0), inquiry.data());
    EXPECT_EQ(live.device.m_osName, "Linux");
    EXPECT_EQ(live.device.m_vendorId, "");
    EXPECT_EQ(live.host->requests.back(), "close /dev/sda");
    EXPECT_EQ(live.host->openDescriptors(), 0U);
}

TEST(ScsiToolBase, OnlyAConnectedBlockDeviceIsADisk) {
    FakeTool tool;
    for (unsigned peripheral = 0; peripheral < 256; ++peripheral) {
        EXPECT_EQ(tool.CheckForDiskDevice(static_cast<unsigned char>(peripheral)), peripheral == 0)
            << peripheral;
    }
}

TEST(ScsiToolBase, DiskThatIsNotConnectedIsRefused) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK").set(0, 0x20)));
    EXPECT_EQ(live.update(), 6U);
    EXPECT_EQ(live.trace.lines().back(), kFailed);
    EXPECT_EQ(codesIn(live.device), std::vector<unsigned>{0});
}

TEST(ScsiToolBase, DeviceThatCannotBeOpenedGivesSix) {
    recording::RecordedDevice gone;
    gone.openError = ENXIO;
    LiveTool live(gone);
    live.device.m_vendorId = "before";
    EXPECT_EQ(live.update(), 6U);
    EXPECT_EQ(live.trace.lines(),
              (Texts{"[4] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()",
                     "[2] ERROR: CScsiDeviceHandle::openDevice() Invalid device handle "
                     "[0xffffffff] for [/dev/sda], errno [6] throwing",
                     "[1] ERROR: CScsiDeviceHandle::openDevice() caught unhandled exception.",
                     "[2] GetModePageInfo: Exception Ocurred", kTooShort, kFailed}));
    EXPECT_EQ(live.device.m_osName, "Linux");
    EXPECT_EQ(live.device.m_vendorId, "before");
    EXPECT_TRUE(live.device.m_pages.empty());
}

TEST(ScsiToolBase, DeviceThatDoesNotAnswerGivesSix) {
    LiveTool live(recording::RecordedDevice{});
    EXPECT_EQ(live.update(), 6U);
    EXPECT_EQ(live.trace.lines(),
              (Texts{"[4] libscsitool: DEBUG: Entering CScsiTool::GetModePageInfo()",
                     "[1] libscsitool: ERROR: ioctl(SCSI_IOCTL_SEND_COMMAN) for device /dev/sda ",
                     kTooShort, kFailed}));
    EXPECT_EQ(live.host->openDescriptors(), 0U);
}

TEST(ScsiToolBase, FailingAddressQueryEndsTheUpdate) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK")));
    live.host->onAddress = [] { return DeviceHost::Answer(-ENOTTY); };
    EXPECT_EQ(live.update(), 6U);
    EXPECT_EQ(live.trace.lines().back(), kException);
    EXPECT_EQ(live.host->requests,
              (Texts{"open /dev/sda O_RDWR|O_NONBLOCK", "send /dev/sda 12 00 00 00 fc 00",
                     "address /dev/sda", "close /dev/sda"}));
    EXPECT_EQ(live.device.m_vendorId, "");
    EXPECT_EQ(live.host->openDescriptors(), 0U);
}

TEST(ScsiToolBase, DeviceThatVanishesAfterAnyRequestIsSurvived) {
    const recording::RecordedDevice disk = diskOf(
        Page::inquiry("ACME", "DISK"),
        {{0x00, Page::supported({0x80, 0x83})}, {0x80, Page::serial("S1")}, {0x83, Page::names()}});
    const unsigned results[] = {6, 0, 0, 0};
    const std::vector<unsigned> stored[] = {{}, {0}, {0}, {0, 0x83}};
    for (std::size_t answered = 0; answered < 4; ++answered) {
        LiveTool live(disk);
        live.host->onSend = [&](host::CommandBuffer&) {
            return live.host->sent.size() > answered ? DeviceHost::Answer(-ENODEV)
                                                     : DeviceHost::Answer();
        };
        EXPECT_EQ(live.update(), results[answered]) << answered;
        EXPECT_EQ(codesIn(live.device), stored[answered]) << answered;
        EXPECT_EQ(live.host->openDescriptors(), 0U) << answered;
    }
}

TEST(ScsiToolBase, PageThatDoesNotComeIsLeftOutAndTheNextIsFetched) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK"),
                         {{0x00, Page::supported({0x80, 0x83})}, {0x80, Page::serial("S1")}}));
    EXPECT_EQ(live.update(), 0U);
    EXPECT_EQ(codesIn(live.device), (std::vector<unsigned>{0, 0x80}));
}

TEST(ScsiToolBase, HostThatThrowsIsSurvived) {
    LiveTool live(diskOf(Page::inquiry("ACME", "DISK")));
    live.host->onSend = [](host::CommandBuffer&) -> DeviceHost::Answer { throw std::bad_alloc(); };
    EXPECT_EQ(live.update(), 6U);
    live.host->onSend = [](host::CommandBuffer&) { return DeviceHost::Answer(); };
    live.host->onAddress = []() -> DeviceHost::Answer { throw std::bad_alloc(); };
    EXPECT_EQ(live.update(), 6U);
    EXPECT_EQ(live.host->openDescriptors(), 0U);
}

TEST(ScsiToolBase, NothingIsTracedWithoutALog) {
    RecordedHostData data;
    data.devices["/dev/sda"] =
        diskOf(Page::inquiry("ACME", "DISK"), {{0x00, Page::supported({0x80})}});
    const DeviceHost host(data);
    CScsiTool tool;
    CScsiDeviceData device = record();
    EXPECT_EQ(tool.UpdateDevice(&device), 0U);
    EXPECT_EQ(tool.UpdateDevice(nullptr), 6U);
}

// --- The steps

TEST(ScsiToolBase, StepsAreVirtualAndInOrder) {
    FakeTool tool = diskTool();
    tool.answer(0, 1, Page::supported({0x83}));
    CScsiDeviceData device = record();
    tool.addressResult = 6;  // not looked at
    EXPECT_EQ(tool.UpdateDevice(&device), 0U);
    EXPECT_EQ(tool.steps,
              (Texts{"page 0 evpd 0", "address", "page 0 evpd 1", "capacity", "page 131 evpd 0"}));
}

TEST(ScsiToolBase, FailingCapacitySetsTheSizeToZero) {
    for (const unsigned result : {0U, 1U, 6U}) {
        FakeTool tool = diskTool();
        tool.capacityResult = result;
        CScsiDeviceData device = record();
        device.m_sizeKb = 55;
        EXPECT_EQ(tool.UpdateDevice(&device), 0U);
        EXPECT_EQ(device.m_sizeKb, result == 0 ? 55U : 0U) << result;
    }
}

TEST(ScsiToolBase, IntFromAStepIsTheResult) {
    for (const char* const step : {"address", "capacity", "page 131 evpd 0"}) {
        FakeTool tool = diskTool();
        TraceCapture trace(3);
        tool.registerTraceLog(trace.log());
        tool.answer(0, 1, Page::supported({0x83}));
        tool.beforeStep = [&](const std::string& reached) {
            if (reached == step) {
                throw 42;
            }
        };
        CScsiDeviceData device = record();
        EXPECT_EQ(tool.UpdateDevice(&device), 42U) << step;
        EXPECT_EQ(trace.lines(), Texts{kException}) << step;
    }
}

TEST(ScsiToolBase, AnyOtherExceptionFromAStepIsSix) {
    for (const char* const step : {"address", "capacity", "page 131 evpd 0"}) {
        FakeTool tool = diskTool();
        TraceCapture trace(3);
        tool.registerTraceLog(trace.log());
        tool.answer(0, 1, Page::supported({0x83}));
        tool.beforeStep = [&](const std::string& reached) {
            if (reached == step) {
                throw std::runtime_error("step");
            }
        };
        CScsiDeviceData device = record();
        EXPECT_EQ(tool.UpdateDevice(&device), 6U) << step;
        EXPECT_EQ(trace.lines(), Texts{kException}) << step;
    }
}

TEST(ScsiToolBase, AnyExceptionFromTheInquiryIsSix) {
    FakeTool tool = diskTool();
    CScsiDeviceHandle handle;
    CScsiDeviceData device = record();
    tool.beforeStep = [](const std::string&) { throw 42; };
    EXPECT_EQ(thrownBy([&] { tool.UpdateStdInquiryString(handle, device); }), 6);
    EXPECT_EQ(tool.UpdateDevice(&device), 6U);
    tool.beforeStep = [](const std::string&) { throw std::runtime_error("inquiry"); };
    EXPECT_EQ(thrownBy([&] { tool.UpdateStdInquiryString(handle, device); }), 6);
}

TEST(ScsiToolBase, InquiryOfThirtyTwoBytesSuffices) {
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{1}, std::size_t{31}, std::size_t{32}, std::size_t{33}}) {
        FakeTool tool = diskTool(Page::inquiry("ACME", "DISK").cut(length));
        TraceCapture trace;
        tool.registerTraceLog(trace.log());
        CScsiDeviceData device = record();
        CScsiDeviceHandle handle;
        EXPECT_EQ(tool.UpdateStdInquiryString(handle, device), length < 32 ? 6U : 0U) << length;
        EXPECT_EQ(trace.lines(), length < 32 ? Texts{kTooShort} : Texts{}) << length;
        EXPECT_EQ(device.m_pages.count(0), length == 0 ? 0U : 1U) << length;
        if (length != 0) {
            EXPECT_EQ(storedIn(device, 0).size(), length);
        }
    }
}

TEST(ScsiToolBase, FirmwareIsCutAtTheStoredLength) {
    const struct {
        std::size_t length;
        const char* firmware;
    } rows[] = {{32, ""}, {33, "a"}, {34, "ab"}, {35, "abc"}, {36, "abcd"}, {37, "abcd"}};
    for (const auto& row : rows) {
        FakeTool tool = diskTool(Page::inquiry("ACME", "DISK", 96, "abcd").cut(row.length));
        CScsiDeviceData device = record();
        device.m_firmwareLevel = "before";
        EXPECT_EQ(tool.UpdateDevice(&device), 0U) << row.length;
        EXPECT_EQ(device.m_firmwareLevel, row.firmware) << row.length;
    }
}

TEST(ScsiToolBase, VendorAndProductLoseTheirTrailingBlanksAndFirmwareKeepsThem) {
    FakeTool tool = diskTool(Page::inquiry("ACME", " RAID 5", 96, "1.2"));
    CScsiDeviceData device = record();
    EXPECT_EQ(tool.UpdateDevice(&device), 0U);
    EXPECT_EQ(device.m_vendorId, "ACME");
    EXPECT_EQ(device.m_productId, " RAID 5");
    EXPECT_EQ(device.m_firmwareLevel, "1.2 ");
}

TEST(ScsiToolBase, FieldsTakeTheirWholeWidthAndNotMore) {
    FakeTool tool = diskTool(Page::inquiry("", "").text(8, "VENDOR89PRODUCT890123456FIRMxtail"));
    CScsiDeviceData device = record();
    EXPECT_EQ(tool.UpdateDevice(&device), 0U);
    EXPECT_EQ(device.m_vendorId, "VENDOR89");
    EXPECT_EQ(device.m_productId, "PRODUCT890123456");
    EXPECT_EQ(device.m_firmwareLevel, "FIRM");
}

TEST(ScsiToolBase, FieldEndsAtItsFirstNul) {
    FakeTool tool = diskTool(Page::inquiry("", "")
                                 .text(8, std::string("AB \0CDEF", 8))
                                 .text(16, std::string("\0PRODUCT", 8))
                                 .text(32, std::string("1 \0"
                                                       "2",
                                                       4)));
    CScsiDeviceData device = record();
    EXPECT_EQ(tool.UpdateDevice(&device), 0U);
    EXPECT_EQ(device.m_vendorId, "AB");
    EXPECT_EQ(device.m_productId, "");
    EXPECT_EQ(device.m_firmwareLevel, "1 ");
}

TEST(ScsiToolBase, IdentityStepsWithoutInquiryDataChangeNothing) {
    FakeTool tool;
    CScsiDeviceData device("/dev/sda", "", "db01", 0, 0, 0, -1, "V  ", "P  ", "F  ", 0);
    EXPECT_EQ(tool.UpdateVendorId(device), 0U);
    EXPECT_EQ(tool.UpdateProductId(device), 0U);
    EXPECT_EQ(tool.UpdateFirmwareLevel(device), 0U);
    EXPECT_EQ(device.m_vendorId, "V  ");
    EXPECT_EQ(device.m_productId, "P  ");
    EXPECT_EQ(device.m_firmwareLevel, "F  ");
    EXPECT_TRUE(device.m_pages.empty());
}

TEST(ScsiToolBase, StoredPageEndsInANulBehindItsLength) {
    FakeTool tool;
    tool.pages[{0xC0, 0}] = counting(20);
    CScsiDeviceData device = record();
    CScsiDeviceHandle handle;
    EXPECT_EQ(tool.UpdateModePageString(handle, 0xC0, device), 0U);
    ASSERT_EQ(device.m_pages[0xC0].length, 20U);
    EXPECT_EQ(storedIn(device, 0xC0), counting(20));
    EXPECT_EQ(device.m_pages[0xC0].bytes()[20], 0);
    EXPECT_EQ(tool.steps, Texts{"page 192 evpd 0"});
}

TEST(ScsiToolBase, PageThatIsFetchedAgainReplacesTheFormerOne) {
    FakeTool tool;
    tool.pages[{0xC0, 0}] = counting(20);
    CScsiDeviceData device = record();
    CScsiDeviceHandle handle;
    tool.UpdateModePageString(handle, 0xC0, device);
    tool.pages[{0xC0, 0}] = counting(5, 100);
    tool.UpdateModePageString(handle, 0xC0, device);
    EXPECT_EQ(storedIn(device, 0xC0), counting(5, 100));
    tool.pages.clear();
    EXPECT_EQ(tool.UpdateModePageString(handle, 0xC0, device), 0U);
    EXPECT_EQ(storedIn(device, 0xC0), counting(5, 100));
}

TEST(ScsiToolBase, PageOfNoBytesIsNotStored) {
    FakeTool tool;
    tool.pages[{0xC0, 0}] = {};
    CScsiDeviceData device = record();
    CScsiDeviceHandle handle;
    EXPECT_EQ(tool.UpdateModePageString(handle, 0xC0, device), 0U);
    EXPECT_TRUE(device.m_pages.empty());
}

TEST(ScsiToolBase, ExceptionFromAPageLeavesAsAnInt) {
    FakeTool tool;
    TraceCapture trace;
    tool.registerTraceLog(trace.log());
    CScsiDeviceData device = record();
    CScsiDeviceHandle handle;
    tool.beforeStep = [](const std::string&) { throw 42; };
    EXPECT_EQ(thrownBy([&] { tool.UpdateModePageString(handle, 0x83, device); }), 42);
    tool.beforeStep = [](const std::string&) { throw std::runtime_error("page"); };
    EXPECT_EQ(thrownBy([&] { tool.UpdateModePageString(handle, 0x83, device); }), 6);
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(ScsiToolBase, PageListIsTakenOnlyWhenAllOfItCame) {
    // Five codes: the page is 9 bytes long.
    const Page whole = Page::supported({0x00, 0x10, 0x80, 0x83, 0xC0});
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        FakeTool tool;
        tool.answer(0, 1, Page(whole).cut(length));
        CScsiDeviceData device = record();
        CScsiDeviceHandle handle;
        EXPECT_EQ(tool.UpdateSupportedModePageList(handle, device), 0U) << length;
        EXPECT_EQ(device.m_supportedPages.size(), length == 9 ? 5U : 0U) << length;
    }
}

TEST(ScsiToolBase, PageListTakesNoCodeBehindItsEnd) {
    FakeTool tool;
    tool.answer(0, 1, Page::supported({0xFF, 0x83, 0xC0}).set(3, 2));
    CScsiDeviceData device = record();
    device.m_supportedPages = {7};
    CScsiDeviceHandle handle;
    EXPECT_EQ(tool.UpdateSupportedModePageList(handle, device), 0U);
    EXPECT_EQ(device.m_supportedPages, (std::vector<unsigned>{7, 0xFF, 0x83}));
}

TEST(ScsiToolBase, PageListThatDoesNotComeLeavesTheListAlone) {
    FakeTool tool;
    CScsiDeviceData device = record();
    device.m_supportedPages = {7};
    CScsiDeviceHandle handle;
    EXPECT_EQ(tool.UpdateSupportedModePageList(handle, device), 0U);
    EXPECT_EQ(device.m_supportedPages, std::vector<unsigned>{7});
    EXPECT_EQ(tool.steps, Texts{"page 0 evpd 1"});
}

TEST(ScsiToolBase, ExceptionFromThePageListMakesTheBusTypeUnknown) {
    FakeTool tool = diskTool();
    TraceCapture trace;
    tool.registerTraceLog(trace.log());
    CScsiDeviceData device = record();
    device.m_busType = 1;
    CScsiDeviceHandle handle;
    tool.beforeStep = [](const std::string& step) {
        if (step == "page 0 evpd 1") {
            throw 42;
        }
    };
    EXPECT_EQ(tool.UpdateSupportedModePageList(handle, device), 42U);
    EXPECT_EQ(device.m_busType, 0U);
    EXPECT_EQ(trace.lines(), Texts{"[2] UpdateSupportedModePageList: Unknown bus type"});
    EXPECT_EQ(tool.UpdateDevice(&device), 0U);
    tool.beforeStep = [](const std::string& step) {
        if (step == "page 0 evpd 1") {
            throw std::runtime_error("list");
        }
    };
    device.m_busType = 1;
    trace.clear();
    EXPECT_EQ(tool.UpdateSupportedModePageList(handle, device), 6U);
    EXPECT_EQ(device.m_busType, 0U);
    EXPECT_EQ(trace.lines(), Texts{"[2] UpdateSupportedModePageList: Unknown bus type"});
}

TEST(ScsiToolBase, RemovalIsNotSupported) {
    FakeTool tool;
    CScsiDeviceData device = record();
    EXPECT_EQ(tool.CScsiToolBase::RemoveDevice(&device), 4U);
    EXPECT_EQ(tool.CScsiToolBase::RemoveDevice(nullptr), 4U);
}

TEST(ScsiToolBase, EveryResponseOfAFewBytesIsSurvived) {
    for (std::size_t length = 0; length <= 40; ++length) {
        for (const std::uint8_t claimed : Bytes{0, 1, 27, 31, 255}) {
            Page inquiry = Page::inquiry("ACME", "DISK");
            inquiry.set(4, claimed).cut(length);
            Page list =
                Page::supported({0x80, 0x83}).set(3, claimed).cut(std::min<std::size_t>(length, 6));
            LiveTool live(diskOf(inquiry, {{0x00, list}}));
            // Bytes that did not come are zeros, so a record of nothing is a disk without a name.
            const std::size_t stated = (length > 4 ? claimed : 0U) + 5U;
            EXPECT_EQ(live.update(), stated < 32 ? 6U : 0U) << length << " " << int{claimed};
            EXPECT_EQ(storedIn(live.device, 0).size(), stated) << length << " " << int{claimed};
        }
    }
}

}  // namespace
