#ifndef SCSITOOL_CLI_BASE_MEMORY_WATCH_H
#define SCSITOOL_CLI_BASE_MEMORY_WATCH_H

#include <new>

namespace cli {

/// Knows whether memory ran out while it exists, in any thread of the process. The library promises
/// of several operations that they throw nothing: they end early, and their caller is not told.
class MemoryWatch {
  public:
    MemoryWatch();
    ~MemoryWatch();
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

    bool hasRunOut() const;

  private:
    const std::new_handler m_former;
};

}  // namespace cli

#endif
