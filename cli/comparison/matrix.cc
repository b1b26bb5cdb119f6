#include "cli/comparison/matrix.h"

#include <algorithm>

#include "cli/base/text.h"

namespace cli::comparison {

std::string Matrix::titleFor(const HostVolumes& host, const std::string& source) const {
    if (host.host.empty()) {
        return source;
    }
    const bool isTaken = std::any_of(m_hosts.begin(), m_hosts.end(), [&](const HostColumn& other) {
        return other.host == host.host;
    });
    return isTaken ? host.host + " (" + (host.time.empty() ? source : host.time) + ")" : host.host;
}

// Two volumes may have one UDID: then their names tell them apart. A volume without a UDID, or with
// another one at another host, is known by its own name.
std::size_t Matrix::placeOf(const HostVolume& volume) const {
    const std::string& udid = identityOf(volume);
    const auto byUdid = udid.empty() ? m_byUdid.end() : m_byUdid.find(udid);
    if (byUdid != m_byUdid.end()) {
        const auto fits = [&](std::size_t place) {
            const std::string& name = m_volumes[place].unitName;
            return name.empty() || volume.unitName.empty() || name == volume.unitName;
        };
        const auto fitting = std::find_if(byUdid->second.begin(), byUdid->second.end(), fits);
        if (fitting != byUdid->second.end()) {
            return *fitting;
        }
    }
    const std::string& name = ownNameOf(volume);
    const auto byName = name.empty() ? m_byOwnName.end() : m_byOwnName.find(name);
    return byName == m_byOwnName.end() ? m_volumes.size() : byName->second;
}

SharedVolume& Matrix::rowOf(const HostVolume& volume) {
    const std::size_t place = placeOf(volume);
    if (place == m_volumes.size()) {
        m_volumes.emplace_back();
    }
    SharedVolume& row = m_volumes[place];
    const std::string& udid = identityOf(volume);
    row.udid = row.udid.empty() ? udid : row.udid;
    row.unitName = row.unitName.empty() ? volume.unitName : row.unitName;
    if (!udid.empty()) {
        std::vector<std::size_t>& places = m_byUdid[udid];
        if (std::find(places.begin(), places.end(), place) == places.end()) {
            places.push_back(place);
        }
    }
    if (!ownNameOf(volume).empty()) {
        m_byOwnName.emplace(ownNameOf(volume), place);
    }
    return row;
}

void Matrix::see(const HostVolume& volume, std::uint32_t host) {
    SharedVolume& row = rowOf(volume);
    if (row.sightings.empty() || row.sightings.back().host != host) {
        row.sightings.emplace_back();
        row.sightings.back().host = host;
        row.sightings.back().name = &*m_texts.insert(nameOf(volume)).first;
        row.sightings.back().sizeKb = volume.sizeKb;
    }
    Sighting& seen = row.sightings.back();
    seen.paths += static_cast<std::uint32_t>(volume.paths.size());
    seen.wellPaths += static_cast<std::uint32_t>(wellPathsOf(volume));
    const std::string& udid = identityOf(volume);
    if (!udid.empty() && udid != row.udid) {
        seen.udid = &*m_texts.insert(udid).first;
    }
}

void Matrix::add(const HostVolumes& host, const std::string& source) {
    const auto place = static_cast<std::uint32_t>(m_hosts.size());
    HostColumn column = {titleFor(host, source), source, host.host, host.time,
                         host.volumes.size(),    0};
    for (const HostVolume& volume : host.volumes) {
        if (identityOf(volume).empty() && ownNameOf(volume).empty()) {
            ++column.leftOut;
        } else {
            see(volume, place);
        }
    }
    m_hosts.push_back(std::move(column));
}

bool Matrix::sharesItsUdid(const SharedVolume& volume) const {
    const auto found = m_byUdid.find(volume.udid);
    return found != m_byUdid.end() && found->second.size() > 1;
}

// "U, at db02: V"; empty with one UDID alone.
std::string Matrix::udidsText(const SharedVolume& volume) const {
    std::vector<std::string> others;
    std::unordered_set<const std::string*> told;
    for (const Sighting& seen : volume.sightings) {
        if (seen.udid != nullptr && told.insert(seen.udid).second) {
            others.push_back("at " + m_hosts[seen.host].title + ": " + *seen.udid);
        }
    }
    return others.empty() ? std::string() : volume.udid + ", " + joined(others, ", ");
}

std::vector<std::string> Matrix::contradictions() const {
    std::vector<std::string> lines;
    std::unordered_set<std::string> told;
    for (const SharedVolume& volume : m_volumes) {
        if (sharesItsUdid(volume) && told.insert(volume.udid).second) {
            std::vector<std::string> names;
            for (const std::size_t place : m_byUdid.at(volume.udid)) {
                names.push_back(m_volumes[place].unitName);
            }
            lines.push_back(std::to_string(names.size()) + " volumes have the UDID " + volume.udid +
                            ": " + joined(names, ", "));
        }
        const std::string udids = udidsText(volume);
        if (!udids.empty()) {
            lines.push_back("the volume " + volume.unitName + " has several UDIDs: " + udids);
        }
    }
    return lines;
}

}  // namespace cli::comparison
