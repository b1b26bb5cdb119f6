// The steps that ask the host: tools, tables of the kernel, processes.
#include <algorithm>
#include <cstring>
#include <set>

#include "cli/capture/reading.h"
#include "cli/capture/tour.h"
#include "cli/picture/power_path.h"
#include "cli/view/map_status.h"
#include "cli/view/map_table.h"
#include "recording/guard/kernel/kernel_tables.h"

namespace cli {
namespace {

constexpr int kTimeLimitSeconds = 600;

bool isNumber(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The open devices of one process, and its mounts where they are others than those seen before.
void askProcess(host::Host& host, const std::string& folder, std::set<std::string>& mountsSeen) {
    readFiles(host, folder, {"comm", "stat"});
    const std::string mounts = linkTarget(host, folder + "ns/mnt");
    if (!mounts.empty() && mountsSeen.insert(mounts).second) {
        readFiles(host, folder, {"mountinfo"});
    }
    const std::string descriptors = folder + "fd/";
    const std::string states = folder + "fdinfo/";
    for (const std::string& descriptor : namesIn(host, descriptors)) {
        // A socket or a pipe has no path. What is open for reading alone is not looked at: a stat
        // of a file on a dead server does not come back.
        if (linkTarget(host, descriptors + descriptor).compare(0, 1, "/") != 0) {
            continue;
        }
        const std::string info = host.readFile(states + descriptor).content;
        if (recording::guard::isOpenForWriting(info)) {
            host::DeviceNumber number;
            host.deviceNumber(descriptors + descriptor, number);
        }
    }
}

}  // namespace

void askTools(host::Host& host) {
    for (const char* const path :
         {"/sbin/iscsiadm", "/sbin/multipath", "/sbin/multipathd", "/sbin/powermt", "/sbin/pidof",
          "/bin/ls", "/usr/sbin/dmsetup", "/usr/bin/sg_inq", "/sbin/sg_inq", "/bin/sg_inq",
          "/usr/sbin/sg_inq"}) {
        host.pathExists(path);
    }
    for (const char* const script : {"/bin/rescan-scsi-bus.sh", "/usr/bin/rescan-scsi-bus.sh"}) {
        host.pathExists(script);
        host.readFile(script);
    }
    host.isDirectory("/dev/mapper/");
    host.writeAccess("/proc/scsi/scsi");
    host.runCommand("/sbin/pidof -x multipathd", kTimeLimitSeconds);
    std::string failure;
    view::askMapStatus(host, failure);
    view::askMapTables(host, failure);
    const std::vector<std::string> nodes = namesIn(host, "/dev/");
    if (std::any_of(nodes.begin(), nodes.end(), [](const std::string& name) {
            return name.compare(0, std::strlen("emcpower"), "emcpower") == 0;
        })) {
        picture::askPowermt(host);
    }
}

void askTables(host::Host& host) {
    readFiles(host, "/proc/", {"devices", "mdstat", "mounts", "partitions", "swaps"});
    readFiles(host, "/proc/scsi/", {"scsi"});
    readFiles(host, "/proc/self/", {"mountinfo"});
    // The drivers of old kernels, each with a file an adapter.
    for (const std::string& driver : namesIn(host, "/proc/scsi/")) {
        const std::string adapters = "/proc/scsi/" + driver + "/";
        for (const std::string& adapter : namesIn(host, adapters)) {
            host.readFile(adapters + adapter);
        }
    }
}

void askProcesses(host::Host& host) {
    linkTarget(host, "/proc/self");
    std::set<std::string> mountsSeen = {linkTarget(host, "/proc/self/ns/mnt")};
    for (const std::string& process : namesIn(host, "/proc/")) {
        if (isNumber(process)) {
            askProcess(host, "/proc/" + process + "/", mountsSeen);
        }
    }
}

}  // namespace cli
