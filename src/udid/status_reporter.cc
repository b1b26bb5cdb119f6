#include "udid/status_reporter.h"

namespace udid {

void StatusReporter::began(const CScsiDeviceData& record) {
    IdentityCollector::began(record);
    m_deviceName = record.m_deviceName;
    m_notes.began(m_deviceName);
    pass(m_told, &IdentityReporter::began, record);
}

void StatusReporter::told(Fact fact, const std::string& text) {
    IdentityCollector::told(fact, text);
    pass(m_told, &IdentityReporter::told, fact, text);
}

void StatusReporter::decided(unsigned page, std::size_t offset, std::size_t length) {
    pass(m_told, &IdentityReporter::decided, page, offset, length);
}

void StatusReporter::stepped(Step step, const std::string& text) {
    IdentityCollector::stepped(step, text);
    const Identity* const identity = of(m_deviceName);
    m_notes.stepped(step, text, identity != nullptr ? identity->generator : std::string());
    pass(m_former, &Reporter::stepped, step, text);
}

void StatusReporter::compared(const Comparison& comparison) {
    pass(m_former, &Reporter::compared, comparison);
}

void StatusReporter::readPage(unsigned page, const scsi::PageView& view) {
    pass(m_former, &Reporter::readPage, page, view);
}

void StatusReporter::found(const std::string& field, const Piece& piece) {
    pass(m_former, &Reporter::found, field, piece);
}

void StatusReporter::added(const Piece& piece) {
    m_notes.added(piece.format);
    pass(m_former, &Reporter::added, piece);
}

void StatusReporter::addedField(const std::string& field, const std::string& text) {
    pass(m_former, &Reporter::addedField, field, text);
}

void StatusReporter::cleared() {
    IdentityCollector::cleared();
    pass(m_former, &Reporter::cleared);
}

void StatusReporter::remarked(const std::string& text) {
    m_notes.remarked(text);
    pass(m_former, &Reporter::remarked, text);
}

}  // namespace udid
