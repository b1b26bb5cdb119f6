// The steps that ask sysfs.
#include "cli/capture/reading.h"
#include "cli/capture/tour.h"

namespace cli {
namespace {

// What the kernel keeps of a SCSI device: its identity, its state and the pages it read itself.
void askScsiAttributes(host::Host& host, const std::string& folder) {
    readFiles(host, folder,
              {"vendor", "model", "rev", "type", "state", "scsi_level", "wwid", "inquiry",
               "vpd_pg0", "vpd_pg80", "vpd_pg83", "access_state", "timeout", "queue_depth"});
}

void askBlockDevice(host::Host& host, const std::string& root, const std::string& name) {
    const std::string folder = root + name + "/";
    linkTarget(host, root + name);
    readFiles(host, folder, {"dev", "size", "ro", "partition", "start", "removable"});
    namesIn(host, folder + "holders/");
    namesIn(host, folder + "slaves/");
    // Not only where the listing has them: what is not there is an answer too.
    readFiles(
        host, folder,
        {"dm/name", "dm/uuid", "dm/suspended", "md/array_state", "md/level", "loop/backing_file"});
    linkTarget(host, folder + "device");
    askScsiAttributes(host, folder + "device/");
    for (const std::string& entry : namesIn(host, folder)) {
        if (entry.compare(0, name.size(), name) == 0) {
            askBlockDevice(host, folder, entry);
        }
    }
}

// Everything of a class, each with these attributes.
void askClass(host::Host& host, const std::string& folder,
              std::initializer_list<const char*> attributes) {
    for (const std::string& name : namesIn(host, folder)) {
        linkTarget(host, folder + name);
        readFiles(host, folder + name + "/", attributes);
    }
}

}  // namespace

void askBlockDevices(host::Host& host) {
    for (const std::string root : {"/sys/class/block/", "/sys/block/"}) {
        for (const std::string& name : namesIn(host, root)) {
            askBlockDevice(host, root, name);
        }
    }
}

void askScsiDevices(host::Host& host) {
    const std::string devices = "/sys/class/scsi_device/";
    for (const std::string& address : namesIn(host, devices)) {
        const std::string folder = devices + address + "/device/";
        linkTarget(host, devices + address);
        askScsiAttributes(host, folder);
        namesIn(host, folder);
        namesIn(host, folder + "block/");
        const std::string generic = folder + "scsi_generic/";
        for (const std::string& node : namesIn(host, generic)) {
            readFiles(host, (generic + node).append("/"), {"dev"});
        }
        // It may only be written: whether it is there is all that can be asked.
        host.writeAccess(folder + "delete");
    }
    const std::string adapters = "/sys/class/scsi_host/";
    for (const std::string& adapter : namesIn(host, adapters)) {
        linkTarget(host, adapters + adapter);
        readFiles(host, adapters + adapter + "/",
                  {"proc_name", "state", "unique_id", "host_sas_address"});
        host.writeAccess(adapters + adapter + "/scan");
    }
    askClass(host, "/sys/class/fc_host/", {"port_name", "node_name", "port_state", "speed"});
    askClass(host, "/sys/class/fc_remote_ports/",
             {"port_name", "node_name", "port_state", "roles"});
    askClass(host, "/sys/class/sas_device/", {"sas_address"});
    askClass(host, "/sys/class/iscsi_host/", {"initiatorname", "ipaddress", "hwaddress"});
    askClass(host, "/sys/class/iscsi_session/",
             {"targetname", "initiatorname", "state", "recovery_tmo", "tpgt"});
    askClass(host, "/sys/class/iscsi_connection/",
             {"address", "port", "persistent_address", "persistent_port"});
}

void askTargets(host::Host& host) {
    const std::string cores = "/sys/kernel/config/target/core/";
    for (const std::string& core : namesIn(host, cores)) {
        const std::string folder = cores + core + "/";
        for (const std::string& device : namesIn(host, folder)) {
            readFiles(host, (folder + device).append("/"),
                      {"enable", "udev_path", "wwn/vpd_unit_serial"});
        }
    }
    const std::string pools = "/sys/fs/btrfs/";
    for (const std::string& pool : namesIn(host, pools)) {
        namesIn(host, pools + pool + "/devices/");
    }
}

}  // namespace cli
