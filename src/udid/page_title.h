#ifndef SCSITOOL_UDID_PAGE_TITLE_H
#define SCSITOOL_UDID_PAGE_TITLE_H

#include <string>

namespace udid {

/// What a page is called in remarks: "page 0x83", and for code 0 "the standard INQUIRY data" unless
/// it is the code of a VPD page.
std::string pageTitle(unsigned page, bool isVpd = false);

}  // namespace udid

#endif
