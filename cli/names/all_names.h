#ifndef SCSITOOL_CLI_NAMES_ALL_NAMES_H
#define SCSITOOL_CLI_NAMES_ALL_NAMES_H

#include <string>
#include <vector>

#include "cli/names/catalogue.h"
#include "cli/picture/picture.h"

namespace cli::names {

/// One name of a device and what kind it is of: "node", "address", "link".
struct Name {
    const char* kind;
    std::string text;
};

/// All names of a device: those that the kernel, udev and whoever mounts it gives it, then those of
/// its volume, and the map that it is a path of or the paths that it has. Each `Name::kind` is one
/// of the schema's, which do not change.
std::vector<Name> allNames(Catalogue& catalogue, const picture::Picture& picture,
                           const std::string& node);

}  // namespace cli::names

#endif
