#include "app/NewFile.h"

#include <cerrno>
#include <cstddef>
#include <system_error>

namespace velmora::new_file {

Result<void> checkIsFree(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return {};
    // What is too long for the system is too long to be read.
    constexpr std::size_t longestShown = 300;
    const auto& name = path.native();
    return fail(posixError(error ? error.value() : EEXIST, name.size() <= longestShown ? name : name.substr(0, longestShown) + "…"));
}

bool isTaken(const Error& error)
{
    return error.domain == posixErrorDomain && error.code == EEXIST;
}

std::string alreadyThere(const std::filesystem::path& path)
{
    return path.native() + " already exists; choose another name.";
}

}  // namespace velmora::new_file
