#ifndef SCSITOOL_TESTS_FUZZ_HOSTS_COMMAND_H
#define SCSITOOL_TESTS_FUZZ_HOSTS_COMMAND_H

#include <cstdint>
#include <string>
#include <vector>

#include "scsitool/host/host.h"

namespace fuzz {

/// Runs the command on a host that stands for the machine and holds its output and its exit status
/// to what holds for every run. Gives the exit status.
int runHeld(const std::vector<std::string>& arguments, host::Host& live);

/// A text as a file that the command reads, under a path of this process alone.
class MemoryFile {
  public:
    explicit MemoryFile(const std::string& text);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    std::string path() const;

  private:
    int m_descriptor;
};

}  // namespace fuzz

#endif
