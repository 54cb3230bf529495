#include "library/views/ClipPreviewModel.h"

#include "brand/ShownText.h"
#include "library/views/PictureImage.h"
#include "library/views/PreviewTimes.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

/// A slider needs some length to be a slider.
constexpr double shortestRange = 0.1;
constexpr auto preferredTimescale = preview_times::timescale;
constexpr MediaTime observationInterval{1, 10};
constexpr int thumbnailWidth = 192;
constexpr int thumbnailHeight = 108;

MediaTime mediaTime(double seconds)
{
    return preview_times::exported(seconds);
}

}  // namespace

ClipPreviewModel::ClipPreviewModel(std::filesystem::path clipURL, Services services, QObject* parent)
    : QObject(parent)
    , clipURL_(std::move(clipURL))
    , services_(std::move(services))
    , firstPicture_(clipURL_, services_.assetReader, services_.mainExecutor)
    , trimExport_(clipURL_,
          {services_.exportSessions, services_.fileManager, services_.library, services_.mainExecutor, services_.runningExports},
          [this] { emit exportChanged(); })
    , smallFile_(services_.smallFiles, [this] {
        const bool isOfSavedClip = hasSavedClip() && services_.smallFiles->status(trimExport_.savedClip());
        return std::optional{isOfSavedClip ? trimExport_.savedClip() : clipURL_};
    })
{
}

ClipPreviewModel::~ClipPreviewModel()
{
    tearDown();
}

void ClipPreviewModel::setupPlayer()
{
    if (std::exchange(isShown_, true))
        return;
    problem_.clear();
    // The linker loads one library at a time: the player's come after what this picture needs.
    firstPicture_.load([this](bool isThere) {
        if (!isShown_)
            return;
        if (isThere)
            emit pictureChanged();
        services_.players->prepare([later = self_.weak()] {
            if (const auto self = later.lock())
                self->makePlayer();
        });
    });
    services_.assetReader->loadDuration(clipURL_, [later = self_.weak(), executor = services_.mainExecutor](Result<MediaTime> duration) {
        executor->async([later, duration = std::move(duration)] {
            const auto self = later.lock();
            if (!self)
                return;
            self->isLengthAnswered_ = true;
            if (duration)
                self->setDuration(duration->seconds());
            self->playIfWanted();
        });
    });
    services_.assetReader->loadPictureTimes(
        clipURL_, [later = self_.weak(), executor = services_.mainExecutor](Result<std::vector<MediaTime>> times) {
            executor->async([later, times = std::move(times)]() mutable {
                if (const auto self = later.lock(); self && times)
                    self->pictureSteps_.setTimes(std::move(*times));
            });
        });
}

void ClipPreviewModel::makePlayer()
{
    if (!isShown_ || player_)
        return;
    auto player = services_.players->makePlayer(clipURL_);
    // Without one it can be trimmed unseen.
    if (!player)
        return fail(QString::fromStdString(player.error().localizedDescription));
    player_ = std::move(*player);
    player_->setPictureObserver([this] {
        firstPicture_.drop();
        emit pictureChanged();
    });
    player_->setFailureObserver([this](const Error& error) { fail(QString::fromStdString(error.localizedDescription)); });
    applySound();
    timeObserverToken_ = player_->addPeriodicTimeObserver(observationInterval, [this](MediaTime time) { timePassed(time); });
    // What was chosen while it was being loaded.
    if (isLengthAnswered_)
        player_->setForwardPlaybackEndTime(playbackEnd());
    if (shownTime_ != MediaTime::zero())
        player_->seek(shownTime_);
    emit playerChanged();
    playIfWanted();
}

void ClipPreviewModel::playOnceLoaded()
{
    isPlayingWanted_ = true;
    playIfWanted();
}

void ClipPreviewModel::playIfWanted()
{
    if (player_ && isLengthAnswered_ && std::exchange(isPlayingWanted_, false))
        play();
}

void ClipPreviewModel::tearDown()
{
    isShown_ = false;
    isPlayingWanted_ = false;
    firstPicture_.drop();
    if (!player_)
        return;
    player_->pause();
    if (timeObserverToken_)
        player_->removeTimeObserver(*std::exchange(timeObserverToken_, {}));
    player_.reset();
    setPlaying(false);
    emit playerChanged();
}

QString ClipPreviewModel::playSymbol() const
{
    return isPlaying_ ? QStringLiteral("pause.circle.fill") : QStringLiteral("play.circle.fill");
}

QString ClipPreviewModel::playAction() const
{
    return isPlaying_ ? QStringLiteral("Pause") : QStringLiteral("Play");
}

double ClipPreviewModel::scrubMaximum() const
{
    return std::max(totalDuration_, shortestRange);
}

double ClipPreviewModel::startMaximum() const
{
    return std::max(trimEndTime_, shortestRange);
}

QString ClipPreviewModel::soundSymbol() const
{
    return heardVolume() > 0 ? QStringLiteral("speaker.wave.2") : QStringLiteral("speaker.slash");
}

QString ClipPreviewModel::soundAction() const
{
    return isMuted_ ? QStringLiteral("Unmute") : QStringLiteral("Mute");
}

QString ClipPreviewModel::formatTime(double seconds)
{
    return preview_times::whole(seconds);
}

QString ClipPreviewModel::formatTenths(double seconds)
{
    return preview_times::withTenths(seconds);
}

bool ClipPreviewModel::drawPicture(const platform::PictureTarget& target) const
{
    return (player_ && player_->drawPicture(target)) || firstPicture_.draw(target);
}

void ClipPreviewModel::togglePlaying()
{
    if (isPlaying_ || isPlayingWanted_)
        pause();
    else
        play();
}

void ClipPreviewModel::play()
{
    if (isShown_ && isLoading())
        return playOnceLoaded();
    if (!player_ || !problem_.isEmpty() || isPlaying_)
        return;
    // A selection without length would pause at once, wherever it begins.
    if (isAtSelectionsEnd() && mediaTime(trimStartTime_) < mediaTime(trimEndTime_))
        seek(trimStartTime_);
    setPlaying(true);
    player_->play();
}

void ClipPreviewModel::pause()
{
    isPlayingWanted_ = false;
    if (!isPlaying_)
        return;
    setPlaying(false);
    player_->pause();
}

void ClipPreviewModel::goOneSecondBack()
{
    seek(std::max(0.0, currentTime_ - 1));
}

void ClipPreviewModel::goToBeginning()
{
    seek(0);
}

void ClipPreviewModel::goToEnd()
{
    seek(totalDuration_);
}

void ClipPreviewModel::timePassed(MediaTime time)
{
    currentTime_ = time.seconds();
    shownTime_ = time;
    emit currentTimeChanged();
    if (!isPlaying_)
        return;
    if (isAtSelectionsEnd()) {
        player_->pause();
        setPlaying(false);
    } else if (cut_.holds(shownTime_)) {
        // The player has paused there by itself, or was told to play from inside.
        seek(cut_.end());
        player_->play();
    }
}

bool ClipPreviewModel::isAtSelectionsEnd() const
{
    // Both on the player's scale: a rounded end has to be reached too.
    if (trimEndTime_ <= currentTime_ || mediaTime(trimEndTime_) <= shownTime_)
        return true;
    return cut_.holds(shownTime_) && mediaTime(trimEndTime_) <= mediaTime(cut_.end());
}

MediaTime ClipPreviewModel::playbackEnd() const
{
    const auto end = mediaTime(trimEndTime_);
    const auto cut = mediaTime(cut_.start());
    return cut_.isThere() && shownTime_ < cut ? std::min(cut, end) : end;
}

void ClipPreviewModel::setPlaying(bool isPlaying)
{
    if (std::exchange(isPlaying_, isPlaying) != isPlaying)
        emit isPlayingChanged();
}

void ClipPreviewModel::setDuration(double seconds)
{
    totalDuration_ = seconds;
    setTrim(trimStartTime_, totalDuration_);
    emit canTrimChanged();
    if (thumbnails_.empty())
        loadThumbnail(0);
}

void ClipPreviewModel::setTrim(double start, double end)
{
    trimStartTime_ = start;
    trimEndTime_ = end;
    if (player_)
        player_->setForwardPlaybackEndTime(playbackEnd());
    cut_.setSelection(start, end);
    emit boundsChanged();
    emit trimChanged();
}

void ClipPreviewModel::seek(double seconds)
{
    currentTime_ = seconds;
    shownTime_ = mediaTime(seconds);
    if (firstPicture_.drop())
        emit pictureChanged();
    if (player_ && cut_.isThere())
        player_->setForwardPlaybackEndTime(playbackEnd());
    if (player_)
        player_->seek(shownTime_);
    emit currentTimeChanged();
}

void ClipPreviewModel::scrub(double seconds)
{
    seek(seconds);
}

void ClipPreviewModel::moveTrimStart(double seconds)
{
    setTrim(seconds, trimEndTime_);
    seek(seconds);
}

void ClipPreviewModel::moveTrimEnd(double seconds)
{
    setTrim(trimStartTime_, seconds);
    seek(seconds);
}

void ClipPreviewModel::dragTrimStart(double seconds)
{
    pause();
    moveTrimStart(std::clamp(seconds, 0.0, startMaximum()));
}

void ClipPreviewModel::dragTrimEnd(double seconds)
{
    pause();
    // Where the start has passed an end of less than a tenth of a second, the end comes after it at once.
    moveTrimEnd(std::max(std::min(seconds, scrubMaximum()), endMinimum()));
}

double ClipPreviewModel::steppedTime(MediaTime time, int pictures) const
{
    return pictureSteps_.stepped(time, pictures, totalDuration_);
}

void ClipPreviewModel::stepCurrentTime(int pictures)
{
    seek(std::min(steppedTime(shownTime_, pictures), scrubMaximum()));
}

void ClipPreviewModel::pauseAndStep(int pictures)
{
    pause();
    stepCurrentTime(pictures);
}

void ClipPreviewModel::stepTrimStart(int pictures)
{
    moveTrimStart(std::clamp(steppedTime(mediaTime(trimStartTime_), pictures), 0.0, startMaximum()));
}

void ClipPreviewModel::stepTrimEnd(int pictures)
{
    auto time = steppedTime(mediaTime(trimEndTime_), pictures);
    // The clip's end is one step after the beginning of the last picture, which it shows.
    if (pictures < 0 && pictureSteps_.areKnown() && trimEndTime_ >= totalDuration_)
        time = steppedTime(mediaTime(trimEndTime_), pictures + 1);
    moveTrimEnd(std::clamp(time, endMinimum(), scrubMaximum()));
}

void ClipPreviewModel::setTrimStartHere()
{
    // The nearest time at which a selection can begin may lie before the picture.
    const auto here = std::max(currentTime_, pictureSteps_.beginOfPictureAt(shownTime_).value_or(0));
    setTrim(std::min(here, trimEndTime_), trimEndTime_);
}

void ClipPreviewModel::setTrimEndHere()
{
    setTrim(trimStartTime_, std::max(std::min(currentTime_, scrubMaximum()), trimStartTime_));
}

void ClipPreviewModel::toggleCut()
{
    if (cut_.isThere()) {
        cut_.remove();
        if (player_)
            player_->setForwardPlaybackEndTime(playbackEnd());
        return;
    }
    // The middle of what is selected: what is seen at once, and far from both ends.
    const double third = std::max(0.0, trimEndTime_ - trimStartTime_) / 3;
    setCut(trimStartTime_ + third, trimEndTime_ - third);
    seek(cut_.start());
}

void ClipPreviewModel::setCut(double start, double end)
{
    cut_.set(start, end);
    if (player_)
        player_->setForwardPlaybackEndTime(playbackEnd());
}

void ClipPreviewModel::moveCutStart(double seconds)
{
    setCut(std::clamp(seconds, 0.0, cut_.end()), cut_.end());
    seek(cut_.start());
}

void ClipPreviewModel::moveCutEnd(double seconds)
{
    setCut(cut_.start(), std::max(std::min(seconds, scrubMaximum()), cut_.start()));
    seek(cut_.end());
}

void ClipPreviewModel::dragCutStart(double seconds)
{
    pause();
    moveCutStart(seconds);
}

void ClipPreviewModel::dragCutEnd(double seconds)
{
    pause();
    moveCutEnd(seconds);
}

void ClipPreviewModel::stepCutStart(int pictures)
{
    moveCutStart(steppedTime(mediaTime(cut_.start()), pictures));
}

void ClipPreviewModel::stepCutEnd(int pictures)
{
    moveCutEnd(steppedTime(mediaTime(cut_.end()), pictures));
}

void ClipPreviewModel::fail(const QString& problem)
{
    problem_ = problem;
    setPlaying(false);
    emit playerChanged();
    emit canTrimChanged();
}

void ClipPreviewModel::loadThumbnail(int number)
{
    if (number == thumbnailCount)
        return;
    const auto time = MediaTime::fromSeconds(totalDuration_ * (number + 0.5) / thumbnailCount, preferredTimescale);
    services_.assetReader->generateImage(clipURL_, time, thumbnailWidth, thumbnailHeight,
        [number, later = self_.weak(), executor = services_.mainExecutor](Result<PixelBufferRef> picture) {
            executor->async([number, later, picture = std::move(picture)] {
                const auto self = later.lock();
                if (!self || !picture)
                    return;
                self->thumbnails_.push_back(image(*picture));
                emit self->thumbnailsChanged();
                self->loadThumbnail(number + 1);
            });
        });
}

void ClipPreviewModel::exportTrimmed(bool replaceOriginal)
{
    trimExport_.start({mediaTime(trimStartTime_), exportEnd()}, cut_.ranges(), replaceOriginal);
}

MediaTime ClipPreviewModel::exportEnd() const
{
    auto end = mediaTime(trimEndTime_);
    // Rounded down, the end of the clip would cut off its last samples.
    if (trimEndTime_ >= totalDuration_ && end.seconds() < trimEndTime_)
        end.value += 1;
    return end;
}

void ClipPreviewModel::share(double x, double y)
{
    services_.share(clipURL_, QPoint{qRound(x), qRound(y)});
}

void ClipPreviewModel::playSavedClip()
{
    pause();
    if (hasSavedClip())
        services_.play(trimExport_.savedClip());
}

void ClipPreviewModel::shareSavedClip(double x, double y)
{
    if (hasSavedClip())
        services_.share(trimExport_.savedClip(), QPoint{qRound(x), qRound(y)});
}

QString ClipPreviewModel::revealRemark() const
{
    const auto name = services_.fileBrowserName ? oneLine(QString::fromStdString(services_.fileBrowserName())) : QString{};
    return QStringLiteral("Show this clip in ") + (name.isEmpty() ? QStringLiteral("the file manager") : name);
}

void ClipPreviewModel::revealSavedClip()
{
    if (hasSavedClip())
        services_.reveal(trimExport_.savedClip());
}

void ClipPreviewModel::copySavedClip()
{
    if (hasSavedClip())
        services_.copy(trimExport_.savedClip());
}

void ClipPreviewModel::dragSavedClip()
{
    if (hasSavedClip())
        services_.drag({trimExport_.savedClip()});
}

void ClipPreviewModel::setVolume(double volume)
{
    setSound(std::clamp(volume, 0.0, fullVolume), false);
}

void ClipPreviewModel::toggleMuted()
{
    setSound(volume_, !isMuted_);
}

void ClipPreviewModel::setSound(double volume, bool isMuted)
{
    volume_ = volume;
    isMuted_ = isMuted;
    applySound();
    emit soundChanged();
}

void ClipPreviewModel::applySound()
{
    if (!player_)
        return;
    player_->setVolume(volume_ / fullVolume);
    player_->setMuted(isMuted_);
}

}  // namespace velmora
