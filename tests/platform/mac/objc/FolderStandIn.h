// Where the user's folders are, for tests that are not Objective-C. Back to none with resetAppKit().
#pragma once

#include <filesystem>
#include <string>

namespace velmora::standin {

enum class UserFolder { movies = 17, support = 14, trash = 102 };

void putFolder(UserFolder folder, const std::string& path);
void putCreationDate(const std::filesystem::path& file, double secondsSince1970);
void removeBundle();

/// Observers of notifications and values that were added and not removed.
std::size_t foundationObserverCount();

}  // namespace velmora::standin
