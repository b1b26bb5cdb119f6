#ifndef SCSITOOL_TESTS_ALLOCATION_FAILURE_H
#define SCSITOOL_TESTS_ALLOCATION_FAILURE_H

#include <cstddef>

namespace test {

/// Lets the allocation behind the next `before` ones of this thread fail, once, for as long as it
/// exists. In a build with the address sanitizer, which has allocations of its own, none fails,
/// unless the program is built with SCSITOOL_OWN_ALLOCATIONS: it gives those up.
class AllocationFailure {
  public:
    explicit AllocationFailure(std::size_t before);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    /// Tells whether the allocation of the last one was reached and has failed.
    static bool happened();
};

/// Lets no allocation of this thread fail, and counts none, for as long as it exists.
class AllocationPause {
  public:
    AllocationPause();
    ~AllocationPause();
    AllocationPause(const AllocationPause&) = delete;
    AllocationPause& operator=(const AllocationPause&) = delete;
};

/// How many allocations this thread has begun.
std::size_t allocations();

/// How many blocks this thread has allocated and not given back.
long livingAllocations();

/// Tells whether allocations can be made to fail in this build.
bool allocationsCanFail();

/// Calls `operation` again and again and lets one allocation more succeed each time, until it gets
/// through without a failure. Gives how often one failed.
template <class Operation>
std::size_t failEachAllocation(Operation operation) {
    constexpr std::size_t kEnough = 10000;
    for (std::size_t before = 0; before < kEnough && allocationsCanFail(); ++before) {
        const AllocationFailure failure(before);
        operation();
        if (!AllocationFailure::happened()) {
            return before;
        }
    }
    return 0;
}

}  // namespace test

#endif
