#include "recording/guard/rules/script_check.h"

#include <cerrno>

#include "host/open_node.h"
#include "recording/guard/kernel/kernel_tables.h"
#include "recording/guard/kernel/scsi_devices.h"
#include "recording/guard/rules/script_reading.h"

namespace recording::guard {
namespace {

constexpr const char* kInq = "/usr/bin/sg_inq";
constexpr int kTimeLimit = 60;
constexpr int kMissingProgram = 127 << 8;
constexpr unsigned kSenseBytes = 32;
constexpr unsigned kTurLimit = 30000;  // milliseconds

// The node by which a device is asked: the disk's, or the generic one of what is no disk.
std::string nodeAt(BlockDevices& devices, const ScsiAddress& address) {
    ScsiDevices scsi(devices.evidence());
    const auto disks = scsi.disksAt(address);
    return disks.empty() ? scsi.genericNodeAt(address) : devices.node(disks.front()).value_or("");
}

std::string versionOfInq(host::Host& host) {
    const host::CommandResult result = host.runCommand(std::string(kInq) + " -V", kTimeLimit);
    std::string version = result.lines.empty() ? "" : trimmed(result.lines.front());
    const std::size_t colon = version.find(": ");
    version = colon == std::string::npos ? version : version.substr(colon + 2);
    return version.empty() ? "of unknown version" : version;
}

// LOGICAL UNIT NOT SUPPORTED, in fixed or descriptor format.
bool saysNoUnit(const std::vector<std::uint8_t>& sense) {
    constexpr std::uint8_t kNotSupported = 0x25;
    const unsigned format = sense[0] & 0x7FU;
    return format >= 0x72 ? sense[2] == kNotSupported : sense[12] == kNotSupported;
}

bool differs(const std::string& kernel, const std::string& live, bool isRecorded) {
    return kernel.empty() && isRecorded ? false : kernel != live;
}

}  // namespace

std::optional<ScriptMisfit> misfitOf(Evidence& evidence, const std::string& script,
                                     const std::string& genericNode) {
    const std::string text = evidence.file(script, Need::kMustExist).value_or("");
    const host::CommandResult inquiry =
        evidence.host().runCommand(std::string(kInq) + " --len=36 " + genericNode, kTimeLimit);
    if (evidence.isRecorded() && (inquiry.waitStatus == kMissingProgram || text.empty())) {
        return std::nullopt;
    }
    const ScriptReading reading = parseScript(text);
    const std::string missed = reading.ways.empty()
                                   ? "the answer of a disk in a way that is not known"
                                   : missedBy(reading, inquiry.lines);
    if (missed.empty()) {
        return std::nullopt;
    }
    return ScriptMisfit{reading.version.empty() ? "of unknown version" : reading.version,
                        versionOfInq(evidence.host()), missed};
}

std::string whyUntrusted(Evidence& evidence, const std::string& script,
                         const std::string& genericNode) {
    const auto misfit = misfitOf(evidence, script, genericNode);
    if (!misfit) {
        return {};
    }
    return "not to be trusted: version " + misfit->scriptVersion +
           " of it cannot read what sg_inq " + misfit->inqVersion + " prints (it looks for '" +
           misfit->missed +
           "'), so that every disk counts as gone; remove what is gone with 'scsitool prune', or "
           "install a script and an sg_inq that belong together";
}

bool failsTestUnitReady(Evidence& evidence, const std::string& node) {
    const host::OpenNode opened(evidence.host(), node, host::OpenMode::kReadOnlyNonBlocking);
    if (!opened.isOpen()) {
        return true;
    }
    host::SgIoRequest request;
    request.cdb.assign(6, 0);
    request.sense.assign(kSenseBytes, 0);
    request.timeout = kTurLimit;
    const int result = evidence.host().sgIo(opened.descriptor(), request);
    if (result == -ENOTTY && evidence.isRecorded()) {
        return false;
    }
    return result < 0 || (request.status != 0 && saysNoUnit(request.sense));
}

bool isChanged(const KernelIdentity& kernel, const Answer& live, bool ignoresRevision,
               bool isRecorded) {
    return differs(kernel.vendor, live.vendor, isRecorded) ||
           differs(kernel.product, live.product, isRecorded) ||
           (!ignoresRevision && differs(kernel.revision, live.revision, isRecorded)) ||
           differs(kernel.deviceType, std::to_string(live.deviceType), isRecorded);
}

ScriptView scriptView(Evidence& evidence, BlockDevices& devices, const ScsiAddress& address,
                      const RescanOptions& options) {
    ScriptView view;
    const std::string node = nodeAt(devices, address);
    const Answer answer = node.empty() ? Answer() : askDisk(evidence, node);
    if (answer.kind != Answer::Kind::kConnected) {
        return view;
    }
    ScsiDevices scsi(evidence);
    view.genericNode = scsi.genericNodeAt(address);
    const KernelIdentity kernel = {
        scsi.attributeAt(address, "vendor"), scsi.attributeAt(address, "model"),
        scsi.attributeAt(address, "rev"), scsi.attributeAt(address, "type")};
    view.isTaken = options.takesAll ||
                   isChanged(kernel, answer, options.ignoresRevision, evidence.isRecorded()) ||
                   failsTestUnitReady(evidence, node);
    return view;
}

}  // namespace recording::guard
