#include "recording/capture/open_descriptors.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <utility>

namespace recording {
namespace {

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// "/proc/12/fd" with what lies behind it, if anything.
bool isDescriptorPath(const std::string& path) {
    constexpr std::size_t kProcess = 6;  // "/proc/"
    const std::size_t slash = path.find('/', kProcess);
    return startsWith(path, "/proc/") && slash != std::string::npos &&
           (path.compare(slash, 4, "/fd/") == 0 || path.substr(slash) == "/fd");
}

// Terminals, memory and the like have no disk behind them.
bool isOther(const std::string& target) {
    if (!startsWith(target, "/dev/")) {
        return true;
    }
    const std::string name = target.substr(5);
    for (const char* const start :
         {"null",    "zero", "full", "random", "urandom", "tty",       "pts/",   "ptmx",
          "console", "shm/", "fuse", "kmsg",   "rtc",     "input/",    "kvm",    "net/",
          "vhost",   "dri/", "snd/", "log",    "fd/",     "hugepages", "mqueue/"}) {
        if (startsWith(name, start)) {
            return true;
        }
    }
    return false;
}

template <class Map, class Test>
void eraseIf(Map& map, Test test) {
    for (auto entry = map.begin(); entry != map.end();) {
        entry = test(*entry) ? map.erase(entry) : std::next(entry);
    }
}

// The number in "/proc/12/comm" or "/proc/12"; empty elsewhere.
std::string processOf(const std::string& path) {
    constexpr std::size_t kBegin = 6;
    if (!startsWith(path, "/proc/")) {
        return {};
    }
    const std::string name = path.substr(kBegin, path.find('/', kBegin) - kBegin);
    return name.find_first_not_of("0123456789") == std::string::npos ? name : "";
}

void dropOtherProcesses(RecordedHostData& data) {
    std::set<std::string> kept;
    for (const auto& [path, target] : data.links) {
        if (isDescriptorPath(path)) {
            kept.insert(processOf(path));
        }
    }
    for (const auto& [path, file] : data.files) {
        if (path.size() > 10 && path.compare(path.size() - 10, 10, "/mountinfo") == 0) {
            kept.insert(processOf(path));
        }
    }
    const auto isOfAnother = [&](const auto& entry) {
        const std::string process = processOf(entry.first);
        return !process.empty() && kept.count(process) == 0;
    };
    eraseIf(data.links, isOfAnother);
    eraseIf(data.files, isOfAnother);
    eraseIf(data.directories, isOfAnother);
    eraseIf(data.directoryErrors, isOfAnother);
    const auto all = data.directories.find("/proc");
    if (all != data.directories.end()) {
        std::vector<std::string>& names = all->second;
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [&](const std::string& name) {
                                       return isOfAnother(std::make_pair("/proc/" + name, 0));
                                   }),
                    names.end());
    }
}

}  // namespace

void keepOpenDevices(RecordedHostData& data) {
    eraseIf(data.links, [&](const auto& link) {
        // A node of a disk may have been made anywhere.
        const auto node = data.devices.find(link.first);
        const bool isBlock = node != data.devices.end() &&
                             node->second.number.kind == host::DeviceNumber::Kind::kBlock;
        return isDescriptorPath(link.first) && !isBlock && isOther(link.second);
    });
    for (auto& [path, names] : data.directories) {
        if (isDescriptorPath(path)) {
            const std::string folder = path.back() == '/' ? path : path + "/";
            names.erase(std::remove_if(names.begin(), names.end(),
                                       [&](const std::string& name) {
                                           return name != "." && name != ".." &&
                                                  data.links.count(folder + name) == 0;
                                       }),
                        names.end());
        }
    }
    const auto isOrphan = [&](const std::string& path, const std::string& part) {
        const std::size_t at = path.find(part);
        return startsWith(path, "/proc/") && at != std::string::npos &&
               data.links.count(path.substr(0, at) + "/fd/" + path.substr(at + part.size())) == 0;
    };
    eraseIf(data.files, [&](const auto& file) { return isOrphan(file.first, "/fdinfo/"); });
    eraseIf(data.devices, [&](const auto& device) { return isOrphan(device.first, "/fd/"); });
    dropOtherProcesses(data);
}

}  // namespace recording
