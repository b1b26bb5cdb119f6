#ifndef TESTS_UNIT_UNREADABLE_TEXT_H
#define TESTS_UNIT_UNREADABLE_TEXT_H

#include <sys/mman.h>

#include <cstddef>

namespace test {

/// A text that nobody can look at.
class UnreadableText {
  public:
    UnreadableText()
        : m_page(::mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ~UnreadableText() { ::munmap(m_page, kSize); }
    UnreadableText(const UnreadableText&) = delete;
    UnreadableText& operator=(const UnreadableText&) = delete;
    const char* get() const { return static_cast<const char*>(m_page); }

  private:
    static constexpr std::size_t kSize = 4096;
    void* m_page;
};

}  // namespace test

#endif
