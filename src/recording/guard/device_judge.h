#ifndef SCSITOOL_RECORDING_GUARD_DEVICE_JUDGE_H
#define SCSITOOL_RECORDING_GUARD_DEVICE_JUDGE_H

#include <string>
#include <vector>

#include "recording/guard/kernel/exclusive_opens.h"
#include "recording/guard/purpose.h"
#include "recording/guard/refusal.h"
#include "recording/guard/rules/uses.h"

namespace recording::guard {

constexpr const char* kUnknownRisk = "whoever uses it loses it";

/// Adds a refusal for each use; where there is none, one for each thing that could not be told.
void addRefusals(std::vector<Refusal>& refusals, const std::string& device, const Uses& uses,
                 const std::vector<std::string>& failures);

/// Judges the devices that one effect would take away. What it finds free it holds open exclusively
/// until it goes out of scope.
class DeviceJudge {
  public:
    enum class Hold { kKeep, kLetGo };
    enum class Holders { kCount, kDoNotCount };

    /// The host must outlive the object; nothing with an effect is asked of it.
    DeviceJudge(host::Host& aside, bool isRecorded, Purpose purpose);

    /// Looks at one device. `evidence` is what its picture was drawn from.
    void judge(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture, Hold hold);
    /// The uses of a device that have a name.
    Uses usesOf(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture,
                Holders holders);
    const std::vector<Refusal>& refusals() const { return m_refusals; }
    /// What could not be told of all devices together, such as the mounts.
    const std::vector<std::string>& failures() const { return m_common.failures(); }

  private:
    bool isUnusedMap(Evidence& evidence, BlockDevices& devices, const std::string& map);
    bool isDeadPath(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture);
    void requireDead(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture);
    bool isClaimed(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture,
                   Hold hold);
    int claim(Evidence& evidence, BlockDevices& devices, const std::string& name, Hold hold);
    Uses usesOfDisk(Evidence& evidence, BlockDevices& devices, const DevicePicture& picture,
                    Hold hold);
    void addPowerPath(Uses& uses, Evidence& evidence, BlockDevices& devices,
                      const DevicePicture& picture);

    const bool m_isRecorded;
    const Purpose m_purpose;
    Evidence m_common;  // what is asked once for all devices
    Processes m_processes;
    ExclusiveOpens m_opens;
    std::vector<Refusal> m_refusals;
};

}  // namespace recording::guard

#endif
