// Whatever is in the file of preferences, a preference is true or false, and one that is set is kept. The input is the file.
#include "platform/linux/desktop/LinuxUserDefaults.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <string>

using namespace velmora;

namespace {

constexpr const char* key = "hasCompletedWalkthrough";
constexpr const char* otherKey = "another";

/// A name of its own each time: the files of a process are remembered by their names.
std::filesystem::path nextFile()
{
    static const test::TemporaryDirectory folder;
    static std::uint64_t count = 0;
    return folder.path() / (std::to_string(++count) + ".conf");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto file = nextFile();
    std::ofstream{file, std::ios::binary}.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    {
        const auto defaults = linux_backend::makeUserDefaults(file);
        const bool other = defaults->boolean(otherKey);
        const bool wanted = !defaults->boolean(key);
        defaults->setBoolean(key, wanted);
        fuzz::require(defaults->boolean(key) == wanted, "a preference does not become what it is set to");
        fuzz::require(defaults->boolean(otherKey) == other, "setting one preference changes another");
        // Read again, from a copy: it is on the disk.
        const auto copy = nextFile();
        std::filesystem::copy_file(file, copy);
        const auto again = linux_backend::makeUserDefaults(copy);
        fuzz::require(again->boolean(key) == wanted, "a preference is not kept");
        fuzz::require(again->boolean(otherKey) == other, "another preference is not kept");
        std::filesystem::remove(copy);
    }
    std::filesystem::remove(file);
    return 0;
}
