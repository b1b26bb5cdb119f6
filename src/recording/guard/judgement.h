#ifndef SCSITOOL_RECORDING_GUARD_JUDGEMENT_H
#define SCSITOOL_RECORDING_GUARD_JUDGEMENT_H

#include <string>
#include <vector>

#include "recording/guard/device_judge.h"
#include "recording/guard/effect/targets.h"

namespace recording::guard {

/// Judges one effect. What it finds free it holds open exclusively until it goes out of scope, so
/// that nobody can begin to use it before the effect is done.
class Judgement {
  public:
    /// The host must outlive the object; nothing with an effect is asked of it.
    Judgement(host::Host& aside, bool isRecorded, Purpose purpose);

    /// Looks at everything that an effect would take away.
    void judge(const Targets& targets);

    /// Why the effect is refused; empty when it may happen.
    std::vector<Refusal> refusals() const;
    /// What is in use and the effect leaves in place by itself.
    const std::vector<Refusal>& kept() const { return m_kept; }
    /// What stands against knowing all of these.
    const std::vector<std::string>& untoldKept() const { return m_untoldKept; }

  private:
    void judgeTarget(const DiskAt& target);
    void judgeTarget(const DiskNamed& target);
    void judgeTarget(const MapNamed& target);
    void judgeTarget(const UnusedMaps& target);
    void judgeTarget(const ScriptRun& target);
    void judgeTarget(const Sessions& target);
    void judgeTarget(const Untold& target);

    void judgeMapsWithoutPath();
    void requireTrusted(const ScsiAddress& address);
    void refuseFailuresOf(const std::string& what, const Evidence& evidence);

    host::Host& m_aside;
    const bool m_isRecorded;
    const Purpose m_purpose;
    DeviceJudge m_devices;
    std::vector<Refusal> m_refusals;
    std::vector<Refusal> m_kept;
    std::vector<std::string> m_untoldKept;
};

}  // namespace recording::guard

#endif
