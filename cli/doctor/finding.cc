#include "cli/doctor/finding.h"

#include <algorithm>
#include <cstring>

namespace cli::doctor {

const char* nameOf(Severity severity) {
    switch (severity) {
        case Severity::kError:
            return "error";
        case Severity::kWarning:
            return "warning";
        default:
            return "note";
    }
}

const KindText& textOf(Kind kind) {
    const std::vector<KindText>& all = kindTexts();
    return *std::find_if(all.begin(), all.end(),
                         [kind](const KindText& text) { return text.kind == kind; });
}

void sortFindings(std::vector<Finding>& findings) {
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
        const KindText& left = textOf(a.kind);
        const KindText& right = textOf(b.kind);
        return left.severity != right.severity ? left.severity < right.severity
                                               : std::strcmp(left.code, right.code) < 0;
    });
}

}  // namespace cli::doctor
