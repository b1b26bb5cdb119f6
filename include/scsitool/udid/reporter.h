#ifndef SCSITOOL_UDID_REPORTER_H
#define SCSITOOL_UDID_REPORTER_H

#include <cstddef>
#include <string>

#include "scsitool/host/export.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/scsi/pages.h"

/// How generators tell what they do. They report while they work, so that an explanation never is a
/// second account of the formats; mostly nobody listens, and a report then costs one comparison.
namespace udid {

/// How a text of the record is compared with a generator's own.
enum class Rule { kEquals, kBeginsWith, kContains };

/// How bytes became text. Name, meaning and function of each stand in one row of a table
/// (format_table.cc) and, for people, in docs/udid-formats.md.
enum class Format {
    kLiteral,
    kText,
    kTrimmedText,
    kRightTrimmedText,
    kBlanksAsUnderscores,
    kHexLower,
    kHexUpper,
    kHexLowerColons,
    kHexUpperDashes,
    kKindAndHexLower,
    kDecimalOfHexText,
    kDecimalOfDecimalText,
    kDeviceName,
    kHostName,  ///< stays the last: the table is as long as its number says
};

/// A source that is no page: the generator's own text, the record, the host.
inline constexpr unsigned kNoPage = ~0U;
/// The standard INQUIRY data, as a source of bytes.
inline constexpr unsigned kInquiryData = scsi::kInquiryData;
/// The reply of a NetApp controller to its vendor-specific command, as a source of bytes.
inline constexpr unsigned kControllerReply = 0x100;

/// One piece of a UDID and where it came from.
struct Piece {
    Format format = Format::kLiteral;
    unsigned page = kNoPage;  ///< VPD page code, 0 the standard INQUIRY data, or as above
    std::size_t offset = 0;   ///< first byte in the page
    std::size_t length = 0;   ///< number of bytes
    std::string text;         ///< what they became
};

/// A field of the record, compared with a generator's own text.
struct Comparison {
    std::string field;  ///< "vendor" or "product"
    std::string value;  ///< the record's text
    Rule rule = Rule::kEquals;
    std::string expected;  ///< the generator's text
    bool matched = false;
};

/// Where the factory is in its work on one record.
enum class Step {
    kAsked,     ///< a generator is asked for its claim; the text is its name
    kClaimed,   ///< it claims the record
    kDeclined,  ///< it does not
    kPrefix,    ///< the prefix is begun
    kBody,      ///< the body is begun
    kFailed,    ///< the generator failed; the text is the message id
};

/// Takes the reports of the factory and of the generators, in the order in which things happen. An
/// operation throws nothing but std::bad_alloc. Arguments are valid during the call.
class SCSITOOL_EXPORT Reporter {
  public:
    virtual ~Reporter();

    /// The factory went on. Generators leave this to it.
    virtual void stepped(Step step, const std::string& text) = 0;
    /// A text of the record was compared.
    virtual void compared(const Comparison& comparison) = 0;
    /// A page was asked for; one without a buffer is missing.
    virtual void readPage(unsigned page, const scsi::PageView& view) = 0;
    /// A named field was found in a page, to be added by its name when its text comes back through
    /// an operation that hands on nothing but text.
    virtual void found(const std::string& field, const Piece& piece) = 0;
    /// A piece was added to the prefix or body that is being built.
    virtual void added(const Piece& piece) = 0;
    /// The text of a named field was added. It has the field's source when it is the text that was
    /// found, and none otherwise.
    virtual void addedField(const std::string& field, const std::string& text) = 0;
    /// The text that is being built was emptied again.
    virtual void cleared() = 0;
    /// Why the work took this turn: what was seen, with its numbers.
    virtual void remarked(const std::string& text) = 0;
};

/// Who listens on the calling thread; null when nobody does, which is the usual state.
SCSITOOL_EXPORT Reporter* reporter();

/// Has a reporter, or nobody (null), listen on the calling thread for as long as the scope exists;
/// then the former one listens again. The reporter stays the caller's and outlives the scope.
/// Scopes nest, and end on the thread that began them.
class SCSITOOL_EXPORT ReportScope {
  public:
    explicit ReportScope(Reporter* listener);
    ~ReportScope();
    ReportScope(const ReportScope&) = delete;
    ReportScope& operator=(const ReportScope&) = delete;

  private:
    Reporter* m_former;
};

/// The names of formats and comparisons as documents and programs have them.
SCSITOOL_EXPORT const char* nameOf(Format format);
SCSITOOL_EXPORT const char* nameOf(Rule rule);

}  // namespace udid

#endif
