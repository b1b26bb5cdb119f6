#ifndef SCSITOOL_TESTS_RECORDING_REPORTER_H
#define SCSITOOL_TESTS_RECORDING_REPORTER_H

#include <string>
#include <vector>

#include "scsitool/udid/reporter.h"

namespace test {

/// A reporter that keeps one line a report.
class RecordingReporter : public udid::Reporter {
  public:
    void stepped(udid::Step step, const std::string& text) override {
        static const char* const kNames[] = {"asked",  "claimed", "declined",
                                             "prefix", "body",    "failed"};
        lines.push_back(kNames[static_cast<int>(step)] + (text.empty() ? "" : " " + text));
    }
    void compared(const udid::Comparison& made) override {
        lines.push_back(made.field + " " + made.value + (made.matched ? " " : " not ") +
                        nameOf(made.rule) + " " + made.expected);
    }
    void readPage(unsigned page, const scsi::PageView& view) override {
        lines.push_back("page " + std::to_string(page) + ", " +
                        (view.hasBuffer() ? std::to_string(view.length()) + " bytes" : "missing"));
    }
    void found(const std::string& field, const udid::Piece& piece) override {
        lines.push_back("found " + field + ": " + lineOf(piece));
    }
    void added(const udid::Piece& piece) override { lines.push_back("piece " + lineOf(piece)); }
    void addedField(const std::string& field, const std::string& text) override {
        lines.push_back("field " + field + ": " + text);
    }
    void cleared() override { lines.emplace_back("cleared"); }
    void remarked(const std::string& text) override { lines.push_back("remark " + text); }

    std::vector<std::string> lines;

  private:
    static std::string lineOf(const udid::Piece& piece) {
        std::string line = nameOf(piece.format);
        if (piece.page != udid::kNoPage) {
            line += " " + std::to_string(piece.page) + ":" + std::to_string(piece.offset) + "+" +
                    std::to_string(piece.length);
        }
        return line + " " + piece.text;
    }
};

}  // namespace test

#endif
