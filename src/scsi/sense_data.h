#ifndef SCSITOOL_SCSI_SENSE_DATA_H
#define SCSITOOL_SCSI_SENSE_DATA_H

#include "scsitool/scsi/page_view.h"

namespace scsi {

/// What sense data (SPC-4) say. All 0 where the bytes are none.
struct SenseData {
    unsigned char responseCode = 0;
    unsigned char key = 0;
    unsigned char code = 0;
    unsigned char qualifier = 0;
};

/// Reads sense data in fixed (70h, 71h) or descriptor format (72h, 73h).
inline SenseData readSense(const PageView& bytes) {
    constexpr unsigned kFixed = 0x70;
    constexpr unsigned kDescriptor = 0x72;
    constexpr std::size_t kAdditionalLength = 7;  // of the bytes from 8 on
    constexpr std::size_t kFixedCode = 12;
    constexpr std::size_t kFixedQualifier = 13;
    SenseData sense;
    sense.responseCode = bytes[0] & 0x7FU;
    switch (sense.responseCode & ~1U) {
        case kFixed:
            sense.key = bytes[2] & 0x0FU;
            // The last byte is the additional length behind this field.
            if (bytes[kAdditionalLength] + kAdditionalLength >= kFixedCode) {
                sense.code = bytes[kFixedCode];
            }
            if (bytes[kAdditionalLength] + kAdditionalLength >= kFixedQualifier) {
                sense.qualifier = bytes[kFixedQualifier];
            }
            return sense;
        case kDescriptor:
            sense.key = bytes[1] & 0x0FU;
            sense.code = bytes[2];
            sense.qualifier = bytes[3];
            return sense;
        default:
            return {};
    }
}

}  // namespace scsi

#endif
