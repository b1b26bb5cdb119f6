#include "udid/explanation_collector.h"

#include <algorithm>

namespace udid {
namespace {

bool isSame(const Comparison& left, const Comparison& right) {
    return left.field == right.field && left.value == right.value && left.rule == right.rule &&
           left.expected == right.expected;
}

}  // namespace

GeneratorReport& ExplanationCollector::report() {
    if (m_explanation.generators.empty()) {
        begin(std::string());
    }
    return m_explanation.generators.back();
}

void ExplanationCollector::begin(const std::string& generator) {
    GeneratorReport report;
    report.name = generator;
    m_explanation.generators.push_back(report);
    m_fields.clear();
    m_inBody = false;
}

void ExplanationCollector::decided(unsigned page, std::size_t offset, std::size_t length) {
    const auto isTold = [&](const DecidingBytes& other) {
        return other.page == page && other.range.offset == offset && other.range.length == length;
    };
    std::vector<DecidingBytes>& told = m_account.deciding;
    if (std::none_of(told.begin(), told.end(), isTold)) {
        told.push_back({page, {offset, length}});
    }
}

void ExplanationCollector::stepped(Step step, const std::string& text) {
    IdentityCollector::stepped(step, text);
    switch (step) {
        case Step::kAsked:
            begin(text);
            break;
        case Step::kClaimed:
            report().claimed = true;
            break;
        case Step::kDeclined:
            report().claimed = false;
            break;
        case Step::kPrefix:
            report().prefix.clear();
            m_inBody = false;
            break;
        case Step::kBody:
            report().body.clear();
            m_inBody = true;
            break;
        case Step::kFailed:
            report().failure = text;
            break;
    }
}

void ExplanationCollector::compared(const Comparison& comparison) {
    // A generator that asks again while it builds gets the same answer, which is told once.
    std::vector<Comparison>& made = report().comparisons;
    const bool told = std::any_of(made.begin(), made.end(), [&](const Comparison& other) {
        return isSame(other, comparison);
    });
    if (!told) {
        made.push_back(comparison);
    }
}

ExplainedPage* ExplanationCollector::find(unsigned code) {
    for (ExplainedPage& page : m_explanation.pages) {
        if (page.code == code) {
            return &page;
        }
    }
    return nullptr;
}

void ExplanationCollector::readPage(unsigned page, const scsi::PageView& view) {
    std::vector<unsigned>& asked = report().pages;
    if (std::find(asked.begin(), asked.end(), page) == asked.end()) {
        asked.push_back(page);
    }
    if (find(page) != nullptr) {
        return;
    }
    ExplainedPage taken;
    taken.code = page;
    taken.present = view.hasBuffer();
    for (std::size_t i = 0; i < view.length(); ++i) {
        taken.bytes.push_back(view[i]);
    }
    m_explanation.pages.push_back(taken);
}

bool ExplanationCollector::holdsPageOf(const Piece& piece) {
    if (find(piece.page) == nullptr) {
        const auto stored = m_record.m_pages.find(piece.page);
        if (stored == m_record.m_pages.end()) {
            return false;
        }
        readPage(piece.page, scsi::PageView(stored->second));
    }
    return true;
}

void ExplanationCollector::added(const Piece& piece) {
    Piece kept = piece;
    if (piece.page != kNoPage && !holdsPageOf(piece)) {
        kept.page = kNoPage;
        kept.offset = 0;
        kept.length = 0;
    }
    pieces().push_back(kept);
}

void ExplanationCollector::found(const std::string& field, const Piece& piece) {
    m_fields[field] = piece;
}

void ExplanationCollector::addedField(const std::string& field, const std::string& text) {
    // A field that an overriding operation filled has no source that is known here.
    const auto known = m_fields.find(field);
    Piece source;
    source.text = text;
    added(known != m_fields.end() && known->second.text == text ? known->second : source);
}

void ExplanationCollector::cleared() {
    IdentityCollector::cleared();
    std::vector<Piece>& dropped = report().dropped;
    dropped.insert(dropped.end(), pieces().begin(), pieces().end());
    pieces().clear();
}

void ExplanationCollector::remarked(const std::string& text) {
    if (m_explanation.generators.empty()) {
        m_explanation.remarks.push_back(text);
    } else {
        report().remarks.push_back(text);
    }
}

}  // namespace udid
