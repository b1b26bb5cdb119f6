// Other libraries are linked against these classes: the places of their virtual operations, of
// their members and their sizes are part of what was published, on every 64-bit Linux with
// libstdc++.
#include <gtest/gtest.h>

#include <cstddef>
#include <initializer_list>

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/dmp/dmp_linux_device_mapper.h"
#include "scsitool/dmp/dmp_powerpath.h"
#include "scsitool/scsi/scsi_configuration.h"
#include "scsitool/scsi/scsi_device_handle.h"
#include "scsitool/scsi/scsitool.h"
#include "scsitool/tools/WWPN_discovery.h"
#include "scsitool/udid/default_udid_generator.h"
#include "scsitool/udid/device_scsi_info.h"
#include "scsitool/udid/device_udid_factory.h"
#include "scsitool/udid/generic_udid_generator.h"
#include "scsitool/udid/taq_udid_generator.h"
#include "slot_of.h"

namespace {

using qzfi_pdk_4_4::CFiSmartPtr;
using qzfi_pdk_4_4::CFiTraceable;
using qzfi_pdk_4_4::CFiTraceLog;
using test::slotOf;

// A virtual destructor takes the slots 0 and 1. Where the traceable base is a virtual one, its
// operations stand in the base's own table and not in the class's.

struct Place {
    const void* member;
    std::ptrdiff_t offset;
};

// A member that is added between two others moves those behind it or, where it fits into what the
// alignment left free, nothing that matters to others; one behind the last makes the object larger.
template <class Object>
void expectPlaces(const char* type, const Object& object, std::size_t size,
                  std::initializer_list<Place> places) {
    EXPECT_EQ(sizeof object, size) << type;
    const auto* const start = reinterpret_cast<const char*>(&object);
    std::size_t number = 0;
    for (const Place& place : places) {
        EXPECT_EQ(static_cast<const char*>(place.member) - start, place.offset)
            << type << ", member " << number;
        ++number;
    }
}

TEST(Layout, SlotsOfTheScsiToolBase) {
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateSupportedModePageList), 2);
    EXPECT_EQ(slotOf(&CScsiToolBase::CheckForDiskDevice), 3);
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateDevice), 4);
    EXPECT_EQ(slotOf(&CScsiToolBase::RemoveDevice), 5);
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateStdInquiryString), 6);
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateVendorId), 7);
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateProductId), 8);
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateFirmwareLevel), 9);
    EXPECT_EQ(slotOf(&CScsiToolBase::UpdateModePageString), 10);
    EXPECT_EQ(slotOf(&CScsiToolBase::GetScsiDeviceCapacity), 11);
    EXPECT_EQ(slotOf(&CScsiToolBase::GetTargetLunPortInfo), 12);
    EXPECT_EQ(slotOf(&CScsiToolBase::GetModePageInfo), 13);
}

TEST(Layout, SlotsOfTheScsiTool) {
    EXPECT_EQ(slotOf(&CScsiTool::RemoveDevice), 5);
    EXPECT_EQ(slotOf(&CScsiTool::GetScsiDeviceCapacity), 11);
    EXPECT_EQ(slotOf(&CScsiTool::GetTargetLunPortInfo), 12);
    EXPECT_EQ(slotOf(&CScsiTool::GetModePageInfo), 13);
    // The operations of the initiator are not virtual.
    EXPECT_EQ(slotOf(&CScsiTool::GetHostIQN), -1);
    EXPECT_EQ(slotOf(&CScsiTool::DiscoverIscsiTargets), -1);
    EXPECT_EQ(slotOf(&CScsiTool::GetExecPipeWaitPidStatus), -1);
}

TEST(Layout, DeviceHandleHasNothingVirtualOfItsOwn) {
    EXPECT_EQ(slotOf(&CScsiDeviceHandle::open), -1);
    EXPECT_EQ(slotOf(&CScsiDeviceHandle::openDevice), -1);
    EXPECT_EQ(slotOf(&CScsiDeviceHandle::closeDevice), -1);
    EXPECT_TRUE(std::has_virtual_destructor_v<CScsiDeviceHandle>);
}

TEST(Layout, DeviceRecordHasNothingVirtualButItsDestructor) {
    EXPECT_EQ(slotOf(&CScsiDeviceData::GetProductId), -1);
    EXPECT_EQ(slotOf(&CScsiDeviceData::GetScsiModePage), -1);
    EXPECT_TRUE(std::has_virtual_destructor_v<CScsiDeviceData>);
}

TEST(Layout, TraceableBaseIsVirtualInToolAndHandle) {
    // A second path to the base must not make a second base.
    struct Other : virtual CFiTraceable {};
    struct Tool : CScsiTool, Other {};
    struct Handle : CScsiDeviceHandle, Other {};
    Tool tool;
    Handle handle;
    EXPECT_EQ(&static_cast<CScsiTool&>(tool).m_traceLog, &static_cast<Other&>(tool).m_traceLog);
    EXPECT_EQ(&static_cast<CScsiDeviceHandle&>(handle).m_traceLog,
              &static_cast<Other&>(handle).m_traceLog);
}

TEST(Layout, SlotsOfTheGenerator) {
    EXPECT_EQ(slotOf(&CUdidGenerator::registerTraceLog), 2);
    EXPECT_EQ(slotOf(&CUdidGenerator::getGeneratorName), 3);
    EXPECT_EQ(slotOf(&CUdidGenerator::claimDevice), 4);
    EXPECT_EQ(slotOf(&CUdidGenerator::getUniqueDeviceIDPrefix), 5);
    EXPECT_EQ(slotOf(&CUdidGenerator::getUniqueDeviceID), 6);
}

TEST(Layout, SlotsOfTheGenericGenerator) {
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::registerTraceLog), 2);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getGeneratorName), 3);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::claimDevice), 4);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getUniqueDeviceIDPrefix), 5);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getUniqueDeviceID), 6);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getEnclousureId), 7);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getDeviceScsiInfo), 8);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getInformationFromPage83), -1);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::checkFillIdPage0x83), -1);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::checkFillPreSPC3Page0x83), -1);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::getInformationFromPage80), -1);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::prependVendorModel), -1);
    EXPECT_EQ(slotOf(&CGenericUdidGenerator::printDeviceScsiInfo), -1);
}

TEST(Layout, SlotsOfTheDefaultAndTheTaqGenerator) {
    EXPECT_EQ(slotOf(&CDefaultUdidGenerator::claimDevice), 4);
    EXPECT_EQ(slotOf(&CDefaultUdidGenerator::getUniqueDeviceIDPrefix), 5);
    EXPECT_EQ(slotOf(&CDefaultUdidGenerator::getUniqueDeviceID), 6);
    EXPECT_EQ(slotOf(&CTAQUdidGenerator::claimDevice), 4);
    EXPECT_EQ(slotOf(&CTAQUdidGenerator::getUniqueDeviceIDPrefix), 5);
    EXPECT_EQ(slotOf(&CTAQUdidGenerator::getUniqueDeviceID), 6);
}

TEST(Layout, SlotsOfTheFactory) {
    using Register = void (CUDIDFactory::*)(CFiSmartPtr<CFiTraceLog>&);
    using RegisterOfTheBase = void (CFiTraceable::*)(const CFiSmartPtr<CFiTraceLog>&);
    EXPECT_EQ(slotOf(static_cast<RegisterOfTheBase>(&CUDIDFactory::registerTraceLog)), 2);
    EXPECT_EQ(slotOf(static_cast<Register>(&CUDIDFactory::registerTraceLog)), 3);
    EXPECT_EQ(slotOf(&CUDIDFactory::enumerateDeviceMap), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::getUniqueDeviceID), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::getCachedUniqueDeviceID), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::validateDeviceMap), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::removeStaleDevices), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::removeDevice), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::clearDeviceCache), -1);
    EXPECT_EQ(slotOf(&CUDIDFactory::printDeviceMap), -1);
}

TEST(Layout, SlotsOfTheDiscovery) {
    using Register = void (CDeviceDiscoveryBase::*)(CFiSmartPtr<CFiTraceLog>&);
    using RegisterOfTheBase = void (CFiTraceable::*)(const CFiSmartPtr<CFiTraceLog>&);
    EXPECT_EQ(slotOf(static_cast<RegisterOfTheBase>(&CDeviceDiscoveryBase::registerTraceLog)), 2);
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

TEST(Layout, SlotsOfTheLinuxDiscoveryAreThoseOfTheBase) {
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::removeDeadDevices), 4);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::removeDevice), 5);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::FlushMultipathStaleDevices), 6);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::enumerateDevices), 9);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::validateEnumerateDevices), 10);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::rescanScsiBus), 11);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::removeStaleDevices), 12);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt), -1);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::getDeviceList), -1);
    EXPECT_EQ(slotOf(&CLinuxDeviceDiscovery::RemoveDevice), -1);
}

TEST(Layout, PlacesInTheDeviceRecord) {
    const CScsiDeviceData record("", "", "", 0, 0, 0, -1, "", "", "", 0);
    expectPlaces("CScsiDeviceData", record, 416,
                 {{&record.m_deviceName, 8},   {&record.m_secondName, 40},
                  {&record.m_hostName, 72},    {&record.m_vendorId, 104},
                  {&record.m_productId, 136},  {&record.m_firmwareLevel, 168},
                  {&record.m_firstSpare, 200}, {&record.m_secondSpare, 232},
                  {&record.m_target, 264},     {&record.m_lun, 268},
                  {&record.m_bus, 272},        {&record.m_port, 276},
                  {&record.m_pages, 280},      {&record.m_dmpClaimLevel, 328},
                  {&record.m_busType, 332},    {&record.m_multipath, 336},
                  {&record.m_sizeKb, 344},     {&record.m_supportedPages, 352},
                  {&record.m_osName, 376},     {&record.m_invalid, 408}});
    EXPECT_EQ(sizeof record.m_sizeKb, 8U);
    EXPECT_EQ(sizeof record.m_invalid, 4U);
}

TEST(Layout, PlacesInAPage) {
    const CScsiModePage page;
    expectPlaces("CScsiModePage", page, 16, {{&page.buffer, 0}, {&page.length, 8}});
    EXPECT_EQ(sizeof page.length, 4U);
}

TEST(Layout, PlacesInADeviceMapsEntry) {
    const SDeviceInfo info;
    expectPlaces("SDeviceInfo", info, 96,
                 {{&info.dmpClaimLevel, 0},
                  {&info.deviceName, 8},
                  {&info.uid, 40},
                  {&info.nativePaths, 72}});
}

TEST(Layout, PlacesInTheTuningSettings) {
    const CScsiTuningParams params;
    expectPlaces("CScsiTuningParams", params, 8,
                 {{&params.openRetryDelaySeconds, 0}, {&params.openRetryAttempts, 4}});
}

TEST(Layout, PlacesInAScsiAddress) {
    const SLinuxScsiDevice device = {};
    expectPlaces("SLinuxScsiDevice", device, 16,
                 {{&device.host, 0}, {&device.channel, 4}, {&device.id, 8}, {&device.lun, 12}});
}

// The virtual base with the trace log stands behind the class's own members.
TEST(Layout, PlacesInTheDeviceHandle) {
    const CScsiDeviceHandle handle;
    expectPlaces("CScsiDeviceHandle", handle, 64,
                 {{&handle.m_devicePath, 8}, {&handle.m_descriptor, 40}, {&handle.m_traceLog, 56}});
}

TEST(Layout, TheScsiToolsHoldNothingButTheTraceLog) {
    const CScsiTool tool;
    expectPlaces("CScsiTool", tool, 24, {{&tool.m_traceLog, 16}});
    EXPECT_EQ(sizeof(CScsiToolBase), sizeof tool);
}

TEST(Layout, PlacesInTheGeneratorAndItsException) {
    const CTAQUdidGenerator generator("", "");
    expectPlaces(
        "CUdidGenerator", static_cast<const CUdidGenerator&>(generator), 80,
        {{&generator.m_traceLog, 8}, {&generator.m_vendor, 16}, {&generator.m_product, 48}});
    EXPECT_EQ(sizeof generator, sizeof(CUdidGenerator));
    EXPECT_EQ(sizeof(CDefaultUdidGenerator), sizeof(CUdidGenerator));
    EXPECT_EQ(sizeof(CGenericUdidGenerator), sizeof(CUdidGenerator));
    const CUdidGeneratorException failure("", "", "");
    expectPlaces("CUdidGeneratorException", failure, 96,
                 {{&failure.m_messageId, 0}, {&failure.m_vendor, 32}, {&failure.m_product, 64}});
}

TEST(Layout, PlacesInTheFactory) {
    const CUDIDFactory factory;
    expectPlaces("CUDIDFactory", factory, 392,
                 {{&factory.m_traceLog, 8},
                  {&factory.m_presetDeviceMap, 16},
                  {&factory.m_deviceMap, 64},
                  {&factory.m_generators, 112},
                  {&factory.m_taqGenerator, 136},
                  {&factory.m_devices, 144},
                  {&factory.m_taqMode, 168},
                  {&factory.m_discovery, 176},
                  {&factory.m_dmpManager, 304}});
}

TEST(Layout, PlacesInTheDiscovery) {
    const CLinuxDeviceDiscovery discovery;
    expectPlaces("CDeviceDiscoveryBase", static_cast<const CDeviceDiscoveryBase&>(discovery), 128,
                 {{&discovery.m_traceLog, 8},
                  {&discovery.m_scsiTool, 16},
                  {&discovery.m_dmpDiscoveryManager, 40}});
    EXPECT_EQ(sizeof discovery, sizeof(CDeviceDiscoveryBase));
}

TEST(Layout, PlacesInTheMultipathManagerAndItsModules) {
    const CDmpDiscoveryManager manager;
    expectPlaces("CDmpDiscoveryManager", manager, 88,
                 {{&manager.m_modules, 8},
                  {static_cast<const qzfi_pdk_4_4::CDmpClaimManager*>(&manager), 32},
                  {static_cast<const CFiTraceable*>(&manager), 72},
                  {&manager.m_traceLog, 80}});
    EXPECT_EQ(sizeof(CDmpDiscoveryBase), 16U);
    EXPECT_EQ(sizeof(CDmpPowerPathDiscovery), 16U);
    EXPECT_EQ(sizeof(CDmpLinuxDeviceMapper), 16U);
    EXPECT_EQ(sizeof(WWPN), 16U);
}

TEST(Layout, FieldsOfTheExtractionHaveTheirCapacity) {
    const CDeviceScsiInfo info = {};
    expectPlaces("CDeviceScsiInfo", info, 905,
                 {{info.vendor, 0},
                  {info.model, 9},
                  {info.revision, 26},
                  {info.devicePath, 31},
                  {info.serial, 95},
                  {info.serialShort, 351},
                  {info.unitSerialNumber, 607},
                  {info.wwn, 863},
                  {info.wwnVendorExtension, 880},
                  {info.tgptGroup, 897}});
    EXPECT_EQ(sizeof info.vendor, 9U);
    EXPECT_EQ(sizeof info.model, 17U);
    EXPECT_EQ(sizeof info.revision, 5U);
    EXPECT_EQ(sizeof info.devicePath, 64U);
    EXPECT_EQ(sizeof info.serial, 256U);
    EXPECT_EQ(sizeof info.serialShort, 256U);
    EXPECT_EQ(sizeof info.unitSerialNumber, 256U);
    EXPECT_EQ(sizeof info.wwn, 17U);
    EXPECT_EQ(sizeof info.wwnVendorExtension, 17U);
    EXPECT_EQ(sizeof info.tgptGroup, 8U);
    EXPECT_EQ(sizeof(SScsiIdSearchValues), 3U);
}

}  // namespace
