// The step that has every removal judged and none carried out.
#include "cli/capture/reading.h"
#include "cli/capture/tour.h"
#include "recording/guard/guarded_host.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/scsi/scsitool.h"

namespace cli {
namespace {

// Lets no effect through and says of each that it was done.
class WithoutEffects : public host::ReadForwardingHost {
  public:
    explicit WithoutEffects(host::Host& inner) : ReadForwardingHost(inner) {}

    host::AppendResult appendFile(const std::string&, const std::string&,
                                  const host::BeforeWrite&) override {
        return {};
    }
    host::CommandResult runCommand(const std::string& command, int timeoutSeconds) override {
        return host::isReadCommand(command) ? inner().runCommand(command, timeoutSeconds)
                                            : host::CommandResult();
    }
    int runShell(const std::string&) override { return 0; }
    void sleepSeconds(unsigned) override {}
};

void removeAddresses(host::Host& guard, CLinuxDeviceDiscovery& discovery) {
    for (const SLinuxScsiDevice& at : discovery.getDeviceList(false)) {
        discovery.RemoveDevice(at.host, at.channel, at.id, at.lun);
    }
    for (const std::string& address : namesIn(guard, "/sys/class/scsi_device/")) {
        guard.appendFile("/sys/class/scsi_device/" + address + "/device/delete", "1");
    }
}

void logOut(host::Host& guard) {
    CScsiTool tool;
    const std::string sessions = "/sys/class/iscsi_session/";
    for (const std::string& session : namesIn(guard, sessions)) {
        std::string target = firstLine(guard, sessions + session + "/targetname");
        if (!target.empty()) {
            tool.LogoutFromIscsiIQN(target);
        }
    }
}

}  // namespace

void askGuard(host::Host& host) {
    using recording::guard::Purpose;
    WithoutEffects nothing(host);
    // As of a live host: every question is asked then.
    recording::GuardedHost guard(
        nothing, [&host]() -> host::Host& { return host; }, recording::Silence::kIsRefusal);
    const host::Scope scope(guard);
    CLinuxDeviceDiscovery discovery;
    for (const Purpose purpose : {Purpose::kOnlyDead, Purpose::kNamed}) {
        guard.setPurpose(purpose);
        removeAddresses(guard, discovery);
    }
    for (const std::string& map : namesIn(host, "/dev/mapper/")) {
        discovery.removeDevice("/dev/mapper/" + map);
    }
    discovery.removeStaleDevices("");
    discovery.FlushMultipathStaleDevices();
    logOut(guard);
}

}  // namespace cli
