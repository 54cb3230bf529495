// A thousand recordings wait for the disk several thousand times; what is tested does not depend on which. The files are kept in memory where
// the system has room for that.

#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

class FilesInMemory : public ::testing::Environment {
public:
    void SetUp() override
    {
        if (::access("/dev/shm", W_OK | X_OK) == 0)
            ::setenv("TMPDIR", "/dev/shm", 1);
    }
};

[[maybe_unused]] const auto* const filesInMemory = ::testing::AddGlobalTestEnvironment(new FilesInMemory);

}  // namespace
