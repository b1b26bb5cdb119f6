#include "cli/view/map_lines.h"

#include "cli/hosts/watched_host.h"

namespace cli::view {
namespace {

constexpr int kTimeLimitSeconds = 10;

}  // namespace

MapLines multipathLinesIn(const std::vector<std::string>& lines) {
    const std::string target = " multipath ";
    MapLines maps;
    for (const std::string& line : lines) {
        const std::size_t name = line.find(": ");
        const std::size_t start = name == std::string::npos ? name : line.find(target, name);
        if (start != std::string::npos) {
            maps[line.substr(0, name)] = line.substr(start + target.size());
        }
    }
    return maps;
}

MapLines askDmsetup(host::Host& host, const std::string& question, std::string& failure) {
    const std::string command = "/usr/sbin/dmsetup " + question + " --target multipath";
    const CommandEffect ran = effectOf(command, host.runCommand(command, kTimeLimitSeconds));
    if (succeeded(ran)) {
        return multipathLinesIn(ran.result.lines);
    }
    if (!couldNotStart(ran)) {
        failure = endingText(ran);
    }
    return {};
}

std::string mapNameOf(const picture::Device& map) {
    return map.name.substr(map.name.rfind('/') + 1);
}

}  // namespace cli::view
