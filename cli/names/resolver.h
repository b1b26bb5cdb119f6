#ifndef SCSITOOL_CLI_NAMES_RESOLVER_H
#define SCSITOOL_CLI_NAMES_RESOLVER_H

#include <string>

#include "cli/common/context.h"
#include "cli/names/catalogue.h"

namespace cli::names {

/// The node of the device that a word names, for a command that reads. A node as the library names
/// it stays as it is, and nothing is asked for it; so does a path that nothing is known of, which
/// the operation then refuses with its reason. Of one volume its map is taken, else its first path.
/// Disks are asked only for a word that the kernel has no name like, which may be (part of) a UDID.
/// Throws UsageError for a word that several volumes could be meant by, and OperationError for one
/// that names nothing.
std::string deviceNamed(const Context& context, const std::string& word);

struct NamedDisk {
    std::string node;
    picture::ScsiAddress address;
};

/// The one disk that a word names, for a command that takes it away: what could be several is
/// refused, and so is a volume of several disks. The same exceptions.
NamedDisk diskNamed(const Context& context, const std::string& word);

/// The same of the one map of device-mapper. A path that no map is known by stays as it is.
std::string mapNamed(const Context& context, const std::string& word);

}  // namespace cli::names

#endif
