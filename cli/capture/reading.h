#ifndef SCSITOOL_CLI_CAPTURE_READING_H
#define SCSITOOL_CLI_CAPTURE_READING_H

#include <initializer_list>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace cli {

/// The names in a directory but for "." and "..".
std::vector<std::string> namesIn(host::Host& host, const std::string& directory);

/// Reads files of a directory, which ends in "/"; what they hold is for whoever listens.
void readFiles(host::Host& host, const std::string& directory,
               std::initializer_list<const char*> names);

/// The first line of a file; empty when it cannot be read.
std::string firstLine(host::Host& host, const std::string& path);

/// Asks where a link points to; empty when it is none.
std::string linkTarget(host::Host& host, const std::string& path);

}  // namespace cli

#endif
