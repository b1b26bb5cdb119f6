#ifndef SCSITOOL_TESTS_ALLOCATION_FAILURE_H
#define SCSITOOL_TESTS_ALLOCATION_FAILURE_H

#include <cstddef>

namespace test {

/// Lets the allocation behind the next `before` ones of this thread fail, once, for as long as it
/// exists. In a build with the address sanitizer, which has allocations of its own, none fails.
class AllocationFailure {
  public:
    explicit AllocationFailure(std::size_t before);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    /// Tells whether the allocation was reached and has failed.
    bool happened() const;
};

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
        if (!failure.happened()) {
            return before;
        }
    }
    return 0;
}

}  // namespace test

#endif
