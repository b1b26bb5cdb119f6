#include "allocation_failure.h"

#include <cstdlib>
#include <new>

#if defined(SCSITOOL_OWN_ALLOCATIONS)
// What the sanitizer has in place of malloc stays.
#elif defined(__SANITIZE_ADDRESS__)
#define HAS_OWN_ALLOCATIONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_OWN_ALLOCATIONS 1
#endif
#endif

namespace test {
namespace {

constexpr long kNever = -1;

thread_local long allocationsLeft = kNever;
thread_local bool hasFailed = false;
thread_local long living = 0;
thread_local std::size_t begun = 0;
thread_local int pauses = 0;

}  // namespace

AllocationFailure::AllocationFailure(std::size_t before) {
    hasFailed = false;
    allocationsLeft = static_cast<long>(before);
}

AllocationFailure::~AllocationFailure() {
    allocationsLeft = kNever;
}

bool AllocationFailure::happened() {
    return hasFailed;
}

AllocationPause::AllocationPause() {
    ++pauses;
}

AllocationPause::~AllocationPause() {
    --pauses;
}

std::size_t allocations() {
    return begun;
}

long livingAllocations() {
    return living;
}

#ifdef HAS_OWN_ALLOCATIONS

bool allocationsCanFail() {
    return false;
}

}  // namespace test

#else

bool allocationsCanFail() {
    return true;
}

static void* allocate(std::size_t size) {
    if (pauses == 0) {
        ++begun;
        if (allocationsLeft == 0) {
            allocationsLeft = kNever;
            hasFailed = true;
            return nullptr;
        }
        if (allocationsLeft > 0) {
            --allocationsLeft;
        }
    }
    void* const block = std::malloc(size != 0 ? size : 1);
    living += block != nullptr ? 1 : 0;
    return block;
}

static void release(void* block) {
    living -= block != nullptr ? 1 : 0;
    std::free(block);
}

}  // namespace test

// The C++ library's other forms (arrays, nothrow) come to these two.
void* operator new(std::size_t size) {
    void* const block = test::allocate(size);
    if (block == nullptr) {
        if (const std::new_handler handler = std::get_new_handler()) {
            handler();
        }
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    test::release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    test::release(block);
}

#ifdef SCSITOOL_OWN_ALLOCATIONS

// The sanitizer's other forms come to no other: what one of them gives, its own must take back.
void* operator new[](std::size_t size) {
    return ::operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return test::allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return test::allocate(size);
}

void operator delete[](void* block) noexcept {
    test::release(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    test::release(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    test::release(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    test::release(block);
}

#endif

#endif
