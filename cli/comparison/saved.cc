#include "cli/comparison/saved.h"

#include <algorithm>
#include <map>

#include "cli/base/failure.h"
#include "cli/comparison/json_reader.h"

namespace cli::comparison {
namespace {

/// The members of an entry that comparisons need, whatever list it is of.
struct Entry {
    std::string host;
    std::string time;
    std::string name;
    std::string udid;
    std::string identity;
    std::string lastKnownUdid;
    std::string unitName;
    std::string revision;
    std::string address;
    std::string state;
    std::optional<std::uint64_t> sizeKb;
    std::optional<bool> lives;
    std::vector<Entry> devices;
    bool hasDevices = false;
};

Entry readEntry(JsonReader& reader);

std::vector<Entry> readEntries(JsonReader& reader) {
    std::vector<Entry> entries;
    reader.readArray([&] { entries.push_back(readEntry(reader)); });
    return entries;
}

std::string* textOf(Entry& entry, const std::string& key) {
    static const std::map<std::string, std::string Entry::*> kTexts = {
        {"host", &Entry::host},
        {"time", &Entry::time},
        {"name", &Entry::name},
        {"udid", &Entry::udid},
        {"identity", &Entry::identity},
        {"last_known_udid", &Entry::lastKnownUdid},
        {"logical_unit_name", &Entry::unitName},
        {"revision", &Entry::revision},
        {"hctl", &Entry::address},
        {"state", &Entry::state},
    };
    const auto found = kTexts.find(key);
    return found == kTexts.end() ? nullptr : &(entry.*(found->second));
}

void readMember(JsonReader& reader, const std::string& key, Entry& entry) {
    if (std::string* const text = textOf(entry, key)) {
        *text = reader.readText();
    } else if (key == "size_kb") {
        entry.sizeKb = reader.readNumber();
    } else if (key == "lives") {
        entry.lives = reader.readFlag();
    } else if (key == "devices") {
        entry.devices = readEntries(reader);
        entry.hasDevices = true;
    } else {
        reader.skip();
    }
}

Entry readEntry(JsonReader& reader) {
    Entry entry;
    reader.readObject([&](const std::string& key) { readMember(reader, key, entry); });
    return entry;
}

bool isDisk(const Entry& device) {
    return !device.address.empty() || device.name.compare(0, 7, "/dev/sd") == 0;
}

void identify(const Entry& entry, HostVolume& volume) {
    volume.udid = entry.udid.empty() ? entry.lastKnownUdid : entry.udid;
    volume.isPathUdid = entry.identity == "path";
    volume.sizeKb = volume.sizeKb ? volume.sizeKb : entry.sizeKb;
}

void name(const Entry& entry, HostVolume& volume) {
    volume.unitName = volume.unitName.empty() ? entry.unitName : volume.unitName;
    volume.revision = volume.revision.empty() ? entry.revision : volume.revision;
}

void addDevice(const Entry& device, HostVolume& volume) {
    if (isDisk(device)) {
        // What older documents do not tell, and what was not known of a path, its state tells.
        const bool isWell = device.state == "ok" || device.state == "standby";
        volume.paths.push_back({device.name, device.address, device.lives.value_or(isWell)});
    } else {
        volume.maps.push_back(device.name);
    }
    name(device, volume);
}

HostVolume volumeOf(const Entry& entry) {
    HostVolume volume;
    identify(entry, volume);
    name(entry, volume);
    for (const Entry& device : entry.devices) {
        addDevice(device, volume);
    }
    return volume;
}

// Nodes of /dev/mapper that are no disks stand in the device map, too.
bool isStorage(const Entry& device) {
    return device.state != "no SCSI disk";
}

/// Collects what a text tells, host by host.
class Collector {
  public:
    // A document, or a line of one entry.
    void take(JsonReader& reader) {
        Entry top;
        std::vector<Entry> volumes;
        std::vector<Entry> unidentified;
        bool isDocument = false;
        bool hasVolumes = false;
        reader.readObject([&](const std::string& key) {
            if (key == "volumes") {
                volumes = readEntries(reader);
                hasVolumes = true;
            } else if (key == "unidentified") {
                unidentified = readEntries(reader);
            } else {
                isDocument = isDocument || key == "scsitool";
                readMember(reader, key, top);
            }
        });
        begin(top);
        if (!isDocument) {
            takeLine(top);
        } else if (hasVolumes) {
            takeVolumes(volumes);
        } else if (top.hasDevices) {
            takeDevices(top.devices);
            takeDevices(unidentified);
        } else {
            m_hasOthers = true;
        }
    }

    bool hasOthers() const { return m_hasOthers; }
    std::vector<HostVolumes> hosts() { return std::move(m_hosts); }

  private:
    void begin(const Entry& top) {
        if (m_hosts.empty() || m_hosts.back().host != top.host || m_hosts.back().time != top.time) {
            m_hosts.push_back({top.host, top.time, {}});
            m_byIdentity.clear();
        }
    }

    void takeLine(const Entry& line) {
        if (line.hasDevices) {
            takeVolumes({line});
        } else if (!line.name.empty()) {
            takeDevices({line});
        } else {
            m_hasOthers = true;
        }
    }

    void takeVolumes(const std::vector<Entry>& volumes) {
        for (const Entry& entry : volumes) {
            m_hosts.back().volumes.push_back(volumeOf(entry));
        }
    }

    // The devices of one UDID that name themselves alike are a volume.
    void takeDevices(const std::vector<Entry>& devices) {
        std::vector<HostVolume>& volumes = m_hosts.back().volumes;
        for (const Entry& device : devices) {
            if (!isStorage(device)) {
                continue;
            }
            const std::string& udid = device.udid.empty() ? device.lastKnownUdid : device.udid;
            const std::string key = udid.empty() ? device.name : udid + '\n' + device.unitName;
            const auto [known, isNew] = m_byIdentity.emplace(key, volumes.size());
            if (isNew) {
                volumes.emplace_back();
            }
            identify(device, volumes[known->second]);
            addDevice(device, volumes[known->second]);
        }
    }

    std::vector<HostVolumes> m_hosts;
    std::map<std::string, std::size_t> m_byIdentity;  // of the last host's devices
    bool m_hasOthers = false;
};

[[noreturn]] void refuse(const std::string& text, const std::string& name,
                         const UnexpectedJson& error) {
    const std::string before = text.substr(0, error.offset());
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    throw UsageError(name + ": " + std::to_string(line) + ":" + std::to_string(column) + ": " +
                     error.what());
}

}  // namespace

std::vector<HostVolumes> readSaved(const std::string& text, const std::string& name) {
    Collector collector;
    try {
        JsonReader reader(text);
        while (!reader.isAtEnd()) {
            collector.take(reader);
        }
    } catch (const UnexpectedJson& error) {
        refuse(text, name, error);
    }
    std::vector<HostVolumes> hosts = collector.hosts();
    if (hosts.empty() || collector.hasOthers()) {
        throw UsageError(name +
                         ": expected a recorded host, or what 'scsitool volumes' or 'scsitool "
                         "devices' prints with --json or --ndjson");
    }
    return hosts;
}

bool isRecordedHost(const std::string& text, const std::string& name) {
    try {
        JsonReader reader(text);
        return !reader.isAtEnd() && reader.finds("format");
    } catch (const UnexpectedJson& error) {
        refuse(text, name, error);
    }
}

}  // namespace cli::comparison
