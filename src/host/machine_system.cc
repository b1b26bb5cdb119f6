#include <sys/sem.h>
#include <sys/utsname.h>
#include <unistd.h>

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
    std::vector<sembuf> raw;
    for (const SemaphoreOperation& operation : operations) {
        const int flags = (operation.undo ? SEM_UNDO : 0) | (operation.noWait ? IPC_NOWAIT : 0);
        raw.push_back({0, operation.operation, static_cast<short>(flags)});
    }
    int result = 0;
    do {
        result = ::semop(identifier, raw.data(), raw.size());
    } while (mayRetry(result));
    return negatedErrno(result);
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
