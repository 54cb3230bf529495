// A test's own folder, gone when the test is.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace velmora::test {

class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace velmora::test
