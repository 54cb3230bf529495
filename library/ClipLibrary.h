// The clips in the output folder, and the choice of that folder.
#pragma once

#include "base/SelfReference.h"
#include "library/ClipItem.h"
#include "platform/Workspace.h"

#include <QObject>

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// Main thread only. Every change of a property is followed by the property's own signal.
class ClipLibrary final : public QObject {
    Q_OBJECT

public:
    struct Services {
        ClipServices clips;
        std::shared_ptr<platform::Workspace> workspace;
    };

    /// Scans the default folder.
    explicit ClipLibrary(Services services);
    ~ClipLibrary() override;

    /// The one library of the process.
    static ClipLibrary& shared();

    /// The clips of the effective folder, newest first.
    [[nodiscard]] const std::vector<ClipItem>& recentClips() const { return recentClips_; }

    /// The folder that the user chose; none: the default one. Remembered for this run of the program only.
    [[nodiscard]] const std::optional<std::filesystem::path>& customOutputDirectory() const { return customOutputDirectory_; }

    [[nodiscard]] std::filesystem::path effectiveOutputDirectory() const;

    /// Scans the effective folder, creating it if need be, and returns at once. When the scan is done, the list is replaced by what the
    /// folder held when it was listed and what was added, deleted or found by a later scan since. A scan of a folder that is no longer
    /// the effective one publishes nothing.
    void reloadClips();

    void setOutputDirectory(const std::filesystem::path& directory);

    /// Puts the file at the front, once. `completion` is called exactly once, on the main thread.
    void addClip(const std::filesystem::path& url, UniqueFunction<void()> completion);

    /// Deletes the file, as far as that is possible, and removes the clip from the list in any case.
    void deleteClip(const ClipItem& clip);

    void revealInFinder(const ClipItem& clip);

signals:
    void recentClipsChanged();
    void customOutputDirectoryChanged();

private:
    /// By file: the clip that it became, or none for a file that was deleted. The last change of a file counts.
    using Changes = std::map<std::filesystem::path, std::optional<ClipItem>>;
    struct Scan;

    void scan(const std::filesystem::path& directory);
    void continueScan(std::shared_ptr<Scan> scan);
    void publish(Scan& scan);
    [[nodiscard]] std::shared_ptr<Changes> observeChanges();
    void noteChange(const std::filesystem::path& url, const std::optional<ClipItem>& clip);
    void setRecentClips(std::vector<ClipItem> clips);

    const Services services_;
    std::vector<ClipItem> recentClips_;
    std::optional<std::filesystem::path> customOutputDirectory_;
    std::vector<std::weak_ptr<Scan>> runningScans_;  ///< in the order in which they listed the folder
    std::vector<std::weak_ptr<Changes>> observedChanges_;  ///< for each call that is describing files

    // Gone with the library, so that a late result finds nobody.
    const SelfReference<ClipLibrary> self_{*this};
};

}  // namespace velmora
