#include "scsitool/udid/device_udid_generator.h"

#include <utility>

#include "scsitool/udid/family.h"
#include "udid/udid_prefix.h"

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
    return udid::claims(udid::kClaimsItsKeys, *this, *device);
}

std::string CUdidGenerator::getUniqueDeviceIDPrefix(CScsiDeviceData* /*device*/) {
    return udid::keyPrefix(m_vendor, m_product);
}

void CUdidGenerator::fail(const char* messageId) const {
    throw CUdidGeneratorException(messageId, m_vendor, m_product);
}
