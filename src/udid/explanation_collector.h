#ifndef SCSITOOL_UDID_EXPLANATION_COLLECTOR_H
#define SCSITOOL_UDID_EXPLANATION_COLLECTOR_H

#include <map>
#include <string>

#include "scsitool/udid/account.h"

namespace udid {

/// Gathers what the factory and the generators report of one record.
class ExplanationCollector : public IdentityCollector {
  public:
    /// Both outlive the collector. A piece may come from a page of the record that nobody asked
    /// for.
    ExplanationCollector(Account& account, const CScsiDeviceData& record)
        : m_account(account), m_explanation(account.explanation), m_record(record) {}

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
    void begin(const std::string& generator);
    GeneratorReport& report();
    std::vector<Piece>& pieces() { return m_inBody ? report().body : report().prefix; }
    ExplainedPage* find(unsigned code);
    bool holdsPageOf(const Piece& piece);

    Account& m_account;
    Explanation& m_explanation;
    const CScsiDeviceData& m_record;
    std::map<std::string, Piece> m_fields;
    bool m_inBody = false;
};

}  // namespace udid

#endif
