#include "scsitool/scsi/device_scsi_data.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "page_builder.h"

namespace {

using test::Bytes;
using test::store;
using test::storeEmpty;

CScsiDeviceData plainRecord() {
    return CScsiDeviceData("/dev/sda", "", "db01", 0, 0, 0, -1, "", "", "", 0);
}

Bytes bytesOf(CScsiDeviceData& record, unsigned code) {
    unsigned char* buffer = nullptr;
    unsigned length = 0;
    record.GetScsiModePage(code, &buffer, length);
    return Bytes(buffer, buffer + length);
}

TEST(DeviceScsiData, ConstructorCopiesEveryArgument) {
    const CScsiDeviceData record("/dev/sdq", "second", "third", 5, 6U, 7, 8, "HP", "OPEN-V", "0001",
                                 0xFFFFFFFFFFUL);
    EXPECT_EQ(record.m_deviceName, "/dev/sdq");
    EXPECT_EQ(record.m_secondName, "second");
    EXPECT_EQ(record.m_hostName, "third");
    EXPECT_EQ(record.m_target, 5);
    EXPECT_EQ(record.m_bus, 6U);
    EXPECT_EQ(record.m_lun, 7);
    EXPECT_EQ(record.m_port, 8);
    EXPECT_EQ(record.m_vendorId, "HP");
    EXPECT_EQ(record.m_productId, "OPEN-V");
    EXPECT_EQ(record.m_firmwareLevel, "0001");
    EXPECT_EQ(record.m_sizeKb, 0xFFFFFFFFFFULL);
}

TEST(DeviceScsiData, WhatNoArgumentSetsStartsEmpty) {
    const CScsiDeviceData record("a", "b", "c", 1, 2U, 3, 4, "d", "e", "f", 9);
    EXPECT_EQ(record.m_firstSpare, "");
    EXPECT_EQ(record.m_secondSpare, "");
    EXPECT_TRUE(record.m_pages.empty());
    EXPECT_EQ(record.m_dmpClaimLevel, 0);
    EXPECT_EQ(record.m_busType, 0U);
    EXPECT_EQ(record.m_multipath, 0U);
    EXPECT_TRUE(record.m_supportedPages.empty());
    EXPECT_EQ(record.m_osName, "");
    EXPECT_EQ(record.m_invalid, 0U);
}

TEST(DeviceScsiData, UnknownPageIsNullAndLeavesTheMapAlone) {
    CScsiDeviceData record = plainRecord();
    store(record, 0x80, Bytes{0, 0x80, 0, 0});
    unsigned char other = 0;
    unsigned char* buffer = &other;
    unsigned length = 77;
    record.GetScsiModePage(0x83, &buffer, length);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(record.m_pages.size(), 1U);
    EXPECT_EQ(record.m_pages.count(0x83), 0U);
}

TEST(DeviceScsiData, PageOfLengthZeroGivesItsBufferAndZero) {
    CScsiDeviceData record = plainRecord();
    storeEmpty(record, 0x80);
    store(record, 0x83, Bytes{});
    unsigned char other = 0;
    unsigned char* buffer = &other;
    unsigned length = 77;
    record.GetScsiModePage(0x80, &buffer, length);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0U);
    length = 77;
    record.GetScsiModePage(0x83, &buffer, length);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(buffer, record.m_pages[0x83].bytes());
    EXPECT_EQ(length, 0U);
}

TEST(DeviceScsiData, StoredPageIsHandedOverWithoutACopy) {
    CScsiDeviceData record = plainRecord();
    store(record, 0xC8, Bytes{1, 2, 3});
    unsigned char* buffer = nullptr;
    unsigned length = 0;
    record.GetScsiModePage(0xC8, &buffer, length);
    EXPECT_EQ(buffer, record.m_pages[0xC8].bytes());
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(Bytes(buffer, buffer + length), (Bytes{1, 2, 3}));
}

TEST(DeviceScsiData, CopyOwnsItsPages) {
    CScsiDeviceData record = plainRecord();
    store(record, 0x83, Bytes{1, 2, 3});
    record.m_supportedPages = {0x83};
    record.m_osName = "Linux";
    record.m_invalid = 1;
    auto copy = std::make_unique<CScsiDeviceData>(record);
    EXPECT_EQ(bytesOf(*copy, 0x83), (Bytes{1, 2, 3}));
    EXPECT_EQ(copy->m_supportedPages, std::vector<unsigned>{0x83});
    EXPECT_EQ(copy->m_osName, "Linux");
    EXPECT_EQ(copy->m_invalid, 1U);
    EXPECT_NE(copy->m_pages[0x83].bytes(), record.m_pages[0x83].bytes());
    copy->m_pages[0x83].bytes()[1] = 99;
    EXPECT_EQ(bytesOf(record, 0x83), (Bytes{1, 2, 3}));
    copy.reset();
    EXPECT_EQ(bytesOf(record, 0x83), (Bytes{1, 2, 3}));
}

TEST(DeviceScsiData, CopyOutlivesItsSource) {
    auto record = std::make_unique<CScsiDeviceData>(plainRecord());
    store(*record, 0, Bytes{7, 8});
    CScsiDeviceData copy(*record);
    record.reset();
    EXPECT_EQ(bytesOf(copy, 0), (Bytes{7, 8}));
}

TEST(DeviceScsiData, AssignedRecordOwnsItsPages) {
    CScsiDeviceData record = plainRecord();
    store(record, 0x80, Bytes{4, 5});
    CScsiDeviceData other = plainRecord();
    store(other, 0xC0, Bytes{6});
    other = record;
    EXPECT_EQ(other.m_pages.size(), 1U);
    other.m_pages[0x80].bytes()[0] = 99;
    EXPECT_EQ(bytesOf(record, 0x80), (Bytes{4, 5}));
}

TEST(DeviceScsiData, RecordsOfAGrowingVectorKeepTheirPages) {
    std::vector<CScsiDeviceData> records;
    for (unsigned i = 0; i < 20; ++i) {
        records.push_back(plainRecord());
        store(records.back(), 0x83, Bytes{static_cast<std::uint8_t>(i)});
    }
    for (unsigned i = 0; i < 20; ++i) {
        EXPECT_EQ(bytesOf(records[i], 0x83), Bytes{static_cast<std::uint8_t>(i)});
    }
}

TEST(DeviceScsiData, DestructorIsVirtual) {
    static_assert(std::has_virtual_destructor_v<CScsiDeviceData>);
    struct Derived : CScsiDeviceData {
        explicit Derived(bool& flag) : CScsiDeviceData(plainRecord()), destroyed(flag) {}
        ~Derived() override { destroyed = true; }
        bool& destroyed;
    };
    bool destroyed = false;
    const CScsiDeviceData* const record = new Derived(destroyed);
    delete record;
    EXPECT_TRUE(destroyed);
}

TEST(DeviceScsiData, ProductIdLosesTrailingBlanksInTheRecordToo) {
    const struct {
        const char* stored;
        const char* trimmed;
    } rows[] = {{"OPEN-V   ", "OPEN-V"},
                {"  OPEN-V", "  OPEN-V"},
                {"A B  ", "A B"},
                {"OPEN-V\t", "OPEN-V\t"},
                {"    ", ""},
                {"", ""}};
    for (const auto& row : rows) {
        CScsiDeviceData record = plainRecord();
        record.m_productId = row.stored;
        EXPECT_EQ(record.GetProductId(), row.trimmed) << row.stored;
        EXPECT_EQ(record.m_productId, row.trimmed) << row.stored;
    }
}

TEST(ModePage, DefaultIsEmpty) {
    const CScsiModePage page;
    EXPECT_EQ(page.bytes(), nullptr);
    EXPECT_EQ(page.buffer.get(), nullptr);
    EXPECT_EQ(page.length, 0U);
}

TEST(ModePage, CopyOfAnEmptyPageIsEmpty) {
    const CScsiModePage page;
    const CScsiModePage copy(page);
    EXPECT_EQ(copy.length, 0U);
}

TEST(ModePage, CopyOfALengthWithoutBytesIsZeros) {
    CScsiModePage page;
    page.length = 3;
    const CScsiModePage copy(page);
    ASSERT_NE(copy.bytes(), nullptr);
    EXPECT_EQ(Bytes(copy.bytes(), copy.bytes() + 3), (Bytes{0, 0, 0}));
}

TEST(ModePage, AssignmentToItselfChangesNothing) {
    CScsiModePage page;
    page.buffer.reset(new AdapterAutoPtrArray<unsigned char>(new unsigned char[2]{5, 6}));
    page.length = 2;
    const CScsiModePage& same = page;
    page = same;
    ASSERT_EQ(page.length, 2U);
    EXPECT_EQ(Bytes(page.bytes(), page.bytes() + 2), (Bytes{5, 6}));
}

TEST(DeviceInfo, DefaultIsEmptyAndACopyIsEqual) {
    SDeviceInfo info;
    EXPECT_EQ(info.dmpClaimLevel, 0);
    EXPECT_EQ(info.deviceName, "");
    EXPECT_EQ(info.uid, "");
    EXPECT_TRUE(info.nativePaths.empty());
    info = {16, "/dev/mapper/mpatha", "UDID##X", {"/dev/sdb", "/dev/sda"}};
    const SDeviceInfo copy(info);
    EXPECT_EQ(copy.dmpClaimLevel, 16);
    EXPECT_EQ(copy.deviceName, "/dev/mapper/mpatha");
    EXPECT_EQ(copy.uid, "UDID##X");
    EXPECT_EQ(copy.nativePaths, (std::vector<std::string>{"/dev/sdb", "/dev/sda"}));
}

TEST(DeviceMap, NamesThatDifferInCaseAreTwoKeysInByteOrder) {
    DeviceMap devices;
    devices["/dev/sdb"] = {};
    devices["/dev/sda"] = {};
    devices["/dev/SDA"] = {};
    devices["/dev/sda1"] = {};
    std::vector<std::string> keys;
    for (const auto& [key, info] : devices) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"/dev/SDA", "/dev/sda", "/dev/sda1", "/dev/sdb"}));
}

}  // namespace
