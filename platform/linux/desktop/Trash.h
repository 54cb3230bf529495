// Inside the Linux back end: the desktop's trash, by the rules that file browsers follow (freedesktop.org, Trash 1.0).
#pragma once

#include "engine/files/Trash.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace velmora::linux_backend {

/// The user's own, and those on other file systems. They are for the files of one user.
class Trash final : public engine::Trash {
public:
    struct Places {
        /// The user's own trash, made where it is missing; empty: there is none.
        std::filesystem::path home;

        /// Where the file system that a folder is on is mounted, for files that cannot be moved into `home`; empty: nobody knows.
        std::function<std::filesystem::path(const std::filesystem::path& folder)> topDirectory;

        uid_t user = 0;

        /// All folders at which file systems are mounted: their trashes are looked through for what is in them; empty: nobody knows.
        std::function<std::vector<std::filesystem::path>()> topDirectories = {};
    };

    /// Those of the user whose process this is, by XDG_DATA_HOME or else below `home`.
    static Places placesOfUser(const std::filesystem::path& home);

    explicit Trash(Places places) : places_(std::move(places)) { }

    [[nodiscard]] Result<engine::TrashedFile> put(const std::filesystem::path& path, const Move& move) const override;
    [[nodiscard]] Result<engine::TrashedFile> putDeleted(const std::filesystem::path& path, const Move& move) const override;
    void remove(const engine::TrashedFile& trashed) const override;
    [[nodiscard]] std::vector<engine::TrashEntry> entries() const override;
    [[nodiscard]] std::optional<engine::TrashEntry> entry(const engine::TrashedFile& trashed) const override;
    void noteOffered(const engine::TrashedFile& trashed) const override;

private:
    [[nodiscard]] Result<engine::TrashedFile> putWithInfo(
        const std::filesystem::path& path, const Move& move, bool isDiscardedRecording) const;
    [[nodiscard]] std::vector<std::filesystem::path> folders() const;

    const Places places_;
};

/// The outermost folder above `folder`, or `folder` itself, that is on the same file system; empty where `folder` cannot be examined.
[[nodiscard]] std::filesystem::path mountPoint(const std::filesystem::path& folder);

/// Where file systems are mounted, "/" always among them, without those that are mounted by looking at them.
[[nodiscard]] std::vector<std::filesystem::path> mountPoints();

}  // namespace velmora::linux_backend
