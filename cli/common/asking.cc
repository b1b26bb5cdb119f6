#include "cli/common/asking.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "cli/base/text.h"
#include "cli/common/record_list.h"
#include "scsitool/discovery/device_discovery_linux.h"
#include "scsitool/dmp/dmp_discovery_manager.h"
#include "scsitool/host/forwarding_host.h"
#include "scsitool/kit/context_singleton.h"

namespace cli {
namespace {

using Names = std::vector<std::string>;
using ProcessTrace =
    qzfi_pdk_4_4::CFiContextSingleton<qzfi_pdk_4_4::CFiTraceLog, qzfi_pdk_4_4::FI_PGN_NAME>;

// More than these are counted in a message of one line.
constexpr std::size_t kMostNamed = 16;

// What is listed or asked ahead is listed and asked by the operation once more: that time it is
// traced.
class Untraced {
  public:
    Untraced() : m_former(ProcessTrace::instance(false)) { ProcessTrace::registerInstance({}); }
    ~Untraced() { ProcessTrace::registerInstance(m_former); }
    Untraced(const Untraced&) = delete;
    Untraced& operator=(const Untraced&) = delete;

  private:
    Context::TraceLog m_former;
};

// The multipath layer prints that a listing broke off. It will when it lists for the operation.
class ListingHost : public host::ForwardingHost {
  public:
    using ForwardingHost::ForwardingHost;

    host::DirectoryListing listDirectory(const std::string& path) override {
        host::DirectoryListing listing = ForwardingHost::listDirectory(path);
        listing.readError = 0;
        return listing;
    }
};

// The directory itself, the one above it and the node that maps are made by are listed as well.
bool isDevice(const std::string& path) {
    const std::string mapper = "/dev/mapper/";
    return path != mapper + "." && path != mapper + ".." && path != mapper + "control";
}

// In the order in which an enumeration opens them.
Names listedDevices(host::Host& host) {
    ListingHost listing(host);
    const host::Scope scope(listing);
    const Untraced untraced;
    Names names;
    try {
        DeviceMap pseudoDevices;
        CDmpDiscoveryManager manager;
        manager.enumerateDmpDevices(pseudoDevices);
        for (const auto& [path, info] : pseudoDevices) {
            if (isDevice(path)) {
                names.push_back(path);
            }
        }
        CLinuxDeviceDiscovery discovery;
        const Names disks = discovery.enumerateNativeDevicePaths();
        names.insert(names.end(), disks.begin(), disks.end());
    } catch (int) {
        // The operation is going to say so.
        return names;
    }
    return names;
}

Names listedAs(host::Host& host, const std::string& name) {
    const Names names = listedDevices(host);
    return Names(names.end() == std::find(names.begin(), names.end(), name) ? 0 : 1, name);
}

void ask(const Context& context, recording::Asking asking) {
    asking.interview = [ask = std::move(asking.interview)](const std::string& name) {
        const Untraced untraced;
        ask(name);
    };
    if (recording::RecordedAsking* const recorded = context.hosts.recordedAsking()) {
        recorded->ask(context.hosts.aside(), asking.devices, asking.interview);
    }
    if (recording::AnsweringHost* const answering = context.hosts.answering()) {
        answering->ask(std::move(asking));
    }
}

}  // namespace

Interview interviews::record() {
    const auto discovery = std::make_shared<CLinuxDeviceDiscovery>();
    return [discovery](const std::string& name) { owned(discovery->validateDevice(name)); };
}

Interview interviews::udid(const FactoryOptions& options) {
    const auto factory = std::make_shared<CUDIDFactory>();
    options.apply(*factory);
    return [factory](const std::string& name) { factory->validateDeviceMap(name); };
}

Interview interviews::size() {
    const auto discovery = std::make_shared<CLinuxDeviceDiscovery>();
    return [discovery](const std::string& name) {
        unsigned long size = 0;
        discovery->getDiskSize(name, size);
        owned(discovery->validateEnumerateDevices(name));
    };
}

Interview interviews::volume() {
    return [udid = udid(),
            discovery = std::make_shared<CLinuxDeviceDiscovery>()](const std::string& name) {
        udid(name);
        unsigned long size = 0;
        discovery->getDiskSize(name, size);
    };
}

void askAhead(const Context& context, const std::string& onlyName, const Interview& interview,
              bool allAfterRescan) {
    host::Host& host = context.hosts.aside();
    const recording::Asking::List all = [&host] { return listedDevices(host); };
    const recording::Asking::List one = [&host, onlyName] { return listedAs(host, onlyName); };
    ask(context, {onlyName.empty() ? all : one, onlyName.empty() || allAfterRescan ? all : one,
                  interview, false});
}

void askNamedAhead(const Context& context, const std::string& name, const Interview& interview) {
    askTheseAhead(
        context, [name] { return Names{name}; }, interview);
}

void askTheseAhead(const Context& context, const recording::Asking::List& devices,
                   const Interview& interview) {
    ask(context, {devices, devices, interview, false});
}

void askForKeeps(const Context& context, const recording::Asking::List& devices,
                 const Interview& interview) {
    ask(context, {devices, devices, interview, true});
}

std::string askedWithoutHelp(const HostStack& hosts) {
    const int error = hosts.answering() != nullptr ? hosts.answering()->forkError() : 0;
    return error == 0 ? ""
                      : std::string(
                            "disks were asked one after the other and without a deadline: "
                            "no process could be started: ") +
                            std::strerror(error);
}

void addUnanswered(Report& report, const Context& context) {
    const recording::GivenUp givenUp = context.givenUp();
    if (givenUp.empty()) {
        return;
    }
    Names names;
    Json& list = report.data["unanswered"] = Json::array();
    for (const auto& [name, seconds] : givenUp) {
        names.push_back(name);
        list.push_back({{"name", jsonText(name)}, {"seconds", seconds}});
    }
    // One that was asked alone is what the failure speaks of; a picture of the host has told of
    // all that did not answer, for whatever reason.
    const bool isTold =
        (context.asked() == 1 && !report.failure.empty()) || report.data.contains("unidentified");
    if (isTold) {
        return;
    }
    Names named = names;
    named.resize(std::min(named.size(), kMostNamed));
    const std::string told =
        std::to_string(names.size()) + " of " + std::to_string(context.asked()) +
        " disks did not answer: " + joined(named, " ") +
        (names.size() > kMostNamed ? " and " + std::to_string(names.size() - kMostNamed) + " more"
                                   : "");
    // The picture behind --changes may have said the same.
    if (std::find(report.doubts.begin(), report.doubts.end(), told) == report.doubts.end()) {
        report.doubts.push_back(told);
    }
}

}  // namespace cli
