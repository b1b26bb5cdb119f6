#include "scsitool/udid/reporter.h"

#include <atomic>
#include <utility>

namespace udid {
namespace {

// The reporter belongs to the work, not to the record: generators copy records, and two threads
// explain at once.
thread_local Reporter* listening = nullptr;

// How many scopes there are on all threads. Where nobody listens, as in a backup, a look at it is
// all that a generator's reports cost; a thread sees its own scopes in any order of memory.
std::atomic<unsigned> scopes{0};

}  // namespace

Reporter::~Reporter() = default;

Reporter* reporter() {
    return scopes.load(std::memory_order_relaxed) == 0 ? nullptr : listening;
}

ReportScope::ReportScope(Reporter* listener) : m_former(std::exchange(listening, listener)) {
    scopes.fetch_add(1, std::memory_order_relaxed);
}

ReportScope::~ReportScope() {
    scopes.fetch_sub(1, std::memory_order_relaxed);
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
