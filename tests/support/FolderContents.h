// What lies in a folder.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace velmora::test {

/// The bare names, hidden ones too, in the order of their bytes; none where the folder is not there.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
    std::error_code ignored;
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator{folder, ignored})
        names.push_back(entry.path().filename().native());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace velmora::test
