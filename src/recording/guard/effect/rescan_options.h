#ifndef SCSITOOL_RECORDING_GUARD_EFFECT_RESCAN_OPTIONS_H
#define SCSITOOL_RECORDING_GUARD_EFFECT_RESCAN_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

namespace recording::guard {

/// What the options of the rescan script make it do to disks that are there.
struct RescanOptions {
    bool removes = false;          ///< takes away what it finds gone or changed
    bool takesAll = false;         ///< takes away, or removes and adds again, what is alive too
    bool flushesMaps = false;      ///< flushes multipath maps without a living path
    bool ignoresRevision = false;  ///< a new firmware revision is no change
    /// From --hosts: first and last host adapter number of each range; empty: all of them.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> hosts;

    bool takesNothing() const { return !removes && !takesAll && !flushesMaps; }
    bool looksAtHost(std::uint64_t host) const;
};

/// Reads the script's options, the words behind its name. Versions of the script differ in what
/// they take; every reading by which one of them removes counts: single letters in a bundle,
/// abbreviations of long options, options behind "--" or behind a word that is none.
RescanOptions parseRescanOptions(const std::vector<std::string>& words);

}  // namespace recording::guard

#endif
