#ifndef SCSITOOL_CLI_COMPARISON_MATRIX_H
#define SCSITOOL_CLI_COMPARISON_MATRIX_H

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cli/comparison/host_volumes.h"

namespace cli::comparison {

/// How one host sees a volume.
struct Sighting {
    std::uint32_t host = 0;  ///< its place among the hosts
    std::uint32_t paths = 0;
    std::uint32_t wellPaths = 0;
    const std::string* name = nullptr;  ///< what it calls the volume
    const std::string* udid = nullptr;  ///< where it is another than the row's
    std::optional<std::uint64_t> sizeKb;
};

/// A volume with those that see it, in the order of the hosts.
struct SharedVolume {
    std::string udid;  ///< of the first host that tells one
    std::string unitName;
    std::vector<Sighting> sightings;
};

/// A host among those that are compared.
struct HostColumn {
    std::string title;   ///< its name, with the source where another has the same
    std::string source;  ///< where it was read
    std::string host;
    std::string time;
    std::size_t volumes = 0;
    std::size_t leftOut = 0;  ///< volumes without an identity that other hosts could know
};

/// Which hosts see which volumes. Of each host only what a row needs is kept, so that hundreds of
/// hosts with thousands of volumes can be added one after the other.
class Matrix {
  public:
    Matrix() = default;
    Matrix(const Matrix&) = delete;
    Matrix& operator=(const Matrix&) = delete;

    void add(const HostVolumes& host, const std::string& source);

    const std::vector<HostColumn>& hosts() const { return m_hosts; }
    /// In the order in which they were seen first.
    const std::vector<SharedVolume>& volumes() const { return m_volumes; }
    /// Tells whether another volume has the same UDID: the names in page 0x83 differ.
    bool sharesItsUdid(const SharedVolume& volume) const;
    /// What cannot be: several volumes under one UDID, one volume under several. A line each.
    std::vector<std::string> contradictions() const;
    bool isSeenByAll(const SharedVolume& volume) const {
        return volume.sightings.size() == m_hosts.size();
    }

  private:
    using Texts = std::unordered_set<std::string>;

    SharedVolume& rowOf(const HostVolume& volume);
    std::size_t placeOf(const HostVolume& volume) const;
    void see(const HostVolume& volume, std::uint32_t host);
    std::string udidsText(const SharedVolume& volume) const;
    std::string titleFor(const HostVolumes& host, const std::string& source) const;

    std::vector<HostColumn> m_hosts;
    std::vector<SharedVolume> m_volumes;
    std::unordered_map<std::string, std::vector<std::size_t>> m_byUdid;
    std::unordered_map<std::string, std::size_t> m_byOwnName;
    Texts m_texts;  // hosts call many volumes alike: each text once
};

}  // namespace cli::comparison

#endif
