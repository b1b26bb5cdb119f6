#include "scsitool/dmp/dmp_discovery_manager.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "scripted_host.h"
#include "scsitool/dmp/dmp_linux_device_mapper.h"
#include "scsitool/dmp/dmp_powerpath.h"
#include "slot_of.h"
#include "trace_capture.h"

namespace {

using recording::RecordedHostData;
using test::ran;
using test::ScriptedHost;
using test::slotOf;
using test::TraceCapture;
using Texts = std::vector<std::string>;

/// A module that enters one device and fails at everything, and tells in which order it was asked.
class FailingModule : public CDmpDiscoveryBase {
  public:
    FailingModule(std::string name, Texts& calls) : m_name(std::move(name)), m_calls(calls) {}
    int enumerateDmpDevices(DeviceMap& devices) override {
        m_calls.push_back(m_name + " enumerates");
        devices["/dev/shared"].uid = m_name;
        devices["/dev/" + m_name].deviceName = m_name;
        return 6;
    }
    int rescan() override {
        m_calls.push_back(m_name + " rescans");
        return 6;
    }

  private:
    std::string m_name;
    Texts& m_calls;
};

TEST(DmpDiscoveryManager, PowerPathIsRegisteredBeforeTheDeviceMapper) {
    const CDmpDiscoveryManager manager;
    ASSERT_EQ(manager.m_modules.size(), 2U);
    EXPECT_NE(dynamic_cast<CDmpPowerPathDiscovery*>(manager.m_modules[0]), nullptr);
    EXPECT_NE(dynamic_cast<CDmpLinuxDeviceMapper*>(manager.m_modules[1]), nullptr);
}

TEST(DmpDiscoveryManager, NullModuleIsIgnored) {
    CDmpDiscoveryManager manager;
    manager.registerDiscoveryModule(nullptr);
    EXPECT_EQ(manager.m_modules.size(), 2U);
}

TEST(DmpDiscoveryManager, HostWithoutPseudoDevicesLeavesTheMapUnchanged) {
    const ScriptedHost host;
    CDmpDiscoveryManager manager;
    DeviceMap devices;
    devices["/dev/sda"].uid = "UDID##A";
    EXPECT_EQ(manager.enumerateDmpDevices(devices), 0);
    ASSERT_EQ(devices.size(), 1U);
    EXPECT_EQ(devices["/dev/sda"].uid, "UDID##A");
}

TEST(DmpDiscoveryManager, ModulesAreAskedInTheOrderOfRegistration) {
    const ScriptedHost host;
    CDmpDiscoveryManager manager;
    Texts calls;
    FailingModule first("first", calls);
    FailingModule second("second", calls);
    manager.registerDiscoveryModule(&first);
    manager.registerDiscoveryModule(&second);
    DeviceMap devices;
    EXPECT_EQ(manager.enumerateDmpDevices(devices), 0);
    EXPECT_EQ(manager.rescan(), 0);
    EXPECT_EQ(calls,
              (Texts{"first enumerates", "second enumerates", "first rescans", "second rescans"}));
}

TEST(DmpDiscoveryManager, ModuleThatFailsDoesNotStopTheOthers) {
    RecordedHostData data;
    data.files["/sbin/powermt"] = "";
    const ScriptedHost host(data);
    CDmpDiscoveryManager manager;
    EXPECT_EQ(manager.rescan(), 0);
    EXPECT_EQ(host.effects().front(), ran("/sbin/powermt check force dev=all class=all"));
    EXPECT_EQ(host.effects()[host.effects().size() - 2], ran("/sbin/multipath -v0 "));
}

TEST(DmpDiscoveryManager, LaterModuleReplacesTheEntryOfAnEarlierOne) {
    const ScriptedHost host;
    CDmpDiscoveryManager manager;
    Texts calls;
    FailingModule first("first", calls);
    FailingModule second("second", calls);
    manager.registerDiscoveryModule(&first);
    manager.registerDiscoveryModule(&second);
    DeviceMap devices;
    manager.enumerateDmpDevices(devices);
    EXPECT_EQ(devices.size(), 3U);
    EXPECT_EQ(devices["/dev/shared"].uid, "second");
}

TEST(DmpDiscoveryManager, BothModulesFillOneMap) {
    RecordedHostData data;
    data.directories["/dev/"] = {"emcpowera"};
    data.directories["/dev/mapper/"] = {"mpatha"};
    const ScriptedHost host(data);
    CDmpDiscoveryManager manager;
    TraceCapture trace;
    manager.registerTraceLog(trace.log());
    trace.clear();
    DeviceMap devices;
    EXPECT_EQ(manager.enumerateDmpDevices(devices), 0);
    EXPECT_EQ(devices.size(), 2U);
    EXPECT_EQ(
        trace.stableLines(),
        (Texts{"[3] INFO: CDmpDiscoveryManager::enumerateDmpDevices 2 modules registered",
               "[6] Entering Function enumerateDmpDevices [N, dmp_powerpath]",
               "[3] INFO: enumerating devices using command [], lines returned [1]",
               "[3] INFO: adding powerpath device to the map [/dev/emcpowera]",
               "[6] Exiting Function enumerateDmpDevices [N, dmp_powerpath]",
               "[6] Entering Function enumerateDmpDevices [N, dmp_linux_device_mapper]",
               "[3] INFO: readdir lines returned [1] devices.",
               "[3] Working on device [/dev/mapper/mpatha]",
               "[3] INFO: adding device mapper multipath device to the map [/dev/mapper/mpatha]",
               "[6] Exiting Function enumerateDmpDevices [N, dmp_linux_device_mapper]"}));
}

TEST(DmpDiscoveryManager, TraceLogGoesToEveryModule) {
    CDmpDiscoveryManager manager;
    TraceCapture trace;
    manager.registerTraceLog(trace.log());
    EXPECT_EQ(trace.lines(), (Texts{"[3] INFO: registering trace log on discovery module",
                                    "[3] INFO: registering trace log on discovery module"}));
    EXPECT_EQ(manager.m_traceLog.get(), trace.log().get());
    for (const CDmpDiscoveryBase* const module : manager.m_modules) {
        EXPECT_EQ(module->m_traceLog.get(), trace.log().get());
    }
}

TEST(DmpDiscoveryManager, TraceLogGoesToTheClaimManager) {
    struct Claim : qzfi_pdk_4_4::CDmpDeviceClaimBase {
        bool claim(const std::string&) override { return false; }
        std::string claimString() const override { return ""; }
    } claim;
    CDmpDiscoveryManager manager;
    manager.registerClaimModule(&claim);
    TraceCapture trace;
    manager.registerTraceLog(trace.log());
    EXPECT_EQ(claim.m_traceLog.get(), trace.log().get());
}

TEST(DmpDiscoveryManager, ModuleThatIsRegisteredLateGetsTheTraceLog) {
    CDmpDiscoveryManager manager;
    TraceCapture trace;
    manager.registerTraceLog(trace.log());
    trace.clear();
    Texts calls;
    FailingModule module("late", calls);
    manager.registerDiscoveryModule(&module);
    EXPECT_EQ(module.m_traceLog.get(), trace.log().get());
    EXPECT_EQ(trace.lines(), Texts{});
}

TEST(DmpDiscoveryManager, ModulesOutliveTheManager) {
    struct Counted : FailingModule {
        Counted(Texts& calls, int& destroyed)
            : FailingModule("counted", calls), m_destroyed(destroyed) {}
        ~Counted() override { ++m_destroyed; }
        int& m_destroyed;
    };
    Texts calls;
    int destroyed = 0;
    Counted module(calls, destroyed);
    {
        CDmpDiscoveryManager manager;
        manager.registerDiscoveryModule(&module);
    }
    EXPECT_EQ(destroyed, 0);
}

TEST(DmpDiscoveryManager, OwnVirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    using RegisterTraceLog =
        void (CDmpDiscoveryManager::*)(qzfi_pdk_4_4::CFiSmartPtr<qzfi_pdk_4_4::CFiTraceLog>&);
    EXPECT_EQ(slotOf(&CDmpDiscoveryManager::registerDiscoveryModule), 2);
    EXPECT_EQ(slotOf(static_cast<RegisterTraceLog>(&CDmpDiscoveryManager::registerTraceLog)), 3);
    EXPECT_EQ(slotOf(&CDmpDiscoveryManager::enumerateDmpDevices), 4);
    EXPECT_EQ(slotOf(&CDmpDiscoveryManager::rescan), 5);
}

TEST(DmpDiscoveryBase, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1.
    EXPECT_EQ(slotOf(&CDmpDiscoveryBase::registerTraceLog), 2);
    EXPECT_EQ(slotOf(&CDmpDiscoveryBase::enumerateDmpDevices), 3);
    EXPECT_EQ(slotOf(&CDmpDiscoveryBase::rescan), 4);
}

}  // namespace
