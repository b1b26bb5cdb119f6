#ifndef SCSITOOL_RECORDING_GUARD_KERNEL_EXCLUSIVE_OPENS_H
#define SCSITOOL_RECORDING_GUARD_KERNEL_EXCLUSIVE_OPENS_H

#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace recording::guard {

/// Block devices that are open exclusively: as long as the object lives nobody else can claim
/// them, so that what was found free stays free.
class ExclusiveOpens {
  public:
    explicit ExclusiveOpens(host::Host& host) : m_host(host) {}
    ~ExclusiveOpens();
    ExclusiveOpens(const ExclusiveOpens&) = delete;
    ExclusiveOpens& operator=(const ExclusiveOpens&) = delete;

    /// Opens a node and lets it go. 0, or the negated errno: EBUSY when somebody claims it.
    int tryNode(const std::string& node);
    /// Opens a node and keeps it open. As above.
    int hold(const std::string& node);
    /// Lets all go.
    void release();

  private:
    host::Host& m_host;
    std::vector<int> m_descriptors;
};

}  // namespace recording::guard

#endif
