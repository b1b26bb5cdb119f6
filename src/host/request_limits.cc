#include "scsitool/host/request_limits.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace host {
namespace {

constexpr std::size_t kCommandHeader = 8;
// The longest command descriptor block but for the variable-length ones.
constexpr std::size_t kLongestCdb = 16;
constexpr std::size_t kLongestSense = 255;
// What an allocation length of three bytes can ask for.
constexpr std::size_t kLargestResponse = std::size_t{16} << 20;

}  // namespace

int checkRequest(const CommandBuffer& buffer) {
    std::uint32_t lengths[2] = {0, 0};
    std::memcpy(lengths, buffer.data(), sizeof lengths);
    const std::size_t room = buffer.size() - kCommandHeader;
    return lengths[0] > room - kLongestCdb || lengths[1] > room ? -EINVAL : 0;
}

int checkRequest(const SgIoRequest& request) {
    const bool fits = !request.cdb.empty() && request.cdb.size() <= kLongestCdb &&
                      request.sense.size() <= kLongestSense &&
                      request.data.size() <= kLargestResponse;
    return fits ? 0 : -EINVAL;
}

}  // namespace host
