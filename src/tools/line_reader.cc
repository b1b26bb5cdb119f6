#include "tools/line_reader.h"

#include <algorithm>
#include <string_view>

#include "scsitool/host/host.h"
#include "scsitool/kit/bounded_string.h"

namespace tools {
namespace {

// Where the piece that begins at `start` ends: behind a line feed, at `most` bytes or at the end.
std::size_t pieceEnd(const std::string& content, std::size_t start, std::size_t most) {
    const std::size_t limit = start + std::min(most, content.size() - start);
    const std::size_t feed = std::string_view(content).substr(0, limit).find('\n', start);
    return feed == std::string_view::npos ? limit : feed + 1;
}

// Gives whether the last read stopped short of noticing the end of the file.
template <class Use>
bool handOver(const host::ReadResult& file, std::size_t size, const Use& use) {
    const std::string& content = file.content;
    const std::size_t most = std::max<std::size_t>(size, 2) - 1;
    bool endUnseen = true;
    std::size_t start = 0;
    while (start < content.size()) {
        const std::size_t end = pieceEnd(content, start, most);
        const char* const bytes = content.data() + start;
        endUnseen = content[end - 1] == '\n' || end - start == most;
        if (!endUnseen && file.readError != 0) {
            // "Lun: 1" of what would have been "Lun: 12" is another address.
            break;
        }
        use(std::string_view(bytes, qzfi_pdk_4_4::V_strnlen(bytes, end - start)));
        start = end;
    }
    return endUnseen;
}

}  // namespace

std::vector<std::string> fgetsLines(const host::ReadResult& file, std::size_t size) {
    std::vector<std::string> lines;
    handOver(file, size, [&lines](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

std::vector<std::string> fgetsPieces(const host::ReadResult& file, std::size_t size) {
    std::vector<std::string> pieces;
    forEachPiece(file, size, [&pieces](std::string_view piece) { pieces.emplace_back(piece); });
    return pieces;
}

void forEachPiece(const host::ReadResult& file, std::size_t size,
                  const std::function<void(std::string_view)>& use) {
    if (handOver(file, size, use) && file.readError == 0) {
        use({});
    }
}

}  // namespace tools
