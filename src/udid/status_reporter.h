#ifndef SCSITOOL_UDID_STATUS_REPORTER_H
#define SCSITOOL_UDID_STATUS_REPORTER_H

#include <string>

#include "scsitool/udid/identity.h"
#include "udid/status_notes.h"

namespace udid {

/// Notes what the generators report and passes it on to whoever was listening before.
class StatusReporter : public IdentityCollector {
  public:
    /// Both outlive this one; nobody (null) may have been listening.
    StatusReporter(Reporter* former, StatusNotes& notes)
        : m_former(former), m_told(dynamic_cast<IdentityReporter*>(former)), m_notes(notes) {}

    void began(const CScsiDeviceData& record) override;
    void told(Fact fact, const std::string& text) override;
    void decided(unsigned page, std::size_t offset, std::size_t length) override;
    void stepped(Step step, const std::string& text) override;
    void compared(const Comparison& comparison) override;
    void readPage(unsigned page, const scsi::PageView& view) override;
    void found(const std::string& field, const Piece& piece) override;
    void added(const Piece& piece) override;
    void addedField(const std::string& field, const std::string& text) override;
    void cleared() override;
    void remarked(const std::string& text) override;

  private:
    // Hands a report on to one that was listening before, if there is one.
    template <class Listener, class... Parameters, class... Arguments>
    static void pass(Listener* listener, void (Listener::*report)(Parameters...),
                     const Arguments&... arguments) {
        if (listener != nullptr) {
            (listener->*report)(arguments...);
        }
    }

    Reporter* const m_former;
    IdentityReporter* const m_told;
    StatusNotes& m_notes;
    std::string m_deviceName;
};

}  // namespace udid

#endif
