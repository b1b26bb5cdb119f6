#ifndef SCSITOOL_CLI_BASE_STOPWATCH_H
#define SCSITOOL_CLI_BASE_STOPWATCH_H

#include <cstdint>

namespace cli {

/// Runs from its beginning on, whatever is done to the clock of the day.
class Stopwatch {
  public:
    Stopwatch();
    /// Whole seconds.
    unsigned passed() const;

  private:
    std::int64_t m_begun;  // in seconds
};

}  // namespace cli

#endif
