#include "scsitool/udid/device_udid_generator.h"

#include <utility>

#include "scsitool/tools/string_tool.h"
#include "udid/udid_text.h"

CUdidGenerator::CUdidGenerator(std::string vendor, std::string product)
    : m_vendor(std::move(vendor)), m_product(std::move(product)) {}

CUdidGenerator::~CUdidGenerator() = default;

std::string CUdidGenerator::getGeneratorName() {
    std::string name = m_vendor;
    name += ':';
    name += m_product;
    return name;
}

bool CUdidGenerator::claimDevice(CScsiDeviceData* device) {
    return udid::matches(*device, "vendor", udid::trimVendor(*device), udid::Rule::kEquals,
                         m_vendor) &&
           udid::matches(*device, "product", device->GetProductId(), udid::Rule::kEquals,
                         m_product);
}

std::string CUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* device) {
    udid::UdidText prefix(*device);
    std::string text = udid::udid_prefix;
    text += CStringTool::rtrim(m_vendor, ' ');
    text += udid::udid_separator;
    text += CStringTool::rtrim(m_product, ' ');
    text += udid::udid_separator;
    prefix.literal(CStringTool::tostrupper(text));
    return prefix.take();
}

void CUdidGenerator::fail(const char* messageId) const {
    throw CUdidGeneratorException(messageId, m_vendor, m_product);
}
