// Part of the unit tests where they are built for mutants: writes which test runs which code into
// the file that SCSITOOL_TRACED names: a line for each that passes, its name, milliseconds, and the
// blocks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/mutants/traced/blocks.h"

namespace {

class Listener : public testing::EmptyTestEventListener {
  public:
    explicit Listener(const char* path) : m_file(path) { traced::watch(); }

    void OnTestStart(const testing::TestInfo&) override { traced::take(); }

    // What fails without a change tells nothing about one.
    void OnTestEnd(const testing::TestInfo& test) override {
        if (test.result()->Failed())
            return;
        m_file << test.test_suite_name() << '.' << test.name() << ' '
               << test.result()->elapsed_time() << std::hex;
        for (const std::uint32_t block : traced::take())
            m_file << ' ' << block;
        m_file << std::dec << std::endl;
    }

  private:
    std::ofstream m_file;
};

const bool g_isListening = [] {
    const char* path = std::getenv("SCSITOOL_TRACED");
    if (path != nullptr)
        testing::UnitTest::GetInstance()->listeners().Append(new Listener(path));
    return path != nullptr;
}();

}  // namespace
