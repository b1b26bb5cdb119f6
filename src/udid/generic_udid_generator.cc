#include "scsitool/udid/generic_udid_generator.h"

#include <utility>

#include "scsitool/kit/bounded_string.h"
#include "scsitool/tools/string_tool.h"
#include "scsitool/udid/family.h"
#include "scsitool/udid/udid_text.h"
#include "tools/trace.h"
#include "udid/generic_extraction.h"
#include "udid/udid_prefix.h"

using qzfi_pdk_4_4::V_strlcpy;
using qzfi_pdk_4_4::V_strlncat;
using qzfi_pdk_4_4::V_strlncpy;
using tools::traceTo;

namespace {

using namespace udid::generic;
using scsi::kPageHeader;
using scsi::kUnitSerialNumber;

// The fields that do not depend on which identifier was found.
void fillIdentity(CScsiDeviceData& device, const std::string& enclosure, CDeviceScsiInfo& info) {
    V_strlcpy(info.vendor, udid::trimVendor(device).c_str(), sizeof info.vendor);
    V_strlcpy(info.model, device.GetProductId().c_str(), sizeof info.model);
    V_strlcpy(info.revision, device.m_firmwareLevel.c_str(), sizeof info.revision);
    V_strlcpy(info.unitSerialNumber, enclosure.c_str(), sizeof info.unitSerialNumber);
}

void remarkLongSerial(int length, int most) {
    if (udid::reporter() != nullptr) {
        const std::string text = "the serial of page 0x80 has " + std::to_string(length) +
                                 " bytes, at most " + std::to_string(most) + " are taken";
        udid::remark(text.c_str());
    }
}

void remarkShortModel(std::size_t length) {
    if (udid::reporter() != nullptr) {
        const std::string text = "vendor and product, which go before this identifier, have " +
                                 std::to_string(length) + " characters here, " +
                                 std::to_string(kVendorModelLength) + " are needed";
        udid::remark(text.c_str());
    }
}

// Reports the unit serial number as it stands in the record of the extraction: without blanks at
// either end, up to its first NUL.
void reportUnitSerial(std::size_t length, const std::string& serial) {
    if (udid::Reporter* const listener = udid::reporter()) {
        listener->found("unitSerialNumber",
                        {udid::Format::kTrimmedText, kUnitSerialNumber, kPageHeader, length,
                         CStringTool::trim(serial).c_str()});
    }
}

}  // namespace

CGenericUdidGenerator::CGenericUdidGenerator(std::string vendor, std::string product)
    : CUdidGenerator(std::move(vendor), std::move(product)) {}
CGenericUdidGenerator::~CGenericUdidGenerator() = default;

bool CGenericUdidGenerator::claimDevice(CScsiDeviceData* /*device*/) {
    return false;
}

std::string CGenericUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    return udid::recordPrefix(*device);
}

std::string CGenericUdidGenerator::getUniqueDeviceID(CScsiDeviceData* /*device*/) {
    return "NO_DEVICE_INFORMATION";
}

int CGenericUdidGenerator::getDeviceScsiInfo(CScsiDeviceData* device, CDeviceScsiInfo& info) {
    static constexpr char kName[] = "CGenericUdidGenerator::getDeviceScsiInfo";
    V_strlcpy(info.devicePath, device->m_deviceName.c_str(), sizeof info.devicePath);
    const char* const path = info.devicePath;
    constexpr int kMaxLength = sizeof info.serial;
    if (getInformationFromPage83(device, info, info.serial, info.serialShort, kMaxLength,
                                 info.unitSerialNumber, info.wwn, info.wwnVendorExtension,
                                 info.tgptGroup) == kTaken) {
        traceTo(m_traceLog, 6, "%s: For device:[%s], found Serial number:[%s] using page 0x83",
                kName, path, info.serialShort);
    } else {
        traceTo(m_traceLog, 6, "%s:For device:[%s], No serial number found", kName, path);
        traceTo(m_traceLog, 6, "%s: For device:[%s], trying Page80 query", kName, path);
        if (getInformationFromPage80(device, info, info.serial, info.serialShort, kMaxLength) !=
            kTaken) {
            traceTo(m_traceLog, 6,
                    "%s: For device:[%s], No serial number found with page 0x80 query", kName,
                    path);
            traceTo(m_traceLog, 1, "%s: For device:[%s], no serial number found", kName, path);
            return kNotTaken;
        }
        traceTo(m_traceLog, 6, "%s: For device:[%s]. Serial number using page 0x80[%s]", kName,
                path, info.serialShort);
    }
    fillIdentity(*device, CStringTool::trim(getEnclousureId(device)), info);
    printDeviceScsiInfo(info);
    return kTaken;
}

int CGenericUdidGenerator::getInformationFromPage80(CScsiDeviceData* device, CDeviceScsiInfo& info,
                                                    char* serial, char* serialShort,
                                                    int maxLength) {
    static constexpr char kName[] = "CGenericUdidGenerator::getInformationFromPage80";
    const char* const path = info.devicePath;
    const udid::SourcePage page = udid::takePage(*device, kUnitSerialNumber);
    if (!page.view.hasBuffer()) {
        traceTo(m_traceLog, 1, "%s: For device:[%s], page 0x80 is NULL", kName, path);
        udid::remark("page 0x80 is missing");
        return kNotTaken;
    }
    udid::decides(page, scsi::kPageCode, 1);
    if (page.view[scsi::kPageCode] != kUnitSerialNumber) {
        traceTo(m_traceLog, 1, "%s: For device[%s], Invalid page 0x80", kName, path);
        remarkOtherCode(page);
        return kNotTaken;
    }
    udid::decides(page, scsi::kPageLengthLow, 1);
    const int length = page.view[scsi::kPageLengthLow];
    const int need = length + kVendorModelLength + 1;
    if (need > maxLength) {
        traceTo(m_traceLog, 1, "%s: For device:[%s], length %d too short - need %d\n", kName, path,
                maxLength, need);
        remarkLongSerial(length, maxLength - kVendorModelLength - 1);
        return kNotTaken;
    }
    const std::string bytes = page.view.bytes(kPageHeader, static_cast<std::size_t>(length));
    if (serial != nullptr) {
        serial[0] = 'S';
        if (prependVendorModel(info, serial + 1) != kVendorModelLength) {
            traceTo(m_traceLog, 1, "%s: For device[%s], Failed to prepend vendor model.", kName,
                    path);
            return kNotTaken;
        }
        // The serial starts on the last character of the model: the identifier's format has it so.
        bytes.copy(serial + kVendorModelLength, bytes.size());
    }
    if (serialShort != nullptr) {
        bytes.copy(serialShort, bytes.size());
        serialShort[bytes.size()] = '\0';
        reportShortSerial(udid::Format::kText, page.code, kPageHeader, bytes.size(), serialShort);
    }
    traceTo(m_traceLog, 1, "%s: For device[%s], Serial short:[%s]", kName, path,
            serialShort != nullptr ? serialShort : "");
    return kTaken;
}

int CGenericUdidGenerator::prependVendorModel(CDeviceScsiInfo& info, char* out) {
    constexpr std::size_t kSize = kVendorModelLength + 1;
    std::size_t length = V_strlncpy(out, kSize, info.vendor, sizeof info.vendor - 1);
    length += V_strlncat(out, kSize, info.model, sizeof info.model - 1);
    if (length != kVendorModelLength) {
        traceTo(m_traceLog, 1, "%s: expected length %d, got length %d\n",
                "CGenericUdidGenerator::prependVendorModel", kVendorModelLength,
                static_cast<int>(length));
        remarkShortModel(length);
        return -1;
    }
    return kVendorModelLength;
}

std::string CGenericUdidGenerator::getEnclousureId(CScsiDeviceData* device) {
    const udid::SourcePage page = udid::takePage(*device, kUnitSerialNumber);
    if (!page.view.hasBuffer()) {
        traceTo(m_traceLog, 2, "%s: page 0x80 is NULL", "CGenericUdidGenerator::getEnclousureId");
        reportUnitSerial(0, std::string());
        return std::string();
    }
    udid::decides(page, scsi::kPageLengthLow, 1);
    const std::size_t length = page.view[scsi::kPageLengthLow];
    std::string serial = page.view.bytes(kPageHeader, length);
    reportUnitSerial(length, serial);
    return serial;
}

void CGenericUdidGenerator::printDeviceScsiInfo(CDeviceScsiInfo& info) {
    if (m_traceLog.get() == nullptr) {
        return;
    }
    traceTo(m_traceLog, 6, "==============[ Device SCSI Information ]==============");
    traceTo(m_traceLog, 6, "|Device path        : [%s]", info.devicePath);
    traceTo(m_traceLog, 6, "|Vendor             : [%s]", info.vendor);
    traceTo(m_traceLog, 6, "|Model              : [%s]", info.model);
    traceTo(m_traceLog, 6, "|Revision           : [%s]", info.revision);
    traceTo(m_traceLog, 6, "|Serial             : [%s]", info.serial);
    traceTo(m_traceLog, 6, "|Serial short       : [%s]", info.serialShort);
    traceTo(m_traceLog, 6, "|Unit Serial Number : [%s]", info.unitSerialNumber);
    traceTo(m_traceLog, 6, "|WWN                : [%s]", info.wwn);
    traceTo(m_traceLog, 6, "|WWN Vendor Ext.    : [%s]", info.wwnVendorExtension);
    traceTo(m_traceLog, 6, "|TGPT Group         : [%s]", info.tgptGroup);
    traceTo(m_traceLog, 6, "=======================================================");
}
