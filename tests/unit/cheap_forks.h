#ifndef SCSITOOL_TESTS_CHEAP_FORKS_H
#define SCSITOOL_TESTS_CHEAP_FORKS_H

namespace test {

// Under the address sanitizer a fork copies the tables of the shadow memory: a tenth of a second.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kForksAreCheap = false;
#elif defined(__has_feature)
constexpr bool kForksAreCheap = !__has_feature(address_sanitizer);
#else
constexpr bool kForksAreCheap = true;
#endif

}  // namespace test

#endif
