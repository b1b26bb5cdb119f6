#include "scsitool/scsi/device_scsi_data.h"

#include <cstring>

#include "scsi/page_bytes.h"
#include "scsitool/tools/string_tool.h"

CScsiModePage::CScsiModePage() : length(0) {}
CScsiModePage::~CScsiModePage() = default;

CScsiModePage::CScsiModePage(const CScsiModePage& other) : length(0) {
    *this = other;
}

CScsiModePage& CScsiModePage::operator=(const CScsiModePage& other) {
    if (this == &other) {
        return *this;
    }
    PageBytes<> copy = scsi::makeBytes(other.length);
    if (other.bytes() != nullptr) {
        std::memcpy(copy->get(), other.bytes(), other.length);
    }
    buffer = copy;
    length = other.length;
    return *this;
}

CScsiDeviceData::CScsiDeviceData(const std::string& deviceName, const std::string& secondName,
                                 const std::string& hostName, int target, unsigned int bus, int lun,
                                 int port, const std::string& vendorId,
                                 const std::string& productId, const std::string& firmwareLevel,
                                 unsigned long sizeKb)
    : m_deviceName(deviceName),
      m_secondName(secondName),
      m_hostName(hostName),
      m_vendorId(vendorId),
      m_productId(productId),
      m_firmwareLevel(firmwareLevel),
      m_target(target),
      m_lun(lun),
      m_bus(bus),
      m_port(port),
      m_dmpClaimLevel(0),
      m_busType(0),
      m_multipath(0),
      m_sizeKb(sizeKb),
      m_invalid(0) {}

CScsiDeviceData::CScsiDeviceData(const CScsiDeviceData& other) = default;
CScsiDeviceData& CScsiDeviceData::operator=(const CScsiDeviceData& other) = default;
CScsiDeviceData::~CScsiDeviceData() = default;

std::string CScsiDeviceData::GetProductId() {
    if (!m_productId.empty() && m_productId.back() == ' ') {
        m_productId = CStringTool::rtrim(m_productId, ' ');
    }
    return m_productId;
}

void CScsiDeviceData::GetScsiModePage(unsigned int page, unsigned char** buffer,
                                      unsigned int& length) {
    const auto found = m_pages.find(page);
    if (found == m_pages.end()) {
        *buffer = nullptr;
        length = 0;
        return;
    }
    *buffer = found->second.bytes();
    length = found->second.length;
}
