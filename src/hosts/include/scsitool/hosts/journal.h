#ifndef SCSITOOL_HOSTS_JOURNAL_H
#define SCSITOOL_HOSTS_JOURNAL_H

#include <memory>
#include <string>
#include <vector>

#include "scsitool/host/export.h"

/// Hosts to put in place of the machine (`host::Scope`): for the tests of whatever stands on
/// libscsitool.
namespace hosts {

/// What was asked of hosts that has an effect, in order. Safe for any number of threads.
class SCSITOOL_EXPORT Journal {
  public:
    Journal();
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// Every effect so far as one line of JSON without a line feed, the form of `--journal`:
    /// {"effect":"command","command":"/sbin/multipath -v0 ","timeout":600}. A recorded host also
    /// writes down the commands that only read, and what it has no answer to ("unanswered").
    std::vector<std::string> lines() const;
    /// What a recorded host was asked and its recording does not tell, in order and in words: empty
    /// when a test ran on nothing but what was recorded.
    std::vector<std::string> unanswered() const;

  private:
    friend class DryRunHost;
    friend class JournalingHost;
    friend class RecordedHost;

    class Inside;

    const std::unique_ptr<Inside> m_inside;
};

}  // namespace hosts

#endif
