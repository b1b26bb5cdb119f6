#ifndef SCSITOOL_TESTS_FAULTS_FAULT_H
#define SCSITOOL_TESTS_FAULTS_FAULT_H

#include <cstddef>
#include <string>

namespace faults {

/// One call that failed: what it was ("SG_IO"), of which path or command, and in which way.
struct Fault {
    std::string call;  ///< empty while nothing has failed
    std::string of;
    std::size_t way = 0;
    bool isOutOfMemory = false;

    bool happened() const { return !call.empty(); }
};

/// The call of a fault that is no call at the seam: an allocation of the library or the command.
constexpr const char* kAllocation = "operator new";

/// The same for people: "SG_IO of /dev/sdb, way 1".
std::string textOf(const Fault& fault);

}  // namespace faults

#endif
