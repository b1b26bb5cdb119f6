#include "scsitool/scsi/scsi_device_handle.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <new>

#include "device_host.h"
#include "scsi/opened_on.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::DeviceHost;
using test::namedDisk;
using test::TraceCapture;
using Texts = std::vector<std::string>;

constexpr char kUnhandled[] =
    "[1] ERROR: CScsiDeviceHandle::openDevice() caught unhandled exception.";
constexpr char kMissing[] =
    "[2] ERROR: CScsiDeviceHandle::openDevice() Invalid device handle [0xffffffff] for "
    "[/dev/sdx], errno [2] throwing";

CScsiDeviceData recordOf(const char* path) {
    return CScsiDeviceData(path, "", "db01", 0, 0, 0, -1, "", "", "", 0);
}

RecordedHostData twoDisks() {
    RecordedHostData data;
    data.devices["/dev/sda"] = namedDisk("A", 1);
    data.devices["/dev/sdb"] = namedDisk("B", 2);
    return data;
}

// The shared base is constructed first, so a class between can give it a log before the handle
// opens its device.
struct LogFirst : virtual qzfi_pdk_4_4::CFiTraceable {
    explicit LogFirst(TraceCapture& trace) { m_traceLog = trace.log(); }
};
struct TracedHandle : LogFirst, CScsiDeviceHandle {
    TracedHandle(TraceCapture& trace, CScsiDeviceData& device)
        : LogFirst(trace), CScsiDeviceHandle(device) {}
};

// The value that a call throws as int; 0 when it returns.
template <class Call>
int thrownBy(Call call) {
    try {
        call();
    } catch (int thrown) {
        return thrown;
    }
    return 0;
}

TEST(DeviceHandle, StartsClosed) {
    const CScsiDeviceHandle handle;
    EXPECT_EQ(handle.m_descriptor, -1);
    EXPECT_EQ(handle.m_devicePath, "");
}

TEST(DeviceHandle, ConstructorOpensTheRecordsDeviceAndItsEndClosesIt) {
    const DeviceHost host(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    {
        const CScsiDeviceHandle handle(device);
        EXPECT_GT(handle.m_descriptor, 0);
        EXPECT_EQ(handle.m_devicePath, "/dev/sda");
        EXPECT_EQ(host.openDescriptors(), 1U);
    }
    EXPECT_EQ(host.requests, (Texts{"open /dev/sda O_RDWR|O_NONBLOCK", "close /dev/sda"}));
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST(DeviceHandle, ConstructorOnAMissingPathThrowsSixAndLogsBothLines) {
    const DeviceHost host(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sdx");
    TraceCapture trace;
    EXPECT_EQ(thrownBy([&] { TracedHandle(trace, device); }), 6);
    EXPECT_EQ(trace.lines(), (Texts{kMissing, kUnhandled}));
    EXPECT_EQ(host.requests, Texts{"open /dev/sdx O_RDWR|O_NONBLOCK"});
}

TEST(DeviceHandle, ConstructorWithoutATraceLogThrowsSix) {
    const DeviceHost host;
    CScsiDeviceData device = recordOf("/dev/sdx");
    EXPECT_EQ(thrownBy([&] { CScsiDeviceHandle handle(device); }), 6);
}

TEST(DeviceHandle, OpenOfAMissingPathGivesMinusOneAndLogsTheFirstLineOnly) {
    const DeviceHost host;
    CScsiDeviceData device = recordOf("/dev/sdx");
    TraceCapture trace;
    CScsiDeviceHandle handle;
    handle.registerTraceLog(trace.log());
    EXPECT_EQ(handle.open(device, true), -1);
    EXPECT_EQ(handle.m_descriptor, -1);
    EXPECT_EQ(handle.m_devicePath, "/dev/sdx");
    EXPECT_EQ(trace.lines(), Texts{kMissing});
}

TEST(DeviceHandle, ThrowingOpenOfAMissingPathLogsBothLines) {
    const DeviceHost host;
    CScsiDeviceData device = recordOf("/dev/sdx");
    TraceCapture trace;
    CScsiDeviceHandle handle;
    handle.registerTraceLog(trace.log());
    EXPECT_EQ(thrownBy([&] { handle.open(device, false); }), 6);
    EXPECT_EQ(handle.m_descriptor, -1);
    EXPECT_EQ(trace.lines(), (Texts{kMissing, kUnhandled}));
}

TEST(DeviceHandle, FailedOpenNamesItsErrno) {
    for (const int error : {EPERM, ENXIO, EACCES, ENOMEDIUM}) {
        RecordedHostData data;
        data.devices["/dev/sda"].openError = error;
        const DeviceHost host(data);
        CScsiDeviceData device = recordOf("/dev/sda");
        TraceCapture trace;
        CScsiDeviceHandle handle;
        handle.registerTraceLog(trace.log());
        EXPECT_EQ(handle.open(device, true), -1);
        EXPECT_EQ(trace.lines(),
                  Texts{"[2] ERROR: CScsiDeviceHandle::openDevice() Invalid device handle "
                        "[0xffffffff] for [/dev/sda], errno [" +
                        std::to_string(error) + "] throwing"});
    }
}

TEST(DeviceHandle, SecondOpenGivesTheSameDescriptorForAnotherDevice) {
    const DeviceHost host(twoDisks());
    CScsiDeviceData first = recordOf("/dev/sda");
    CScsiDeviceData second = recordOf("/dev/sdb");
    CScsiDeviceHandle handle;
    const int descriptor = handle.open(first, true);
    EXPECT_GT(descriptor, 0);
    EXPECT_EQ(handle.open(second, true), descriptor);
    EXPECT_EQ(handle.open(second, false), descriptor);
    EXPECT_EQ(handle.m_devicePath, "/dev/sda");
    EXPECT_EQ(host.requests, Texts{"open /dev/sda O_RDWR|O_NONBLOCK"});
}

TEST(DeviceHandle, FailedOpenIsTriedOnceWhateverTheSettingsSay) {
    RecordedHostData data;
    data.files["/etc/scsitool/devicefi.conf"] =
        "[TUNING_PARAMS]\nOPEN_DEVICE_RETRY_ATTEMPTS = 5\nOPEN_DEVICE_RETRY_DELAY_IN_SEC = 1\n";
    const DeviceHost host(data);
    CScsiDeviceData device = recordOf("/dev/sdx");
    CScsiDeviceHandle handle;
    EXPECT_EQ(handle.open(device, true), -1);
    EXPECT_EQ(host.requests, Texts{"open /dev/sdx O_RDWR|O_NONBLOCK"});
    EXPECT_EQ(host.settingsRead, 1U);
    EXPECT_EQ(host.effects(), Texts{});
}

TEST(DeviceHandle, SettingsAreReadAtEveryOpenAndBeforeIt) {
    DeviceHost host(twoDisks());
    std::size_t readBefore = 0;
    host.onOpen = [&](const std::string&) {
        readBefore = host.settingsRead;
        return DeviceHost::Answer();
    };
    CScsiDeviceData device = recordOf("/dev/sda");
    for (std::size_t opened = 1; opened <= 3; ++opened) {
        CScsiDeviceHandle handle;
        handle.open(device, true);
        EXPECT_EQ(readBefore, opened);
    }
    EXPECT_EQ(host.settingsRead, 3U);
}

TEST(DeviceHandle, OpenDeviceDoesNotKeepTheDescriptor) {
    DeviceHost host(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    const int descriptor = handle.openDevice(device, true);
    EXPECT_GT(descriptor, 0);
    EXPECT_EQ(handle.m_descriptor, -1);
    EXPECT_EQ(handle.m_devicePath, "");
    host.closeDevice(descriptor);
}

TEST(DeviceHandle, DescriptorZeroIsOpenedAgainAndNeverClosedAtTheEnd) {
    DeviceHost host(twoDisks());
    host.onOpen = [](const std::string&) { return DeviceHost::Answer(0); };
    CScsiDeviceData device = recordOf("/dev/sda");
    {
        CScsiDeviceHandle handle;
        EXPECT_EQ(handle.open(device, true), 0);
        EXPECT_EQ(handle.open(device, true), 0);
    }
    EXPECT_EQ(host.requests,
              (Texts{"open /dev/sda O_RDWR|O_NONBLOCK", "open /dev/sda O_RDWR|O_NONBLOCK"}));
}

TEST(DeviceHandle, CloseOfANegativeDescriptorDoesNothing) {
    const DeviceHost host(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    const int descriptor = handle.open(device, true);
    handle.closeDevice(-1);
    handle.closeDevice(-7);
    EXPECT_EQ(handle.m_descriptor, descriptor);
    EXPECT_EQ(host.openDescriptors(), 1U);
}

TEST(DeviceHandle, CloseMarksTheHandleClosedWhateverWasClosed) {
    DeviceHost host(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    const int descriptor = handle.open(device, true);
    handle.closeDevice(0);
    EXPECT_EQ(handle.m_descriptor, -1);
    EXPECT_EQ(host.requests.back(), "close 0");
    EXPECT_EQ(host.openDescriptors(), 1U);
    handle.closeDevice(descriptor);
    EXPECT_EQ(host.openDescriptors(), 0U);
}

TEST(DeviceHandle, ClosedHandleOpensAgain) {
    const DeviceHost host(twoDisks());
    CScsiDeviceData first = recordOf("/dev/sda");
    CScsiDeviceData second = recordOf("/dev/sdb");
    CScsiDeviceHandle handle;
    handle.closeDevice(handle.open(first, true));
    EXPECT_GT(handle.open(second, true), 0);
    EXPECT_EQ(handle.m_devicePath, "/dev/sdb");
    EXPECT_EQ(host.requests, (Texts{"open /dev/sda O_RDWR|O_NONBLOCK", "close /dev/sda",
                                    "open /dev/sdb O_RDWR|O_NONBLOCK"}));
}

TEST(DeviceHandle, FailingCloseIsNotNoticed) {
    DeviceHost host(twoDisks());
    host.onClose = [] { return DeviceHost::Answer(-EIO); };
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    handle.closeDevice(handle.open(device, true));
    EXPECT_EQ(handle.m_descriptor, -1);
}

TEST(DeviceHandle, HostThatThrowsBecomesSixInBothModes) {
    for (const bool noThrow : {false, true}) {
        DeviceHost host(twoDisks());
        host.onOpen = [](const std::string&) -> DeviceHost::Answer { throw std::bad_alloc(); };
        CScsiDeviceData device = recordOf("/dev/sda");
        TraceCapture trace;
        CScsiDeviceHandle handle;
        handle.registerTraceLog(trace.log());
        EXPECT_EQ(thrownBy([&] { handle.open(device, noThrow); }), 6) << noThrow;
        EXPECT_EQ(trace.lines(), Texts{kUnhandled});
        EXPECT_EQ(handle.m_descriptor, -1);
    }
}

TEST(DeviceHandle, ConstructorHasNoLogToWriteTo) {
    const DeviceHost host;
    TraceCapture trace;
    const test::ProcessTraceScope scope(trace.log());
    CScsiDeviceData device = recordOf("/dev/sdx");
    EXPECT_EQ(thrownBy([&] { CScsiDeviceHandle handle(device); }), 6);
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(DeviceHandle, ClosesOnTheHostThatOpenedIt) {
    DeviceHost outer(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    auto ended = std::make_unique<CScsiDeviceHandle>(device);
    CScsiDeviceHandle closed;
    closed.open(device, false);
    EXPECT_EQ(outer.openDescriptors(), 2U);
    {
        DeviceHost inner(twoDisks());
        CScsiDeviceHandle opened(device);
        // The same number as on the other host: closed there it would be the wrong device's.
        EXPECT_EQ(opened.m_descriptor, ended->m_descriptor);
        ended.reset();
        closed.closeDevice(closed.m_descriptor);
        EXPECT_EQ(inner.openDescriptors(), 1U);
        EXPECT_EQ(inner.count("close /dev/sda"), 0U);
    }
    EXPECT_EQ(outer.openDescriptors(), 0U);
}

TEST(DeviceHandle, OpensAgainOnTheHostThatIsCurrentThen) {
    DeviceHost outer(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    handle.closeDevice(handle.open(device, true));
    {
        DeviceHost inner(twoDisks());
        EXPECT_GT(handle.open(device, true), 0);
        EXPECT_EQ(inner.openDescriptors(), 1U);
        handle.closeDevice(handle.m_descriptor);
        EXPECT_EQ(inner.openDescriptors(), 0U);
    }
    EXPECT_EQ(outer.count("open /dev/sda O_RDWR|O_NONBLOCK"), 1U);
}

TEST(DeviceHandle, DescriptorOfAnotherMakingIsClosedOnTheCurrentHost) {
    DeviceHost outer(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    handle.open(device, true);
    handle.closeDevice(handle.m_descriptor);
    DeviceHost inner(twoDisks());
    handle.m_descriptor = inner.openDevice("/dev/sdb", host::OpenMode::kReadWriteNonBlocking);
    handle.closeDevice(handle.m_descriptor);
    EXPECT_EQ(inner.openDescriptors(), 0U);
    EXPECT_EQ(outer.requests.size(), 2U);
}

TEST(DeviceHandle, NothingIsClosedWhereTheHostIsGone) {
    DeviceHost outer(twoDisks());
    CScsiDeviceData device = recordOf("/dev/sda");
    CScsiDeviceHandle handle;
    {
        const DeviceHost inner(twoDisks());
        handle.open(device, true);
    }
    EXPECT_EQ(thrownBy([&] { scsi::HostOfHandle::openedOn(handle); }), 6);
    handle.closeDevice(handle.m_descriptor);
    EXPECT_EQ(handle.m_descriptor, -1);
    EXPECT_EQ(outer.requests, Texts{});
    EXPECT_EQ(&scsi::HostOfHandle::openedOn(handle), &host::current());
}

TEST(DeviceHandle, EndSurvivesAHostThatThrows) {
    DeviceHost host(twoDisks());
    host.onClose = []() -> DeviceHost::Answer { throw std::bad_alloc(); };
    CScsiDeviceData device = recordOf("/dev/sda");
    { const CScsiDeviceHandle handle(device); }
    EXPECT_EQ(host.openDescriptors(), 0U);
}

// A plug-in that was built before the host was remembered keeps its picture of the object.
TEST(DeviceHandle, HostIsRememberedWhereTheObjectHadNoBytesInUse) {
    struct Published : virtual qzfi_pdk_4_4::CFiTraceable {
        std::string path;
        int descriptor;
    };
    EXPECT_EQ(sizeof(CScsiDeviceHandle), sizeof(Published));
}

TEST(DeviceHandle, DeviceWithoutANameCannotBeOpened) {
    const DeviceHost host(twoDisks());
    CScsiDeviceData device = recordOf("");
    CScsiDeviceHandle handle;
    EXPECT_EQ(handle.open(device, true), -1);
}

}  // namespace
