#include <cerrno>
#include <cstring>
#include <utility>

#include "cli/base/failure.h"
#include "cli/base/text.h"
#include "cli/common/asking.h"
#include "cli/common/command.h"
#include "cli/common/incomplete.h"
#include "cli/common/record_list.h"
#include "cli/picture/drawing.h"
#include "cli/picture/last_known.h"
#include "cli/picture/rows.h"
#include "cli/udev/carriers.h"
#include "cli/udev/properties.h"
#include "cli/udev/read_only_opens.h"
#include "cli/udev/safe_text.h"
#include "cli/udev/subject.h"
#include "scsitool/udid/account.h"

namespace cli {
namespace {

using recording::guard::BlockDevices;
using recording::guard::Evidence;
using udev::Carrier;
using udev::Subject;

// The operation's own opens: not only those of this process, but of the one that asks ahead.
Interview readingOnly(const Interview& interview) {
    return [interview](const std::string& node) {
        udev::ReadOnlyOpens opens(host::current());
        const host::Scope scope(opens);
        interview(node);
    };
}

class UdevExport : public Command {
  public:
    CLI::App* declare(CLI::App& parent) override {
        CLI::App* const app = parent.add_subcommand(
            "udev-export", "Print what udev is to know of a disk or map, for links by UDID");
        CLI::Option* const name = app->add_option(
            "NAME", m_name, "The node of a whole disk, multipath map or pseudo-device");
        app->add_option("--relink", m_relink,
                        "Instead: have udev look again at the devices of this UDID "
                        "(SCSITOOL_UDID_ENC) whose link is no longer right")
            ->type_name("UDID")
            ->excludes(name);
        return app;
    }

    Report run(Context& context) override {
        const HostView view = context.view();
        Evidence evidence(view.host, view.isRecorded());
        BlockDevices blocks(evidence);
        if (!m_relink.empty()) {
            return relink(context, blocks);
        }
        if (m_name.empty()) {
            throw UsageError(
                "no device named; give NAME, for instance 'scsitool udev-export /dev/sda'");
        }
        const auto subject = udev::subjectOf(blocks, m_name);
        if (!subject) {
            throw OperationError(m_name +
                                 ": it is no whole sd disk, multipath map or PowerPath device");
        }
        return exported(context, blocks, *subject);
    }

  private:
    static Report exported(const Context& context, BlockDevices& blocks, const Subject& subject) {
        udev::Identified volume = identified(context, subject);
        volume.partition = subject.partition;
        const std::string udidEnc = udev::linkName(volume.udid);
        volume.isShared = !udidEnc.empty() && isShared(blocks, subject, udidEnc, volume.names);
        Report report;
        report.data["name"] = jsonText(subject.node);
        report.data["udid"] = jsonText(volume.udid);
        report.data["identity"] = picture::identityJson(volume.udid, false);
        Json& json = report.data["udev"] = Json::object();
        for (const auto& [key, value] : udev::propertiesOf(volume)) {
            json[key] = value;
            report.text.append(key).append("=").append(value).append("\n");
        }
        return report;
    }

    // What the device says now. Throws OperationError for one that tells no volume.
    static udev::Identified identified(const Context& context, const Subject& subject) {
        const std::string& node = subject.node;
        askNamedAhead(context, node, readingOnly(interviews::udid()));
        udev::ReadOnlyOpens opens(context.host());
        const host::Scope scope(opens);
        CUDIDFactory factory;
        context.traceInto(factory);
        CLinuxDeviceDiscovery discovery;
        context.traceInto(discovery);
        const RecordList records = owned(discovery.validateDevice(node));
        if (records.empty()) {
            throw OperationError(whyNotOpened(context, node));
        }
        const CScsiDeviceData& record = *records.front();
        if (record.m_pages.empty()) {
            throw OperationError(node + ": the device opens and did not answer INQUIRY");
        }
        const udid::Account account = udid::account(factory, record);
        demandVolume(context, node, account.explanation);
        demandWhole(context, node);
        return {account.explanation.udid, picture::fieldsOf(record, &account.identity),
                picture::namesOf(record)};
    }

    static std::string whyNotOpened(const Context& context, const std::string& node) {
        const recording::GivenUp givenUp = context.givenUp();
        const auto silent = givenUp.find(node);
        if (silent != givenUp.end()) {
            return node + ": no answer in " + std::to_string(silent->second) + " s";
        }
        host::Host& host = context.hosts.aside();
        const int opened = host.openDevice(node, host::OpenMode::kReadOnlyNonBlocking);
        if (opened >= 0) {
            host.closeDevice(opened);
            return node + ": it did not open, and does now; try again";
        }
        return node + ": cannot open the device: " + std::strerror(-opened);
    }

    static void demandVolume(const Context& context, const std::string& node,
                             const udid::Explanation& explanation) {
        const bool isBuilt = explanation.outcome == udid::Outcome::kClaimed ||
                             explanation.outcome == udid::Outcome::kFallback;
        if (!isBuilt || explanation.udid.empty()) {
            throw OperationError(node + ": the device has no UDID; 'scsitool explain " + node +
                                 "' says why");
        }
        std::string hostName;
        context.hosts.aside().hostName(hostName);
        if (picture::isPathUdid(explanation.udid, node, hostName)) {
            throw OperationError(node +
                                 ": its UDID is made of its path at this host, which names no "
                                 "volume");
        }
    }

    // A link by a UDID that lacks what a page has would be another one when the page comes.
    static void demandWhole(const Context& context, const std::string& node) {
        const std::string why = whyIncomplete(context, node);
        if (!why.empty()) {
            throw OperationError(node + ": answered in part: " + why +
                                 "; a UDID made without it may be another one");
        }
    }

    static bool isShared(BlockDevices& blocks, const Subject& subject, const std::string& udidEnc,
                         const picture::UnitNames& names) {
        std::vector<picture::Device> devices = {
            udev::carriedBy(blocks, subject.kernelName, subject.kind, udidEnc, names)};
        for (Carrier& other : udev::carriersOf(blocks, udidEnc)) {
            if (other.isWhole && other.device.kernelName != subject.kernelName) {
                devices.push_back(std::move(other.device));
            }
        }
        return udev::countVolumes(devices) > 1;
    }

    // After the database has a device, and after it has lost one: of two that are looked at side by
    // side neither sees the other before that.
    Report relink(const Context& context, BlockDevices& blocks) const {
        const std::vector<Carrier> carriers = udev::carriersOf(blocks, m_relink);
        std::vector<picture::Device> devices;
        for (const Carrier& carrier : carriers) {
            if (carrier.isWhole) {
                devices.push_back(carrier.device);
            }
        }
        const bool wantsLink = udev::countVolumes(devices) == 1;
        Report report;
        report.data["udid"] = jsonText(udev::decoded(m_relink));
        report.data["relinked"] = Json::array();
        // A partition takes over what its disk has: the disk first.
        for (const bool whole : {true, false}) {
            for (const Carrier& carrier : carriers) {
                if (carrier.isWhole == whole && carrier.hasLink != wantsLink) {
                    lookAgain(context, carrier.device, report);
                }
            }
        }
        return report;
    }

    static void lookAgain(const Context& context, const picture::Device& device, Report& report) {
        const std::string event = "/sys/class/block/" + device.kernelName + "/uevent";
        host::Host& host = context.host();
        const host::AppendResult result = host.appendFile(event, "change");
        const int error = result.openError != 0 ? result.openError : result.writeError;
        if (error == 0) {
            report.data["relinked"].push_back(jsonText(device.name));
            report.text += visible(device.name) + "\n";
        } else if (error != ENOENT && error != ENODEV) {  // else it has gone meanwhile
            report.doubts.push_back(event + ": " + std::strerror(error));
        }
    }

    std::string m_name;
    std::string m_relink;
};

}  // namespace

std::unique_ptr<Command> makeUdevExport() {
    return std::make_unique<UdevExport>();
}

}  // namespace cli
