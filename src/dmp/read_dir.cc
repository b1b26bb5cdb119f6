#include "dmp/read_dir.h"

#include <cstdio>

#include "scsitool/host/host.h"

namespace dmp {

std::vector<std::string> readDir(host::Host& host, const std::string& directory,
                                 const std::string& pattern) {
    std::vector<std::string> paths;
    const host::DirectoryListing listing = host.listDirectory(directory);
    if (listing.openError != 0) {
        return paths;
    }
    for (const std::string& name : listing.names) {
        if (name.find(pattern) != std::string::npos) {
            paths.push_back(directory + name);
        }
    }
    if (listing.readError != 0) {
        // Standard output is meant: callers tell this apart from what stands in the trace log.
        std::printf("error reading directory %s", directory.c_str());
    }
    return paths;
}

}  // namespace dmp
