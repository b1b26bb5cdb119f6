#ifndef SCSITOOL_UDID_ACCOUNT_H
#define SCSITOOL_UDID_ACCOUNT_H

#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/udid/explanation.h"
#include "scsitool/udid/identity.h"

namespace udid {

/// Bytes of a page that decided how others are read: a length, a kind, the end of a text.
struct DecidingBytes {
    unsigned page = kNoPage;
    ByteRange range;
};

/// An explanation with what the UDID says and what decided it. A value.
struct Account {
    Explanation explanation;
    Identity identity;
    std::vector<DecidingBytes> deciding;  ///< in the order in which they were looked at, none twice
};

/// Does what `explain` does, under the same conditions, and keeps more of it.
SCSITOOL_EXPORT Account account(CUDIDFactory& factory, const CScsiDeviceData& record);

}  // namespace udid

#endif
