// What is known only of the clips that are on the screen: their pictures and lengths.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "library/ClipFolder.h"
#include "platform/Thumbnails.h"

#include <QImage>
#include <QObject>

#include <cstddef>
#include <deque>
#include <list>
#include <map>
#include <memory>

namespace velmora {

/// Loads one picture that some program has kept, one that has to be made, and one length at a time, in the order in which clips came onto the
/// screen, and nothing for those that have left it by then. Main thread only.
class ShownClips final : public QObject {
    Q_OBJECT

public:
    /// Pictures that are off the screen are kept up to so many bytes.
    static constexpr std::size_t mostBytes = std::size_t{8} << 20;

    ShownClips(ClipFolder& folder, std::shared_ptr<platform::Thumbnails> thumbnails, std::shared_ptr<Executor> mainExecutor);
    ~ShownClips() override;

    /// As often as a clip is shown, it has to be hidden.
    void show(const FolderClipRef& clip);
    void hide(const FolderClipRef& clip);

    /// Null while there is none.
    [[nodiscard]] QImage picture(const FolderClipRef& clip) const;

    /// How many pixels the longer side of a picture takes on the screen. Pictures with fewer are loaded anew.
    void setSide(int side);

    /// The clip has become another object; its picture is still true.
    void replace(const FolderClipRef& clip, const FolderClipRef& successor);

    /// Forgets all pictures that are off the screen.
    void forgetHidden();

    /// The memory that pictures take, those on the screen included.
    [[nodiscard]] std::size_t bytes() const;

signals:
    void pictureLoaded(const velmora::FolderClipRef& clip);

private:
    enum class Stage { unknown, asked, missing, settled };

    struct Known {
        int showings = 0;
        Stage stage = Stage::unknown;
        QImage picture;
    };

    void loadNext();
    void findNext();
    void makeNext();
    void loadNextDuration();
    [[nodiscard]] FolderClipRef firstShown(Stage stage) const;
    void take(const FolderClipRef& clip, const Result<PixelBufferRef>& picture, Stage otherwise);
    void limit();
    UniqueFunction<void(Result<PixelBufferRef>)> taker(const FolderClipRef& clip, Stage otherwise, bool ShownClips::*isBusy);

    ClipFolder& folder_;
    const std::shared_ptr<platform::Thumbnails> thumbnails_;
    const std::shared_ptr<Executor> mainExecutor_;
    std::map<FolderClipRef, Known> known_;
    std::list<FolderClipRef> shown_;  ///< in the order in which they came
    std::deque<FolderClipRef> hidden_;  ///< those whose picture is kept, oldest first
    int side_ = 1;
    bool isFinding_ = false;
    bool isMaking_ = false;
    bool isLoadingDuration_ = false;

    // Gone with this, so that a late result finds nobody.
    const SelfReference<ShownClips> self_{*this};
};

}  // namespace velmora
