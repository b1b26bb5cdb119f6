// Other libraries are linked against these classes: the places of their virtual operations and the
// order of their members are part of what was published.
#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/scsi/scsi_configuration.h"
#include "scsitool/scsi/scsi_device_handle.h"
#include "scsitool/scsi/scsitool.h"
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

void expectAscending(const char* type, std::initializer_list<const void*> members) {
    const void* former = nullptr;
    std::size_t number = 0;
    for (const void* const member : members) {
        EXPECT_LT(former, member) << type << ", member " << number;
        former = member;
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
    EXPECT_EQ(sizeof(CLinuxDeviceDiscovery), sizeof(CDeviceDiscoveryBase));
}

TEST(Layout, MembersOfTheDeviceRecord) {
    const CScsiDeviceData record("", "", "", 0, 0, 0, -1, "", "", "", 0);
    expectAscending("CScsiDeviceData", {&record,
                                        &record.m_deviceName,
                                        &record.m_secondName,
                                        &record.m_hostName,
                                        &record.m_vendorId,
                                        &record.m_productId,
                                        &record.m_firmwareLevel,
                                        &record.m_firstSpare,
                                        &record.m_secondSpare,
                                        &record.m_target,
                                        &record.m_lun,
                                        &record.m_bus,
                                        &record.m_port,
                                        &record.m_pages,
                                        &record.m_dmpClaimLevel,
                                        &record.m_busType,
                                        &record.m_multipath,
                                        &record.m_sizeKb,
                                        &record.m_supportedPages,
                                        &record.m_osName,
                                        &record.m_invalid});
    EXPECT_EQ(sizeof record.m_sizeKb, 8U);
}

TEST(Layout, MembersOfAPage) {
    const CScsiModePage page;
    expectAscending("CScsiModePage", {&page.buffer, &page.length});
    EXPECT_EQ(sizeof page.length, 4U);
}

TEST(Layout, MembersOfADeviceMapsEntry) {
    const SDeviceInfo info;
    expectAscending("SDeviceInfo",
                    {&info.dmpClaimLevel, &info.deviceName, &info.uid, &info.nativePaths});
}

TEST(Layout, MembersOfTheTuningSettings) {
    const CScsiTuningParams params;
    expectAscending("CScsiTuningParams",
                    {&params.openRetryDelaySeconds, &params.openRetryAttempts});
    EXPECT_EQ(sizeof params, 8U);
}

TEST(Layout, MembersOfTheDeviceHandle) {
    const CScsiDeviceHandle handle;
    expectAscending("CScsiDeviceHandle", {&handle, &handle.m_devicePath, &handle.m_descriptor});
}

TEST(Layout, MembersOfTheGeneratorAndItsException) {
    const CTAQUdidGenerator generator("", "");
    expectAscending("CUdidGenerator",
                    {&generator, &generator.m_traceLog, &generator.m_vendor, &generator.m_product});
    const CUdidGeneratorException failure("", "", "");
    expectAscending("CUdidGeneratorException",
                    {&failure.m_messageId, &failure.m_vendor, &failure.m_product});
    EXPECT_EQ(static_cast<const void*>(&failure), static_cast<const void*>(&failure.m_messageId));
}

TEST(Layout, MembersOfTheFactory) {
    const CUDIDFactory factory;
    expectAscending(
        "CUDIDFactory",
        {&factory, &factory.m_traceLog, &factory.m_presetDeviceMap, &factory.m_deviceMap,
         &factory.m_generators, &factory.m_taqGenerator, &factory.m_devices, &factory.m_taqMode,
         &factory.m_discovery, &factory.m_dmpManager});
}

TEST(Layout, MembersOfTheDiscovery) {
    const CLinuxDeviceDiscovery discovery;
    expectAscending("CDeviceDiscoveryBase",
                    {&discovery, &discovery.m_traceLog, &discovery.m_scsiTool,
                     &discovery.m_dmpDiscoveryManager});
}

TEST(Layout, FieldsOfTheExtractionHaveTheirCapacity) {
    const CDeviceScsiInfo info = {};
    expectAscending("CDeviceScsiInfo", {info.vendor, info.model, info.revision, info.devicePath,
                                        info.serial, info.serialShort, info.unitSerialNumber,
                                        info.wwn, info.wwnVendorExtension, info.tgptGroup});
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
    EXPECT_EQ(sizeof info, 905U);
    EXPECT_EQ(sizeof(SScsiIdSearchValues), 3U);
}

}  // namespace
