#ifndef SCSITOOL_RECORDING_REPLAY_RECORDED_ASKING_H
#define SCSITOOL_RECORDING_REPLAY_RECORDED_ASKING_H

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "recording/replay/recorded_host_data.h"
#include "scsitool/host/forwarding_host.h"

namespace recording {

/// How long each device was waited for in vain, in seconds.
using GivenUp = std::map<std::string, unsigned>;

/// Gives devices of a recorded host up where that would have happened on the host itself: they were
/// given up when it was recorded, and an operation asks them what they did not answer then. What
/// asks them less, as for a size that the kernel knows, is answered.
class RecordedAsking {
  public:
    /// The recording must outlive the object.
    explicit RecordedAsking(const RecordedHostData& data);

    /// These are asked, each by the interview, on a host that answers from the recording. They are
    /// not even listed where the recording has no device that was given up.
    void ask(host::Host& host, const std::function<std::vector<std::string>()>& devices,
             const std::function<void(const std::string& name)>& interview);

    /// How many were asked in all, and who of them is given up.
    std::size_t asked() const { return m_asked.size(); }
    const GivenUp& givenUp() const { return m_givenUp; }

  private:
    const GivenUp m_silent;  // all of the recording
    std::set<std::string> m_asked;
    GivenUp m_givenUp;
};

/// Fails every open of a device that is given up with ETIMEDOUT.
class GivenUpHost : public host::ForwardingHost {
  public:
    /// Both must outlive the object.
    GivenUpHost(host::Host& inner, const RecordedAsking& asking)
        : ForwardingHost(inner), m_asking(asking) {}

    int openDevice(const std::string& path, host::OpenMode mode) override;

  private:
    const RecordedAsking& m_asking;
};

/// The devices of a recording that were given up.
GivenUp givenUpIn(const RecordedHostData& data);

/// Takes it that somebody has waited for all devices until they ended by themselves: none was given
/// up, and what they did not answer is a failure of its own.
void waitForAll(RecordedHostData& data);

/// Keeps in a recording that was made of another one the devices that had been given up there: they
/// were not asked this time.
void keepGivenUpOf(const RecordedHostData& original, RecordedHostData& copy);

/// Notes in a recording which devices were given up when it was made.
void noteGivenUp(const GivenUp& givenUp, RecordedHostData& data);

}  // namespace recording

#endif
