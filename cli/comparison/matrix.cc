#include "cli/comparison/matrix.h"

#include <algorithm>

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

// A volume without a UDID, or with another one at another host, is known by its own name.
SharedVolume& Matrix::rowOf(const HostVolume& volume) {
    const std::string& udid = identityOf(volume);
    const auto byUdid = udid.empty() ? m_byUdid.end() : m_byUdid.find(udid);
    const auto byName =
        volume.unitName.empty() ? m_byUnitName.end() : m_byUnitName.find(volume.unitName);
    const std::size_t place = byUdid != m_byUdid.end()       ? byUdid->second
                              : byName != m_byUnitName.end() ? byName->second
                                                             : m_volumes.size();
    if (place == m_volumes.size()) {
        m_volumes.emplace_back();
    }
    SharedVolume& row = m_volumes[place];
    row.udid = row.udid.empty() ? udid : row.udid;
    row.unitName = row.unitName.empty() ? volume.unitName : row.unitName;
    if (!udid.empty()) {
        m_byUdid.emplace(udid, place);
    }
    if (!volume.unitName.empty()) {
        m_byUnitName.emplace(volume.unitName, place);
    }
    return row;
}

void Matrix::add(const HostVolumes& host, const std::string& source) {
    const auto place = static_cast<std::uint32_t>(m_hosts.size());
    HostColumn column = {titleFor(host, source), source, host.host, host.time,
                         host.volumes.size(),    0};
    for (const HostVolume& volume : host.volumes) {
        if (identityOf(volume).empty() && volume.unitName.empty()) {
            ++column.leftOut;
            continue;
        }
        SharedVolume& row = rowOf(volume);
        if (row.sightings.empty() || row.sightings.back().host != place) {
            row.sightings.push_back(
                {place, 0, 0, &*m_names.insert(nameOf(volume)).first, volume.sizeKb});
        }
        row.sightings.back().paths += static_cast<std::uint32_t>(volume.paths.size());
        row.sightings.back().wellPaths += static_cast<std::uint32_t>(wellPathsOf(volume));
    }
    m_hosts.push_back(std::move(column));
}

}  // namespace cli::comparison
