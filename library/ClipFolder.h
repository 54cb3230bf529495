// All clips of the folder, as it is now.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "base/UniqueFunction.h"
#include "library/ClipItem.h"
#include "platform/Asset.h"
#include "platform/FileManager.h"
#include "platform/FileMover.h"

#include <QObject>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmora {

/// A clip as its folder lists it. Stays the same object for as long as the file keeps its name, date and size.
struct FolderClip {
    std::filesystem::path file;
    ClipItem::Date createdAt;
    std::int64_t fileSize = 0;  ///< bytes
    std::optional<double> duration = std::nullopt;  ///< seconds; none until somebody has asked for it; 0 when it could not be loaded

    [[nodiscard]] std::string filename() const { return file.filename().native(); }
};

using FolderClipRef = std::shared_ptr<FolderClip>;

/// Unlike ClipLibrary, which knows how long every clip is, this knows at once which there are, and asks for the rest when it is looked at.
/// Main thread only; folders are read and files moved by a worker.
class ClipFolder final : public QObject {
    Q_OBJECT

public:
    struct Services {
        std::shared_ptr<platform::FileManager> fileManager;
        std::shared_ptr<platform::FileMover> fileMover;
        std::shared_ptr<platform::AssetReader> assetReader;
        std::shared_ptr<Executor> mainExecutor;
        std::shared_ptr<Executor> worker;  ///< what it does comes to the main thread in the same order
    };

    enum class Condition {
        unread,  ///< nothing is known yet
        readable,
        gone,  ///< there is no such folder
        unreadable,  ///< error() says why
    };

    /// What came of moving files.
    template <typename Moved>
    struct Outcome {
        std::vector<Moved> moved;
        std::vector<std::pair<std::filesystem::path, Error>> refused;  ///< they are where they were
    };

    explicit ClipFolder(Services services);
    ~ClipFolder() override;

    /// Reads that folder from now on; its clips are unknown until it has been read.
    void setFolder(const std::filesystem::path& folder);
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

    /// Reads the folder anew. Asked for while it is being read, it is read once more, and not more often.
    void reload();

    /// Newest first; of the same date, the one with the greater name.
    [[nodiscard]] const std::vector<FolderClipRef>& clips() const { return clips_; }
    [[nodiscard]] Condition condition() const { return condition_; }
    [[nodiscard]] const std::string& error() const { return error_; }

    /// Whether this user may rename and remove what is in it.
    [[nodiscard]] bool isWritable() const { return isWritable_; }

    /// Asks for its length, if nobody has. Those asked for are loaded one after another.
    void loadDuration(const FolderClipRef& clip);

    /// Gives the clip another name in its folder. `completion` gets the clip under its new name.
    void rename(const FolderClipRef& clip, const std::string& name, UniqueFunction<void(Result<FolderClipRef>)> completion);

    void moveToTrash(const std::vector<FolderClipRef>& clips, UniqueFunction<void(Outcome<platform::TrashedFile>)> completion);

    /// `completion` gets the paths at which the files are now.
    void putBack(std::vector<platform::TrashedFile> files, UniqueFunction<void(Outcome<std::filesystem::path>)> completion);

signals:
    /// There are other clips, or the condition is another.
    void changed();
    void durationLoaded(const velmora::FolderClipRef& clip);

private:
    struct Reading;

    void read();
    void take(Reading reading);
    void removeClips(const std::vector<std::filesystem::path>& files);

    const Services services_;
    std::filesystem::path folder_;  ///< without a slash at its end
    std::vector<FolderClipRef> clips_;
    Condition condition_ = Condition::unread;
    std::string error_;
    bool isWritable_ = false;
    bool isReading_ = false;
    bool isStale_ = false;  ///< what is being read may have changed since

    // Gone with the folder, so that a late result finds nobody.
    const SelfReference<ClipFolder> self_{*this};
};

}  // namespace velmora
