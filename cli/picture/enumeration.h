#ifndef SCSITOOL_CLI_PICTURE_ENUMERATION_H
#define SCSITOOL_CLI_PICTURE_ENUMERATION_H

#include <string>
#include <vector>

#include "cli/common/context.h"
#include "cli/hosts/answer_watch.h"
#include "cli/picture/picture.h"
#include "scsitool/udid/device_udid_factory.h"

namespace cli::picture {

/// An enumeration of the library that is looked on at, so that a picture of the host can be drawn
/// of what it asked. The operations are the library's own and nothing is asked of a disk twice;
/// what only the kernel knows is read from it aside, which leaves no line in the journal.
class Enumeration {
  public:
    /// The context must outlive the object.
    explicit Enumeration(const Context& context);

    /// The factory, to be set up before `run`.
    CUDIDFactory& factory() { return m_factory; }

    /// CUDIDFactory::enumerateDeviceMap on the thread's current host. A name narrows the
    /// enumeration and the picture to the device of that name.
    const DeviceMap& run(bool rescan, const std::string& name, const std::string& scriptArguments);
    /// CLinuxDeviceDiscovery::enumerateNativeDevicePathsExt: disks with their sizes, none of them
    /// asked for its identity. Gives the operation's result.
    int runNative(std::vector<CScsiDeviceData>& disks);

    /// What was found, joined with what the kernel lists.
    Picture picture() { return drawn(true); }
    /// The same, but for the fields of the devices: comparisons of whole fleets show none.
    Picture pictureWithoutFields() { return drawn(false); }

    /// What to tell a person besides the failure that devices did not open.
    std::string hint() const;

  private:
    Picture drawn(bool withFields);

    const Context& m_context;
    CUDIDFactory m_factory;
    AnswerWatch m_watch;
    udid::IdentityCollector m_identities;
    std::string m_only;
    bool m_withMaps = true;
    std::vector<CScsiDeviceData> m_disks;  // of runNative
};

}  // namespace cli::picture

#endif
