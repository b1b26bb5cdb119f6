#include "scsitool/scsi/scsitoolbase.h"

#include <algorithm>
#include <array>

#include "scsi/inquiry_command.h"
#include "scsi/page_bytes.h"
#include "scsi/scsi_result.h"
#include "scsitool/kit/bounded_string.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/scsi/pages.h"
#include "scsitool/tools/string_tool.h"
#include "tools/trace.h"

using tools::traceTo;

namespace {

// The pages that any generator reads, in the order in which they are fetched.
constexpr std::array<unsigned, 7> kFetchedPages = {scsi::kDeviceIdentification,
                                                   scsi::kUnitSerialNumber,
                                                   scsi::kClariionArray,
                                                   scsi::kEngenioArray,
                                                   0x10,
                                                   0x11,
                                                   scsi::kEngenioSubsystem};

// Calls a step of the collection; whatever it throws leaves as an int.
template <class Step>
unsigned throwingInt(Step step) {
    try {
        return step();
    } catch (int) {
        throw;
    } catch (...) {
        throw static_cast<int>(scsi::kFailure);
    }
}

// Keeps a copy of the bytes, one byte longer than they are so that text in it always ends.
void storePage(CScsiDeviceData& device, unsigned code, const PageBytes<>& data, unsigned length) {
    PageBytes<> copy = scsi::copyBytes(data->get(), length, 1);
    CScsiModePage& page = device.m_pages[code];
    page.buffer = copy;
    page.length = length;
}

bool hasBytes(const PageBytes<>& data, unsigned length) {
    return data.get() != nullptr && data->get() != nullptr && length != 0;
}

// A field of the INQUIRY data as text: it ends at the first NUL and at the end of the data.
bool readInquiryField(CScsiDeviceData& device, const scsi::InquiryField& place,
                      std::string& field) {
    const auto inquiry = device.m_pages.find(scsi::kInquiryData);
    if (inquiry == device.m_pages.end()) {
        return false;
    }
    field = scsi::PageView(inquiry->second).text(place.offset, place.length);
    return true;
}

// Everything behind the standard INQUIRY data. The results of the steps are not looked at but for
// the capacity's: what does not come stays out of the record.
void collect(CScsiToolBase& tool, CScsiDeviceHandle& handle, CScsiDeviceData& device) {
    tool.GetTargetLunPortInfo(handle, device);
    tool.UpdateSupportedModePageList(handle, device);
    tool.UpdateVendorId(device);
    tool.UpdateProductId(device);
    tool.UpdateFirmwareLevel(device);
    if (tool.GetScsiDeviceCapacity(handle, device) != scsi::kSuccess) {
        device.m_sizeKb = 0;
    }
    for (const unsigned code : kFetchedPages) {
        const std::vector<unsigned>& listed = device.m_supportedPages;
        if (std::find(listed.begin(), listed.end(), code) == listed.end()) {
            continue;
        }
        traceTo(tool.m_traceLog, 6, "CSciToolBase:UpdateModePageString for page[%d]...",
                static_cast<int>(code));
        tool.UpdateModePageString(handle, code, device);
        traceTo(tool.m_traceLog, 6, "CSciToolBase:UpdateModePageString for page[%d] done",
                static_cast<int>(code));
    }
}

}  // namespace

CScsiToolBase::CScsiToolBase() = default;
CScsiToolBase::~CScsiToolBase() = default;

bool CScsiToolBase::CheckForDiskDevice(unsigned char peripheral) {
    return scsi::isDisk(peripheral);
}

unsigned CScsiToolBase::RemoveDevice(CScsiDeviceData* /*device*/) {
    return scsi::kNotSupported;
}

unsigned CScsiToolBase::GetScsiDeviceCapacity(CScsiDeviceHandle& /*handle*/,
                                              CScsiDeviceData& /*device*/) {
    return scsi::kSuccess;
}

unsigned CScsiToolBase::UpdateDevice(CScsiDeviceData* device) {
    CScsiDeviceHandle handle;
    handle.registerTraceLog(m_traceLog);
    if (device == nullptr) {
        traceTo(m_traceLog, 2,
                "WARNING: CScsiToolBase::UpdateDevice() invalid SCSI device handle.");
        return scsi::kFailure;
    }
    try {
        device->m_osName = "Linux";
        if (UpdateStdInquiryString(handle, *device) != scsi::kSuccess) {
            traceTo(m_traceLog, 2,
                    "WARNING: CScsiToolBase::UpdateDevice() call to UpdateStdInquiryString for "
                    "device %s",
                    device->m_deviceName.c_str());
            return scsi::kFailure;
        }
        collect(*this, handle, *device);
        return scsi::kSuccess;
    } catch (int thrown) {
        traceTo(m_traceLog, 2, "UpdateDevice: Exception Occurred");
        return static_cast<unsigned>(thrown);
    } catch (...) {
        traceTo(m_traceLog, 2, "UpdateDevice: Exception Occurred");
        return scsi::kFailure;
    }
}

unsigned CScsiToolBase::UpdateStdInquiryString(CScsiDeviceHandle& handle, CScsiDeviceData& device) {
    try {
        unsigned length = 0;
        PageBytes<> data;
        GetModePageInfo(handle, device, scsi::kInquiryData, length, 0, data);
        if (hasBytes(data, length)) {
            storePage(device, scsi::kInquiryData, data, length);
        }
        if (!hasBytes(data, length) || length < scsi::kShortestInquiry) {
            traceTo(m_traceLog, 2,
                    "WARNING: UpdateStdInquiryString invalid SCSI inq page size, device may have "
                    "been removed.");
            return scsi::kFailure;
        }
        if (!CheckForDiskDevice(data->get()[0])) {
            traceTo(m_traceLog, 2,
                    "WARNING: UpdateStdInquiryString SCSI check for disk device error, device may "
                    "have been removed.");
            return scsi::kFailure;
        }
        return scsi::kSuccess;
    } catch (...) {
        throw static_cast<int>(scsi::kFailure);
    }
}

unsigned CScsiToolBase::UpdateSupportedModePageList(CScsiDeviceHandle& handle,
                                                    CScsiDeviceData& device) {
    try {
        unsigned length = 0;
        PageBytes<> data;
        GetModePageInfo(handle, device, scsi::kSupportedPages, length, 1, data);
        if (!hasBytes(data, length) || length < scsi::kPageHeader) {
            return scsi::kSuccess;
        }
        const unsigned char* const page = data->get();
        const unsigned count = page[scsi::kPageLengthLow];
        if (length >= scsi::kPageHeader + count) {
            device.m_supportedPages.insert(device.m_supportedPages.end(), page + scsi::kPageHeader,
                                           page + scsi::kPageHeader + count);
        }
        return scsi::kSuccess;
    } catch (int thrown) {
        device.m_busType = 0;
        traceTo(m_traceLog, 2, "UpdateSupportedModePageList: Unknown bus type");
        return static_cast<unsigned>(thrown);
    } catch (...) {
        device.m_busType = 0;
        traceTo(m_traceLog, 2, "UpdateSupportedModePageList: Unknown bus type");
        return scsi::kFailure;
    }
}

unsigned CScsiToolBase::UpdateModePageString(CScsiDeviceHandle& handle, unsigned int page,
                                             CScsiDeviceData& device) {
    return throwingInt([&] {
        unsigned length = 0;
        PageBytes<> data;
        GetModePageInfo(handle, device, page, length, 0, data);
        if (hasBytes(data, length)) {
            storePage(device, page, data, length);
        }
        return scsi::kSuccess;
    });
}

unsigned CScsiToolBase::UpdateVendorId(CScsiDeviceData& device) {
    return throwingInt([&] {
        std::string field;
        if (readInquiryField(device, scsi::kVendorField, field)) {
            device.m_vendorId = CStringTool::rtrim(field, ' ');
        }
        return scsi::kSuccess;
    });
}

unsigned CScsiToolBase::UpdateProductId(CScsiDeviceData& device) {
    return throwingInt([&] {
        std::string field;
        if (readInquiryField(device, scsi::kProductField, field)) {
            device.m_productId = CStringTool::rtrim(field, ' ');
        }
        return scsi::kSuccess;
    });
}

unsigned CScsiToolBase::UpdateFirmwareLevel(CScsiDeviceData& device) {
    return throwingInt([&] {
        std::string field;
        if (readInquiryField(device, scsi::kRevisionField, field)) {
            device.m_firmwareLevel = field;
        }
        return scsi::kSuccess;
    });
}
