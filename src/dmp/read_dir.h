#ifndef SCSITOOL_DMP_READ_DIR_H
#define SCSITOOL_DMP_READ_DIR_H

#include <string>
#include <vector>

namespace host {
class Host;
}

namespace dmp {

/// Every entry of a directory whose name contains the pattern (an empty one matches all, "." and
/// ".." too), as directory followed by name, in the operating system's order. A directory that
/// cannot be opened has no entries; a read that fails ends the list and is told on standard
/// output.
std::vector<std::string> readDir(host::Host& host, const std::string& directory,
                                 const std::string& pattern);

}  // namespace dmp

#endif
