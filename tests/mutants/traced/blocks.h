#pragma once

#include <cstdint>
#include <vector>

namespace traced {

// From now on each block of traced code that runs is noted; the processes that this one starts note
// theirs as well.
void watch();

// The blocks that ran since the last call, as offsets in the program, each once.
std::vector<std::uint32_t> take();

}  // namespace traced
