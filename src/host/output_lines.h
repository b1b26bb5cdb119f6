#ifndef SCSITOOL_HOST_OUTPUT_LINES_H
#define SCSITOOL_HOST_OUTPUT_LINES_H

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// Gathers a command's output, cut into lines at every line feed (which is dropped). Any other
/// byte is kept as it is. A last line needs no line feed. What exceeds a limit is dropped, so that
/// endless output takes bounded memory; an empty line costs no byte but a line.
class OutputLines {
  public:
    static constexpr std::size_t kMostBytes = std::size_t{256} << 20;
    static constexpr std::size_t kMostLines = std::size_t{16} << 20;

    explicit OutputLines(std::size_t mostBytes = kMostBytes, std::size_t mostLines = kMostLines)
        : m_bytesLeft(mostBytes), m_mostLines(mostLines) {}

    /// Takes the next piece of output; pieces may end anywhere.
    void append(const char* bytes, std::size_t count);
    /// Hands the lines over; the object is then empty.
    std::vector<std::string> take();

  private:
    std::size_t m_bytesLeft;
    std::size_t m_mostLines;
    bool m_lineIsOpen = false;
    std::vector<std::string> m_lines;
};

}  // namespace host

#endif
