#include <gtest/gtest.h>

#include <cstddef>

#include "scsitool/discovery/device_discovery_linux.h"
#include "slot_of.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceable;
using qzfi_pdk_4_4::CFiTraceLog;
using test::slotOf;

std::ptrdiff_t offsetIn(const CDeviceDiscoveryBase& object, const void* member) {
    return static_cast<const char*>(member) - reinterpret_cast<const char*>(&object);
}

TEST(DeviceDiscoveryBase, VirtualOperationsStandInTheirSlots) {
    // The destructor takes the slots 0 and 1; of the two registrations the inherited one is first.
    using RegisterConst = void (CDeviceDiscoveryBase::*)(const CFiSmartPtr<CFiTraceLog>&);
    using Register = void (CDeviceDiscoveryBase::*)(CFiSmartPtr<CFiTraceLog>&);
    EXPECT_EQ(slotOf(static_cast<RegisterConst>(&CDeviceDiscoveryBase::registerTraceLog)), 2);
    EXPECT_EQ(slotOf(static_cast<Register>(&CDeviceDiscoveryBase::registerTraceLog)), 3);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::removeDeadDevices), 4);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::removeDevice), 5);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::FlushMultipathStaleDevices), 6);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::rescan), 7);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::validateDevice), 8);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::enumerateDevices), 9);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::validateEnumerateDevices), 10);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::rescanScsiBus), 11);
    EXPECT_EQ(slotOf(&CDeviceDiscoveryBase::removeStaleDevices), 12);
}

TEST(DeviceDiscoveryBase, ToolStandsBehindTheTraceLogAndTheManagerBehindTheTool) {
    const CLinuxDeviceDiscovery discovery;
    EXPECT_EQ(offsetIn(discovery, &discovery.m_scsiTool),
              static_cast<std::ptrdiff_t>(sizeof(CFiTraceable)));
    EXPECT_EQ(offsetIn(discovery, &discovery.m_dmpDiscoveryManager),
              static_cast<std::ptrdiff_t>(sizeof(CFiTraceable) + sizeof(CScsiTool)));
    EXPECT_EQ(sizeof(CDeviceDiscoveryBase),
              sizeof(CFiTraceable) + sizeof(CScsiTool) + sizeof(CDmpDiscoveryManager));
}

TEST(LinuxDeviceDiscovery, KeepsTheSlotsOfTheBaseAndAddsNoData) {
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::removeDeadDevices), 4);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::removeDevice), 5);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::FlushMultipathStaleDevices), 6);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::enumerateDevices), 9);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::validateEnumerateDevices), 10);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::rescanScsiBus), 11);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::removeStaleDevices), 12);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::RemoveDevice), -1);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::getDeviceList), -1);
    EXPECT_EQ(sizeof(CLinuxDeviceDiscovery), sizeof(CDeviceDiscoveryBase));
}

}  // namespace
