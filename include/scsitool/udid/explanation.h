#ifndef SCSITOOL_UDID_EXPLANATION_H
#define SCSITOOL_UDID_EXPLANATION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/udid/reporter.h"

class CUDIDFactory;

namespace udid {

/// What one generator was asked and what it answered.
struct GeneratorReport {
    std::string name;                     ///< vendor key, ":", product key
    std::vector<Comparison> comparisons;  ///< in the order in which they were made, none twice
    bool claimed = false;
    std::vector<unsigned> pages;       ///< the pages it asked for, in order
    std::vector<Piece> prefix;         ///< what its prefix is made of
    std::vector<Piece> body;           ///< what its body is made of, up to a failure
    std::vector<Piece> dropped;        ///< what it put into the body and took back
    std::vector<std::string> remarks;  ///< why it went this way, and why it failed
    std::string failure;               ///< the exception's message id; empty when it did not fail
};

/// A range of bytes in a page.
struct ByteRange {
    std::size_t offset = 0;
    std::size_t length = 0;
};

/// A page that some generator asked for.
struct ExplainedPage {
    unsigned code = kNoPage;  ///< VPD page code, kInquiryData or kControllerReply
    bool present = false;     ///< the record holds it
    std::vector<std::uint8_t> bytes;
    std::vector<ByteRange> used;  ///< the bytes that stand in the UDID, ascending, none twice
};

/// How the factory came to its result.
enum class Outcome {
    kPreset,       ///< the caller had assigned the UDID in advance
    kTaq,          ///< TAQ mode: the TAQ generator's, as it stands
    kClaimed,      ///< the first generator that claimed the record built it
    kFallback,     ///< that generator failed and a later one built it
    kPrefixAlone,  ///< all claiming generators failed: the prefix of the last one is left
    kNone,         ///< no generator claimed the record: the UDID is empty
};

/// Why a record has the UDID that it has. A value: it refers to nothing outside itself.
struct Explanation {
    std::string deviceName;
    std::string vendor;    ///< as the record holds it, untouched
    std::string product;   ///< the same
    std::string firmware;  ///< the same
    std::vector<std::string> remarks;
    std::vector<GeneratorReport> generators;  ///< in the order in which they were asked
    std::vector<ExplainedPage> pages;         ///< in the order in which they were asked for
    Outcome outcome = Outcome::kNone;
    std::string udid;  ///< what the device map shows

    /// The generator whose pieces stand in the UDID; null for a preset or an empty one.
    const GeneratorReport* decisive() const {
        const bool built = outcome != Outcome::kPreset && outcome != Outcome::kNone;
        for (auto report = generators.rbegin(); built && report != generators.rend(); ++report) {
            if (!report->prefix.empty()) {
                return &*report;
            }
        }
        return nullptr;
    }
};

/// Explains a record's UDID: the factory works on a copy of it and its generators report what they
/// do, so that nothing here is a second account of the formats. The record stays as it is, and so
/// does the factory; a preset UDID and TAQ mode count. As in an enumeration, a generator may ask
/// the device through the current host. For one thread at a time, as the factory is.
SCSITOOL_EXPORT Explanation explain(CUDIDFactory& factory, const CScsiDeviceData& record);

/// The names of outcomes as documents and programs have them.
SCSITOOL_EXPORT const char* nameOf(Outcome outcome);

}  // namespace udid

#endif
