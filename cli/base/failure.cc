#include "cli/base/failure.h"

#include <new>

namespace cli {

std::string unforeseen(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
        return "out of memory; free some, or name one device where the command takes a name";
    }
    return std::string("stopped by an error that it does not know (") + error.what() +
           "); this is a defect: please report it with the output of the same command with "
           "--trace 6";
}

}  // namespace cli
