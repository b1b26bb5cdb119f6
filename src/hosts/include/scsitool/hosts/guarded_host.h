#ifndef SCSITOOL_HOSTS_GUARDED_HOST_H
#define SCSITOOL_HOSTS_GUARDED_HOST_H

#include <memory>
#include <string>
#include <vector>

#include "scsitool/host/export.h"
#include "scsitool/host/forwarding_host.h"

namespace hosts {

/// Why an effect was refused.
struct Refusal {
    std::string device;  ///< what it would have taken: a node, an address, a map, the script
    std::string reason;  ///< reads behind "DEVICE is": "mounted at /data"
    std::string risk;    ///< what it would have done here: "what is not written yet is lost"
};

/// Judges every effect when it is about to happen, as the command does, and refuses what would take
/// a disk in use away: an append (a removal in /proc/scsi/scsi or sysfs) fails to open with EBUSY,
/// a command (dmsetup, multipath, the rescan script, a logout of iSCSI sessions) ends with exit
/// status 16 and a line that says why, a shell line with the same wait status. A refused effect
/// does not reach the host below; everything else is passed on.
///
/// Safe for any number of threads but for `setPurpose`.
class SCSITOOL_EXPORT GuardedHost : public host::ForwardingHost {
  public:
    /// What the silence of a host means.
    enum class Silence {
        kIsRefusal,     ///< a live host: what cannot be told is not free
        kIsNoEvidence,  ///< a recorded host: what the file does not speak of is no use
    };
    /// What a removal is asked for. It is never a reason to take a disk in use.
    enum class Purpose {
        kNamed,     ///< the caller named what goes: an unused disk that answers may go
        kOnlyDead,  ///< what goes is taken for dead: what answers, or may be another one, stays
    };

    /// Effects go to `inner`. The guard's own questions go to `questions`, the same machine or
    /// another object of the same recording, so that they leave no line in a journal and use up no
    /// recorded answer. Both must outlive this one.
    GuardedHost(host::Host& inner, host::Host& questions, Silence silence);
    ~GuardedHost() override;

    /// What the removals that follow are asked for; `kNamed` until then.
    void setPurpose(Purpose purpose);
    /// Why effects were refused, in order.
    std::vector<Refusal> refusals() const;
    /// What is in use and was left in place by an effect that was let pass.
    std::vector<Refusal> kept() const;

  private:
    class Inside;

    explicit GuardedHost(std::unique_ptr<Inside> inside);

    const std::unique_ptr<Inside> m_inside;
};

}  // namespace hosts

#endif
