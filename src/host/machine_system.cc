#include <sys/sem.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <ctime>

#include "host/machine.h"
#include "host/machine_paths.h"
#include "host/retrying.h"

namespace host::machine {

int openSemaphore(int key, int count, int flags) {
    return negatedErrno(::semget(key, count, flags));
}

int operateSemaphore(int identifier, const std::vector<SemaphoreOperation>& operations) {
    constexpr std::size_t kMostOperations = 500;  // SEMOPM
    if (operations.size() > kMostOperations) {
        return -E2BIG;
    }
    // On the stack: a lock is given back by a destructor, which an allocation must not fail.
    std::array<sembuf, kMostOperations> raw;
    std::transform(
        operations.begin(), operations.end(), raw.begin(), [](const SemaphoreOperation& operation) {
            const int flags = (operation.undo ? SEM_UNDO : 0) | (operation.noWait ? IPC_NOWAIT : 0);
            return sembuf{0, operation.operation, static_cast<short>(flags)};
        });
    int result = 0;
    do {
        result = ::semop(identifier, raw.data(), operations.size());
    } while (mayRetry(result));
    return negatedErrno(result);
}

int semaphoreUser(int identifier) {
    return negatedErrno(::semctl(identifier, 0, GETPID));
}

std::string kernelRelease() {
    utsname names;
    return ::uname(&names) == 0 ? names.release : "";
}

int hostName(std::string& name) {
    char buffer[HOST_NAME_MAX + 1] = {};
    if (::gethostname(buffer, sizeof buffer) != 0) {
        return -errno;
    }
    name = buffer;
    return 0;
}

void sleepSeconds(unsigned seconds) {
    timespec left = {static_cast<time_t>(seconds), 0};
    while (mayRetry(::nanosleep(&left, &left))) {
    }
}

}  // namespace host::machine
