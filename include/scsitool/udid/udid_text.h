#ifndef SCSITOOL_UDID_UDID_TEXT_H
#define SCSITOOL_UDID_UDID_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "scsitool/host/export.h"
#include "scsitool/scsi/device_scsi_data.h"
#include "scsitool/scsi/page_view.h"
#include "scsitool/scsi/pages.h"
#include "scsitool/udid/device_udid_generator.h"
#include "scsitool/udid/identity.h"
#include "scsitool/udid/reporter.h"

/// What a generator works with: pages, the bytes that it demands of them, and the text that it
/// builds. Everything is reported to the thread's reporter, if there is one.
namespace udid {

/// A page together with its code. The bytes are the record's.
struct SourcePage {
    unsigned code = kNoPage;
    scsi::PageView view;
};

/// What a generator throws when it does not find what it needs.
struct Failure {
    const char* messageId;
    /// Whose keys the exception has. Null where what is wrong is the array, not the family's
    /// format: such a failure has no keys.
    const CUdidGenerator* generator = nullptr;
};

/// Throws CUdidGeneratorException and reports the reason: what was seen, with its numbers.
[[noreturn]] SCSITOOL_EXPORT void fail(const Failure& failure, const std::string& reason);

/// Takes a page from the record's page map.
SCSITOOL_EXPORT SourcePage takePage(const CScsiDeviceData& record, unsigned code);
/// Takes a page and demands that it has at least `needed` bytes (at least 1).
SCSITOOL_EXPORT SourcePage require(const CScsiDeviceData& record, unsigned code, std::size_t needed,
                                   const Failure& failure);
/// Demands the bytes of a page that was taken. Throws the failure when it has fewer, for the reason
/// "page 0x83 has 52 bytes, 68 are needed".
SCSITOOL_EXPORT void requireBytes(const SourcePage& page, std::size_t needed,
                                  const Failure& failure);
/// Takes a page that a UDID can do without. Gives one without bytes when it has fewer than
/// `needed`, and says what the UDID then lacks.
SCSITOOL_EXPORT SourcePage takeIfLong(const CScsiDeviceData& record, unsigned code,
                                      std::size_t needed, const char* lacking);
/// Demands that the page length (bytes 2 and 3) is at least `needed`.
SCSITOOL_EXPORT void requirePageLength(const SourcePage& page, unsigned needed,
                                       const Failure& failure);

/// Reports bytes of a page that decide how others are read; costs nothing while nobody listens.
SCSITOOL_EXPORT void decides(const SourcePage& page, std::size_t offset, std::size_t length);
/// Reports why the work took this turn; costs nothing while nobody listens.
SCSITOOL_EXPORT void remark(const char* text);

/// The prefix or the body of a UDID while it is built, each piece reported with its source.
class SCSITOOL_EXPORT UdidText {
  public:
    UdidText();

    void literal(std::string_view text);
    /// Bytes of a page in a format. Bytes past the page's end are 0.
    void bytes(const SourcePage& page, Format format, std::size_t offset, std::size_t count);
    /// The 16 bytes from byte 8 of page 0x83: the name of the logical unit when the page's first
    /// designator is an NAA IEEE Registered Extended name. It is taken whatever it is, and
    /// remarked when it is something else. It is told as the volume's name.
    void unitName(const SourcePage& names, Format format);
    /// Bytes of a page that say a fact of the volume.
    void fact(Fact fact, const SourcePage& page, Format format, std::size_t offset,
              std::size_t count);
    /// Text of the record that comes from a field of the standard INQUIRY data, or from a part of
    /// one. A record that was filled in by hand may hold another text than its INQUIRY data; the
    /// source is then the record alone.
    void recordField(const CScsiDeviceData& record, Format format, const scsi::InquiryField& source,
                     const std::string& text);
    /// Text that was worked out elsewhere, with its source.
    void piece(const Piece& piece);
    /// A named field that was reported with `Reporter::found`.
    void field(const char* name, std::string_view text);
    /// Tells that the text from `start` on says a fact of the volume. `size` before the first of
    /// its pieces is its start.
    void says(Fact fact, std::size_t start) const;
    /// Empties the text.
    void clear();

    std::size_t size() const { return m_text.size(); }
    const std::string& str() const { return m_text; }
    /// Gives the text away.
    std::string take() { return std::move(m_text); }

  private:
    Reporter* m_reporter;
    std::string m_text;
};

}  // namespace udid

#endif
