#include "scsitool/udid/reporter.h"

#include <utility>

namespace udid {
namespace {

// The reporter belongs to the work, not to the record: generators copy records, and two threads
// explain at once.
thread_local Reporter* listening = nullptr;

}  // namespace

Reporter::~Reporter() = default;

Reporter* reporter() {
    return listening;
}

ReportScope::ReportScope(Reporter* listener) : m_former(std::exchange(listening, listener)) {}

ReportScope::~ReportScope() {
    listening = m_former;
}

const char* nameOf(Rule rule) {
    switch (rule) {
        case Rule::kEquals:
            return "equals";
        case Rule::kBeginsWith:
            return "begins-with";
        case Rule::kContains:
            return "contains";
    }
    return "";
}

}  // namespace udid
