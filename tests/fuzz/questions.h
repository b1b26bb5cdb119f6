#ifndef SCSITOOL_TESTS_FUZZ_QUESTIONS_H
#define SCSITOOL_TESTS_FUZZ_QUESTIONS_H

#include <cstddef>
#include <string>
#include <vector>

namespace fuzz {

using Arguments = std::vector<std::string>;

/// Commands that ask a host for nearly all that the command asks of one. One device at a time is
/// asked, without a deadline: no process is forked. `which` is taken from the input.
inline Arguments hostCommand(std::size_t which) {
    static const std::vector<Arguments> commands = {
        {"volumes", "--paths"},
        {"devices"},
        {"doctor", "--json"},
        {"disks"},
        {"bus", "--json"},
        {"find", "/dev/sda", "--json"},
        {"prune", "--dry-run"},
        {"remove-dead", "--lun0"},
        {"wwpn", "--json"},
        {"volumes", "--json"},
        {"inquiry", "/dev/sda", "--json"},
        {"explain", "/dev/sda", "--json"},
        {"explain", "/dev/sda"},
        {"inquiry", "/dev/sda"},
        {"doctor"},
        {"disks", "--json"},
        {"rescan", "--changes", "--json"},
        {"remove-stale", "-r"},
        {"flush-multipath"},
        {"remove", "/dev/mapper/mpatha"},
        {"remove-address", "2:0:0:5"},
        {"iscsi", "iqn"},
        {"iscsi", "discover", "10.0.0.1:3260"},
        {"iscsi", "logout", "iqn.2026-01.org.acme:a"},
        {"iscsi", "rescan", "--changes"},
        {"report"},
        {"devices", "--json", "--trace", "9"},
        {"udid", "/dev/sda", "--rescan-if-missing"},
        {"prune", "--json"},
        {"remove-dead", "--dry-run", "--json"},
        {"inquiry", "/dev/sda", "--hex"},
        {"validate", "/dev/sda", "--taq"},
    };
    Arguments arguments = {"--jobs", "1", "--deadline", "0"};
    const Arguments& chosen = commands[which % commands.size()];
    arguments.insert(arguments.end(), chosen.begin(), chosen.end());
    return arguments;
}

}  // namespace fuzz

#endif
