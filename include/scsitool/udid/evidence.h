#ifndef SCSITOOL_UDID_EVIDENCE_H
#define SCSITOOL_UDID_EVIDENCE_H

#include <cstddef>
#include <string>

#include "scsitool/host/export.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/scsi/page_view.h"

/// What a UDID was made of. The generators report it while they work, so that an explanation never
/// is a second account of the formats. Nothing is reported, and nothing costs more than one
/// comparison, unless the record is an `ExplainedRecord`.
namespace udid {

/// How a text of the record was compared with a generator's own.
enum class Rule { kEquals, kBeginsWith, kContains };

/// How bytes became text. The names are those of docs/udid-formats.md.
enum class Format {
    kLiteral,               ///< the generator's own text
    kText,                  ///< the bytes as they are, up to the first NUL
    kTrimmedText,           ///< the same without blanks at either end
    kRightTrimmedText,      ///< the text without trailing blanks
    kBlanksAsUnderscores,   ///< the text without trailing blanks, each other blank as "_"
    kHexLower,              ///< two lower-case hexadecimal digits a byte
    kHexUpper,              ///< two upper-case hexadecimal digits a byte
    kHexLowerColons,        ///< the same in lower case, ":" between the bytes
    kHexUpperDashes,        ///< the same in upper case, "-" between every two bytes
    kKindAndHexLower,       ///< the digit "5", then lower-case hexadecimal digits
    kDecimalOfHexText,      ///< text that is a hexadecimal number (strtol), written in decimal
    kDecimalOfDecimalText,  ///< text that is a decimal number (strtol), written in decimal
    kDeviceName,            ///< the record's device name
    kHostName,              ///< the host's name
};

/// A source that is no page: the generator's own text, the record, the host.
inline constexpr unsigned kNoPage = ~0U;
/// The standard INQUIRY data, as a source of bytes.
inline constexpr unsigned kInquiryData = 0;
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

/// Takes what the factory and the generators report. One object explains one record.
class SCSITOOL_EXPORT Evidence {
  public:
    virtual ~Evidence();

    /// A generator is asked for its claim.
    virtual void askedGenerator(const std::string& name) = 0;
    /// A generator compared a field of the record.
    virtual void compared(const std::string& field, const std::string& value, Rule rule,
                          const std::string& expected, bool matched) = 0;
    /// What the generator made of its claim.
    virtual void claimed(bool claims) = 0;
    /// The claiming generator starts on its prefix.
    virtual void startedPrefix() = 0;
    /// The claiming generator starts on its body.
    virtual void startedBody() = 0;
    /// A page was asked for; one without a buffer is missing.
    virtual void readPage(unsigned page, const scsi::PageView& view) = 0;
    /// A piece was added to the text that is being built.
    virtual void added(const Piece& piece) = 0;
    /// The text that is being built was emptied again.
    virtual void cleared() = 0;
    /// An identification field was filled; `fieldPiece` gives it back under its name.
    virtual void foundField(const std::string& name, const Piece& piece) = 0;
    virtual Piece fieldPiece(const std::string& name) const = 0;
    /// A remark on why the work took this turn.
    virtual void remarked(const std::string& text) = 0;
    /// The generator failed with this message id.
    virtual void failed(const std::string& messageId) = 0;
};

/// A copy of a record whose generators report to an Evidence. Claiming trims a record, so the
/// record itself is never explained, only its copy.
class SCSITOOL_EXPORT ExplainedRecord final : public CScsiDeviceData {
  public:
    /// The evidence must outlive the record.
    ExplainedRecord(const CScsiDeviceData& record, Evidence& evidence);
    ~ExplainedRecord() override;
    Evidence& evidence() const { return m_evidence; }

  private:
    Evidence& m_evidence;
};

/// The evidence that a record reports to; null for an ordinary record.
Evidence* evidenceOf(const CScsiDeviceData& record);

}  // namespace udid

#endif
