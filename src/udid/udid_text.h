#ifndef SCSITOOL_UDID_UDID_TEXT_H
#define SCSITOOL_UDID_UDID_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/udid/evidence.h"

namespace udid {

/// A page together with its code, as a generator reads it.
struct SourcePage {
    unsigned code = kNoPage;
    scsi::PageView view;
};

/// Takes a page from the record's page map and reports that it was asked for.
SourcePage takePage(CScsiDeviceData& record, unsigned code);

/// Compares a text of the record with a generator's own and reports the outcome. `field` is what
/// the text is called ("vendor", "product").
bool matches(const CScsiDeviceData& record, const char* field, const std::string& value, Rule rule,
             std::string_view expected);

/// Reports why the work took this turn; costs nothing for an ordinary record.
void remark(const CScsiDeviceData& record, const char* text);

/// A piece whose text was taken from the record's own copy of a field of the standard INQUIRY data
/// (vendor from byte 8, product from byte 16). A record that was filled in by hand may hold another
/// text than its INQUIRY data; the source is then the record alone.
Piece recordPiece(const CScsiDeviceData& record, Format format, std::size_t offset,
                  std::size_t length, const std::string& text);

/// Right-trims the record's vendor and stores it back: later generators see the trimmed text.
const std::string& trimVendor(CScsiDeviceData& record);

/// The prefix of disks that are named by their own identity: "UDID##", vendor, "##", product with
/// its blanks as "_", "##", in upper case. The record keeps the trimmed texts.
std::string recordPrefix(CScsiDeviceData& record);

/// The prefix or the body of a UDID while it is built, each piece reported with its source.
class UdidText {
  public:
    explicit UdidText(const CScsiDeviceData& record) : m_evidence(evidenceOf(record)) {
        m_text.reserve(kUsualLength);
    }

    void literal(const std::string& text);
    /// Bytes of a page, as text, as hexadecimal digits or as a decimal number (every format that
    /// `formatted` knows). Bytes past the page's end are 0.
    void bytes(const SourcePage& page, Format format, std::size_t offset, std::size_t count);
    /// Text that was worked out elsewhere, with its source.
    void piece(const Piece& piece);
    /// An identification field that the generic extraction filled, under its name.
    void field(const std::string& name, const std::string& text);
    /// Empties the text.
    void clear();

    const std::string& str() const { return m_text; }
    /// Gives the text away.
    std::string take() { return std::move(m_text); }

  private:
    static constexpr std::size_t kUsualLength = 80;

    Evidence* m_evidence;
    std::string m_text;
};

/// Bytes of a page in a format, as `UdidText::bytes` adds them: the text, hexadecimal and decimal
/// formats, the digit "5" before hexadecimal digits included. A number that its text does not begin
/// with is 0.
std::string formatted(const scsi::PageView& view, Format format, std::size_t offset,
                      std::size_t count);

}  // namespace udid

#endif
