#ifndef SCSITOOL_TESTS_TEMPORARY_DIRECTORY_H
#define SCSITOOL_TESTS_TEMPORARY_DIRECTORY_H

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace test {

/// A directory of the test's own that goes away with it.
class TemporaryDirectory {
  public:
    TemporaryDirectory()
        : m_path((std::filesystem::temp_directory_path() / "test.XXXXXX").string()) {
        if (::mkdtemp(m_path.data()) == nullptr) {
            throw std::runtime_error("cannot make " + m_path);
        }
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    /// Its path, without a '/' at the end.
    const std::string& path() const { return m_path; }
    /// Writes a file into it and gives its path.
    std::string file(const std::string& name, const std::string& content) const {
        const std::string path = m_path + "/" + name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

  private:
    std::string m_path;
};

}  // namespace test

#endif
