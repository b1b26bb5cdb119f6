#ifndef SCSITOOL_TOOLS_LINE_READER_H
#define SCSITOOL_TOOLS_LINE_READER_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {
struct ReadResult;
}

namespace tools {

/// The texts that successive calls of fgets(3) with a buffer of `size` bytes give for a file of
/// this content: a piece ends behind its line feed, which it keeps, or after `size` - 1 bytes. A
/// NUL cuts the piece it stands in, as it does in a C text; the line goes on behind it. Of a file
/// whose read failed these are the pieces read by then; what the failure cut short is none.
std::vector<std::string> fgetsLines(const host::ReadResult& file, std::size_t size);

/// The same for a reader that asks for the end of the file before it reads and keeps the cleared
/// buffer of the read that meets it: an empty last text follows when the content is empty or ends
/// with a line feed or a full piece. A file whose read failed has no end to meet.
std::vector<std::string> fgetsPieces(const host::ReadResult& file, std::size_t size);

/// Hands the same texts over as they stand in the file's content.
void forEachPiece(const host::ReadResult& file, std::size_t size,
                  const std::function<void(std::string_view)>& use);

}  // namespace tools

#endif
