// What callers on the session bus ask for, understood without a bus. Any program of the session may call.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora::bus_requests {

/// A path as text from which file() gets it back, whatever its bytes are: itself where it is UTF-8, else a file: URI.
[[nodiscard]] QString text(const std::filesystem::path& path);

/// A path, or its file: URI, that means the same to us as to the caller: absolute, and without a 0, past which the system would not look.
[[nodiscard]] std::optional<std::filesystem::path> file(const QString& path);

/// The files that file: URIs name, of any bytes but 0 (RFC 8089), in their order; everything else is left out.
[[nodiscard]] std::vector<std::filesystem::path> files(const QStringList& uris);

// The options of the calls that have some.
inline constexpr const char* callerTellsOption = "caller-tells";  ///< boolean: whoever calls tells the user when it fails
inline constexpr const char* soundOption = "sound";  ///< string: the application whose sound goes with a window

inline constexpr const char* applicationOption = "application";  ///< string: whose window is wanted
inline constexpr const char* titleOption = "title";  ///< string: which is in its title

struct Options {
    bool callerTells = false;
    std::optional<std::string> sound = std::nullopt;
    std::string application = {};
    std::string title = {};
};

/// What is unknown, or of another type, is left out.
[[nodiscard]] Options options(const QVariantMap& options);

}  // namespace velmora::bus_requests
