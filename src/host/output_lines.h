#ifndef SCSITOOL_HOST_OUTPUT_LINES_H
#define SCSITOOL_HOST_OUTPUT_LINES_H

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// Gathers a command's output, cut into lines at every line feed (which is dropped). Any other
/// byte is kept as it is. A last line needs no line feed.
///
/// What is kept never takes more memory than `mostMemory` bytes, each line's own overhead and the
/// moments when memory grows included: empty lines without end are bounded as one line without end
/// is. The first byte that does not fit and all that comes after it are dropped.
class OutputLines {
  public:
    static constexpr std::size_t kMostMemory = std::size_t{64} << 20;

    explicit OutputLines(std::size_t mostMemory = kMostMemory) : m_left(mostMemory) {}

    /// Takes the next piece of output; pieces may end anywhere.
    void append(const char* bytes, std::size_t count);
    /// Hands the lines over; the object is then empty, and takes as much as is left.
    std::vector<std::string> take();

  private:
    bool beginLine();
    bool extendLine(const char* bytes, std::size_t count);

    std::size_t m_left;
    bool m_isFull = false;
    bool m_lineIsOpen = false;
    std::vector<std::string> m_lines;
};

}  // namespace host

#endif
