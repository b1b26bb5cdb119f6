#ifndef SCSITOOL_TOOLS_LETTERS_H
#define SCSITOOL_TOOLS_LETTERS_H

#include <string>

namespace tools {

/// Makes the letters of a text large, by the C library's locale.
void makeUpper(std::string& text);

}  // namespace tools

#endif
