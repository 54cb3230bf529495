// What people call the application that opens files of a type.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::linux_backend {

/// Where desktops keep which application is for what, the most important place first, and the entries of applications.
struct FileHandlerPlaces {
    std::vector<std::filesystem::path> configuration;  ///< folders with mimeapps.list
    std::vector<std::filesystem::path> data;  ///< folders with "applications" in them
    std::vector<std::string> desktops;  ///< in lower case, as in the names of their own lists
    std::string language;  ///< "de_DE"; empty or "C" for none

    static FileHandlerPlaces fromEnvironment();
};

/// The name, in the user's language, of the application that is the default for that MIME type, else of the first that says it opens it;
/// empty where there is none. By MIME Applications 1.0.1 and Desktop Entry 1.5. Reads files; any thread.
[[nodiscard]] std::string fileHandlerName(const FileHandlerPlaces& places, std::string_view type);

}  // namespace velmora::linux_backend
