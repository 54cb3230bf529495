#include "app/NewFile.h"

#include <cerrno>
#include <system_error>

namespace velmora::new_file {

Result<void> checkIsFree(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return {};
    return fail(posixError(error ? error.value() : EEXIST, path.native()));
}

bool isTaken(const Error& error)
{
    return error.domain == posixErrorDomain && error.code == EEXIST;
}

std::string alreadyThere(const std::filesystem::path& path)
{
    return path.native() + " is there already; choose another name.";
}

}  // namespace velmora::new_file
