#ifndef SCSITOOL_CLI_OUTPUT_INQUIRY_TEXT_H
#define SCSITOOL_CLI_OUTPUT_INQUIRY_TEXT_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli/output/report.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/udid/explanation.h"

namespace cli {

/// The key of a page in JSON and on the command line: "std" for the standard INQUIRY data, else
/// the VPD page code as two lower-case hexadecimal digits.
std::string pageKey(unsigned page);

/// What a page is and how many bytes it has, in one line for people.
std::string pageTitle(unsigned page, std::size_t length);

/// A page's bytes with offsets in front and characters behind. Those of `marked` stand in brackets,
/// those of `deciding` that are not marked in parentheses.
std::string pageDump(const std::vector<std::uint8_t>& bytes,
                     const std::vector<udid::ByteRange>& marked = {},
                     const std::vector<udid::ByteRange>& deciding = {});

/// A record as JSON. `pageList` is VPD page 0x00, of which the record keeps no more than the codes;
/// empty where it was not read. `hctl` is the device's whole address as sysfs has it, empty where
/// it does not tell: the record's is the address word's, with eight bits of each number.
Json recordJson(const CScsiDeviceData& record, const std::vector<std::uint8_t>& pageList,
                const std::string& hctl);

/// Names and texts that stand in lines of their own.
using NamedTexts = std::vector<std::pair<const char*, std::string>>;

/// A record for people; `pageList` and `hctl` as above, `more` before the pages.
std::string recordText(const CScsiDeviceData& record, const std::vector<std::uint8_t>& pageList,
                       const std::string& hctl, const NamedTexts& more);

/// Pages as sg_vpd and sg_inq read them with --inhex: a block a page, a comment line in front. Both
/// tools take the first page of a file. Only the page of key `only`, if that is not empty.
std::string recordHex(const CScsiDeviceData& record, const std::vector<std::uint8_t>& pageList,
                      const std::string& only);

}  // namespace cli

#endif
