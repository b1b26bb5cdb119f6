#ifndef SCSITOOL_TESTS_GENERATOR_PROBE_H
#define SCSITOOL_TESTS_GENERATOR_PROBE_H

#include <string>

#include "scsitool/udid/device_udid_generator.h"

namespace test {

/// The body that a generator gives, or "!" and the message id of its exception.
inline std::string bodyOf(CUdidGenerator& generator, CScsiDeviceData& record) {
    try {
        return generator.getUniqueDeviceID(&record);
    } catch (const CUdidGeneratorException& failure) {
        return "!" + failure.getMessageId();
    }
}

/// One line of a claim rule's table.
struct Claim {
    const char* vendor;
    const char* product;
    bool claimed;
};

/// The record's vendor and product as the generator leaves them, "?" before one that it refused.
inline std::string claimOf(CUdidGenerator& generator, CScsiDeviceData& record) {
    const bool claimed = generator.claimDevice(&record);
    return (claimed ? "" : "?") + record.m_vendorId + "|" + record.m_productId;
}

}  // namespace test

#endif
