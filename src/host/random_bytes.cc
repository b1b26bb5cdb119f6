#include "scsitool/host/random_bytes.h"

#include <sys/random.h>

#include <cerrno>

namespace host {

int fillRandom(std::uint8_t* bytes, std::size_t count) {
    constexpr std::size_t kMost = 256;  // what comes in one piece
    if (count > kMost) {
        return -EINVAL;
    }
    ssize_t got = 0;
    do {
        got = ::getrandom(bytes, count, 0);
    } while (got < 0 && errno == EINTR);
    return got < 0 ? -errno : 0;
}

}  // namespace host
