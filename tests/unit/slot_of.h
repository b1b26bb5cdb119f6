#ifndef SCSITOOL_TESTS_SLOT_OF_H
#define SCSITOOL_TESTS_SLOT_OF_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace test {

/// The place of a virtual operation in its class's vtable, the first function being 0. A virtual
/// destructor takes two places (the complete and the deleting one). In the Itanium C++ ABI a
/// pointer to a virtual member function holds 1 plus the offset in the vtable, in bytes; a pointer
/// to another member function is an even address and gives -1.
template <class Class, class Result, class... Arguments>
std::ptrdiff_t slotOf(Result (Class::*method)(Arguments...)) {
    std::uintptr_t word = 0;
    static_assert(sizeof method >= sizeof word, "a member pointer begins with an address");
    std::memcpy(&word, &method, sizeof word);
    return (word & 1) == 0 ? -1 : static_cast<std::ptrdiff_t>((word - 1) / sizeof(void*));
}

template <class Class, class Result, class... Arguments>
std::ptrdiff_t slotOf(Result (Class::*method)(Arguments...) const) {
    using Plain = Result (Class::*)(Arguments...);
    Plain plain = nullptr;
    static_assert(sizeof plain == sizeof method, "const does not change a member pointer");
    std::memcpy(&plain, &method, sizeof plain);
    return slotOf(plain);
}

}  // namespace test

#endif
