#include "cli/capture/reading.h"

#include <algorithm>

namespace cli {

std::vector<std::string> namesIn(host::Host& host, const std::string& directory) {
    std::vector<std::string> names = host.listDirectory(directory).names;
    names.erase(std::remove_if(names.begin(), names.end(),
                               [](const std::string& name) { return name == "." || name == ".."; }),
                names.end());
    return names;
}

void readFiles(host::Host& host, const std::string& directory,
               std::initializer_list<const char*> names) {
    for (const char* const name : names) {
        host.readFile(directory + name);
    }
}

std::string firstLine(host::Host& host, const std::string& path) {
    const std::string content = host.readFile(path).content;
    return content.substr(0, content.find('\n'));
}

std::string linkTarget(host::Host& host, const std::string& path) {
    std::string target;
    return host.readLink(path, target) < 0 ? "" : target;
}

}  // namespace cli
