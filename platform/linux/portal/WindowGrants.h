// The windows that the user has let this program share before.
#pragma once

#include "engine/sound/ApplicationIdentity.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// The desktop gives neither title nor application of a window, so a grant is known by when it was given.
struct WindowGrant {
    std::uint32_t id = 0;
    std::string restoreToken;  ///< good for one session
    std::int64_t grantedAt = 0;  ///< seconds since 1970
    std::int32_t width = 0;  ///< pixels, when it was shared last
    std::int32_t height = 0;
    /// Whose sound the user chose for it; an application that is not known: no sound. None: nothing was chosen yet.
    std::optional<engine::ApplicationIdentity> sound = std::nullopt;

    friend bool operator==(const WindowGrant&, const WindowGrant&) = default;
};

/// Kept in one file that only its owner may read: who has a token may see the window. A file that is missing, damaged, somebody else's,
/// or for others to read counts as one without grants, as does one of a later version. Files from before version 2 carry no version, and
/// know of no sound. Reading is safe on any thread, the rest is the main thread's.
class WindowGrants {
public:
    static constexpr std::int32_t version = 2;
    static constexpr std::size_t maximumCount = 8;
    static constexpr std::uint32_t firstID = 2;

    explicit WindowGrants(std::filesystem::path file) : file_(std::move(file)) { }

    /// "velmora/window-grants.json" in the user's folder for state (XDG Base Directory).
    [[nodiscard]] static std::filesystem::path usualFile();

    /// The most recently used one first.
    [[nodiscard]] std::vector<WindowGrant> grants() const;

    /// An ID that no grant has.
    [[nodiscard]] std::uint32_t freeID() const;

    /// Puts the grant first, in place of the one with the same ID; beyond the maximum, the oldest is forgotten. What cannot be written is
    /// lost.
    void store(const WindowGrant& grant);

    /// The token of this grant is used up, and no other has come in its place.
    void remove(std::uint32_t id);

private:
    void write(const std::vector<WindowGrant>& grants) const;

    std::filesystem::path file_;
};

}  // namespace velmora::linux_backend
