#include "platform/linux/mpv/MpvPlayer.h"

#include "platform/linux/mpv/MpvHandle.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

using platform::PictureTarget;
using platform::Player;

/// libmpv's notation, to the microsecond.
std::string secondsText(MediaTime time)
{
    char text[48];
    std::snprintf(text, sizeof text, "%.6f", time.seconds());
    return text;
}

/// More than libmpv and the sound server buffer of what is to come.
constexpr MediaTime bufferedSound{2, 1};

/// libmpv takes a picture for that of a time even when it comes as much as five milliseconds before that time.
constexpr MediaTime seekTolerance{49, 10'000};

/// libmpv's own scale, on which the loudness that is heard rises evenly.
constexpr double fullVolume = 100;

constexpr std::uint64_t seekNumber = 1;

constexpr std::size_t bytesPerPixel = 4;

MediaTime fromSeconds(double seconds)
{
    constexpr std::int32_t microseconds = 1'000'000;
    return MediaTime::fromSeconds(seconds, microseconds);
}

class MpvPlayer final : public Player, public std::enable_shared_from_this<MpvPlayer> {
public:
    explicit MpvPlayer(std::shared_ptr<Executor> mainExecutor) : mainExecutor_(std::move(mainExecutor)) { }

    Result<void> open(const std::filesystem::path& file, LoadPictureTimes loadPictureTimes)
    {
        // The callbacks of libmpv own nothing: they only ask the main thread to look.
        const auto weak = weak_from_this();
        auto handle = MpvHandle::create([this, weak] { lookLater(eventsAreDue_, weak, &MpvPlayer::takeEvents); },
            [this, weak] { lookLater(pictureIsDue_, weak, &MpvPlayer::takePicture); });
        if (!handle)
            return fail(handle.error());
        mpv_ = std::move(*handle);
        mpv_observe_property(mpv_->core(), 0, "time-pos", MPV_FORMAT_DOUBLE);
        mpv_observe_property(mpv_->core(), 0, "eof-reached", MPV_FORMAT_FLAG);
        // A part of a clip may begin with pictures that are there only to be decoded.
        mpv_->setText("start", secondsText(seekTolerance));
        mpv_->command({"loadfile", file.c_str()});
        loadPictureTimes([weak, executor = mainExecutor_](std::vector<MediaTime> times) {
            executor->async([weak, times = std::move(times)]() mutable {
                if (const auto self = weak.lock())
                    self->setPictureTimes(std::move(times));
            });
        });
        return {};
    }

    void play() override
    {
        if (std::exchange(isPlaying_, true))
            return;
        if (isBehindEnd() || (!endTime_ && isAtEndOfFile()))
            return later(&MpvPlayer::endWhenPlaying);
        mpv_->setText("end", endTime_ ? secondsText(*endTime_) : "none");
        // Where libmpv has come to an end, it goes on only from another place. And it may have sound from past this end already.
        if (isAtEndOfFile() || (endTime_ && *endTime_ < time_ + bufferedSound))
            seek(time_);
        unpauseWhenPossible();
    }

    void pause() override
    {
        if (isPlaying_)
            later(&MpvPlayer::tellWherePaused);
        stop();
    }

    void seek(MediaTime time) override
    {
        time_ = time;
        wantedSeek_ = time;
        seekWhenPossible();
        if (isPlaying_ && isBehindEnd())
            later(&MpvPlayer::endWhenPlaying);
    }

    void setForwardPlaybackEndTime(std::optional<MediaTime> time) override
    {
        endTime_ = time;
        if (!isPlaying_)
            return;
        mpv_->setText("end", endTime_ ? secondsText(*endTime_) : "none");
        if (isBehindEnd())
            later(&MpvPlayer::endWhenPlaying);
    }

    void setVolume(double volume) override { mpv_->setNumber("volume", std::clamp(volume, 0.0, 1.0) * fullVolume); }
    void setMuted(bool isMuted) override { mpv_->setFlag("mute", isMuted); }

    TimeObserverToken addPeriodicTimeObserver(MediaTime interval, TimeObserver observer) override
    {
        observers_.emplace(++lastToken_, Observer{interval, MediaTime::invalid(), std::move(observer)});
        return lastToken_;
    }

    void removeTimeObserver(TimeObserverToken token) override { observers_.erase(token); }
    void setPictureObserver(std::function<void()> changed) override { pictureChanged_ = std::move(changed); }
    void setFailureObserver(std::function<void(const Error&)> failed) override { failed_ = std::move(failed); }

    bool drawPicture(const PictureTarget& target) override
    {
        if (!hasPicture_)
            return false;
        if (quarterTurns_ == 0)
            return draw(target);
        const bool isOnItsSide = quarterTurns_ % 2 != 0;
        const std::int32_t width = isOnItsSide ? target.height : target.width;
        const std::int32_t height = isOnItsSide ? target.width : target.height;
        std::vector<std::byte> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * bytesPerPixel);
        const PictureTarget unturned{pixels.data(), width, height, static_cast<std::size_t>(width) * bytesPerPixel};
        if (!draw(unturned))
            return false;
        turn(unturned, target, quarterTurns_);
        return true;
    }

private:
    /// How far libmpv has come with the seek that it was asked for.
    enum class Seek { none, asked, accepted, begun };

    struct Observer {
        MediaTime interval;
        MediaTime told;
        TimeObserver observer;
    };

    bool draw(const PictureTarget& target)
    {
        int size[] = {target.width, target.height};
        std::size_t stride = target.bytesPerRow;
        int doesNotWait = 0;
        mpv_render_param parameters[] = {
            {MPV_RENDER_PARAM_SW_SIZE, size},
            {MPV_RENDER_PARAM_SW_FORMAT, const_cast<char*>("bgr0")},
            {MPV_RENDER_PARAM_SW_STRIDE, &stride},
            {MPV_RENDER_PARAM_SW_POINTER, target.pixels},
            {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &doesNotWait},
            {MPV_RENDER_PARAM_INVALID, nullptr},
        };
        if (mpv_render_context_render(mpv_->renderer(), parameters) < 0)
            return false;
        makeOpaque(target);
        return true;
    }

    /// By quarters of a turn, clockwise: 1 to 3.
    static void turn(const PictureTarget& from, const PictureTarget& to, int quarterTurns)
    {
        for (std::int32_t y = 0; y < to.height; ++y) {
            for (std::int32_t x = 0; x < to.width; ++x) {
                const auto [column, row] = quarterTurns == 1 ? std::pair{y, from.height - 1 - x}
                    : quarterTurns == 2                      ? std::pair{from.width - 1 - x, from.height - 1 - y}
                                                             : std::pair{from.width - 1 - y, x};
                std::memcpy(pixelOf(to, x, y), pixelOf(from, column, row), bytesPerPixel);
            }
        }
    }

    static std::byte* pixelOf(const PictureTarget& target, std::int32_t x, std::int32_t y)
    {
        return target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow + static_cast<std::size_t>(x) * bytesPerPixel;
    }

    /// libmpv leaves the fourth byte as it likes.
    static void makeOpaque(const PictureTarget& target)
    {
        for (std::int32_t y = 0; y < target.height; ++y) {
            auto* pixel = target.pixels + static_cast<std::size_t>(y) * target.bytesPerRow;
            for (std::int32_t x = 0; x < target.width; ++x, pixel += 4)
                pixel[3] = std::byte{0xff};
        }
    }

    void later(void (MpvPlayer::*work)(), const std::weak_ptr<MpvPlayer>& weak)
    {
        mainExecutor_->async([weak, work] {
            if (const auto self = weak.lock())
                (*self.*work)();
        });
    }
    void later(void (MpvPlayer::*work)()) { later(work, weak_from_this()); }

    void lookLater(std::atomic<bool>& isDue, const std::weak_ptr<MpvPlayer>& weak, void (MpvPlayer::*look)())
    {
        if (!isDue.exchange(true))
            later(look, weak);
    }

    [[nodiscard]] bool isBetweenPictures() const { return wantedSeek_ || seek_ != Seek::none; }
    [[nodiscard]] bool isBehindEnd() const { return endTime_ && *endTime_ <= time_; }
    [[nodiscard]] bool isAtEndOfFile() const { return !isBetweenPictures() && mpv_->flag("eof-reached"); }

    void takePicture()
    {
        pictureIsDue_ = false;
        if ((mpv_render_context_update(mpv_->renderer()) & MPV_RENDER_UPDATE_FRAME) == 0)
            return;
        // libmpv waits up to a fifth of a second for its first picture to be drawn before it says that it has begun.
        hasPicture_ = hasPicture_ || mpv_->hasNextPicture();
        if (hasPicture_)
            tellOfPicture();
    }

    void loaded()
    {
        isLoaded_ = true;
        constexpr double quarter = 90;
        quarterTurns_ = static_cast<int>(mpv_->number("current-tracks/video/demux-rotation").value_or(0) / quarter) % 4;
        seekWhenPossible();
    }

    void takeEvents()
    {
        eventsAreDue_ = false;
        // An observer may release this player.
        const auto self = shared_from_this();
        while (true) {
            const auto* event = mpv_wait_event(mpv_->core(), 0);
            switch (event->event_id) {
            case MPV_EVENT_NONE:
                return;
            case MPV_EVENT_FILE_LOADED:
                loaded();
                break;
            case MPV_EVENT_COMMAND_REPLY:
                replied(*event);
                break;
            case MPV_EVENT_SEEK:
                if (seek_ == Seek::accepted)
                    seek_ = Seek::begun;
                break;
            case MPV_EVENT_PLAYBACK_RESTART:
                pictureIsThere();
                break;
            case MPV_EVENT_END_FILE:
                ended(*static_cast<const mpv_event_end_file*>(event->data));
                break;
            case MPV_EVENT_PROPERTY_CHANGE:
                changed(*static_cast<const mpv_event_property*>(event->data));
                break;
            default:
                break;
            }
        }
    }

    /// After loading, and after each seek.
    void pictureIsThere()
    {
        hasPicture_ = true;
        // The picture of an earlier seek, or of the beginning, may still come after the next seek.
        if (seek_ == Seek::begun)
            seek_ = Seek::none;
        tellOfPicture();
        goOn();
        // The end may have come before the picture of a seek to it.
        if (isPlaying_ && isAtEndOfFile())
            endOfPlaying();
    }

    void goOn()
    {
        seekWhenPossible();
        if (isPlaying_)
            unpauseWhenPossible();
    }

    /// Not before the picture of a seek, or playing would go on from the place before it.
    void unpauseWhenPossible()
    {
        if (!isBetweenPictures() && !isBehindEnd())
            mpv_->setFlag("pause", false);
    }

    void replied(const mpv_event& reply)
    {
        if (reply.reply_userdata != seekNumber || seek_ != Seek::asked)
            return;
        seek_ = reply.error < 0 ? Seek::none : Seek::accepted;
        goOn();
    }

    void tellOfPicture()
    {
        // It may let go of this player, and so of itself.
        if (const auto changed = pictureChanged_)
            changed();
    }

    void ended(const mpv_event_end_file& end)
    {
        const auto failed = failed_;
        if (end.reason == MPV_END_FILE_REASON_ERROR && failed)
            failed(mpvError(end.error));
    }

    void changed(const mpv_event_property& property)
    {
        const std::string_view name{property.name};
        if (name == "time-pos" && property.format == MPV_FORMAT_DOUBLE)
            timePassed(fromSeconds(*static_cast<const double*>(property.data)));
        else if (name == "eof-reached" && property.format == MPV_FORMAT_FLAG)
            reachedEndOfFile(*static_cast<const int*>(property.data) != 0);
    }

    void timePassed(MediaTime time)
    {
        if (!isPlaying_ || isBetweenPictures() || isBehindEnd())
            return;
        time_ = endTime_ ? std::min(time, *endTime_) : time;
        if (isBehindEnd())
            endOfPlaying();
        else
            tell(false);
    }

    void stop()
    {
        isPlaying_ = false;
        mpv_->setFlag("pause", true);
        // A picture past the end can be looked at.
        mpv_->setText("end", "none");
    }

    void endWhenPlaying()
    {
        if (isPlaying_)
            endOfPlaying();
    }

    /// The last time that was observed may be some pictures before that at which playing paused.
    void tellWherePaused()
    {
        if (isPlaying_ || isBetweenPictures())
            return;
        if (const auto seconds = mpv_->number("time-pos"))
            time_ = fromSeconds(*seconds);
        tell(true);
    }

    void reachedEndOfFile(bool isThere)
    {
        if (isThere && isPlaying_ && !isBetweenPictures())
            endOfPlaying();
    }

    /// At the end that was set, or at that of the file.
    void endOfPlaying()
    {
        stop();
        if (endTime_)
            seek(std::max(*endTime_, time_));
        tell(true);
    }

    void tell(bool isAtTheEnd)
    {
        auto observers = observers_;
        for (auto& [token, observer] : observers) {
            const auto known = observers_.find(token);
            if (known == observers_.end())
                continue;
            const auto& told = known->second.told;
            if (!isAtTheEnd && told.isValid() && told <= time_ && time_ < told + observer.interval)
                continue;
            known->second.told = time_;
            observer.observer(time_);
        }
    }

    void setPictureTimes(std::vector<MediaTime> times)
    {
        pictureTimes_ = std::move(times);
        seekWhenPossible();
    }

    /// One seek after another: the next begins when the picture of the last is there, and only the newest is kept.
    void seekWhenPossible()
    {
        if (!wantedSeek_ || !isLoaded_ || seek_ != Seek::none || !pictureTimes_)
            return;
        seek_ = Seek::asked;
        const auto target = secondsText(beginOfPicture(*std::exchange(wantedSeek_, {})) + seekTolerance);
        mpv_->command({"seek", target.c_str(), "absolute+exact"}, seekNumber);
    }

    /// libmpv goes to the first picture that begins at or after a time, give or take `seekTolerance`.
    [[nodiscard]] MediaTime beginOfPicture(MediaTime time) const
    {
        const auto next = std::upper_bound(
            pictureTimes_->begin(), pictureTimes_->end(), time, [](MediaTime value, MediaTime begin) { return value < begin; });
        if (next != pictureTimes_->begin())
            return *std::prev(next);
        return pictureTimes_->empty() ? time : pictureTimes_->front();
    }

    const std::shared_ptr<Executor> mainExecutor_;
    std::atomic<bool> eventsAreDue_{false};
    std::atomic<bool> pictureIsDue_{false};
    std::optional<std::vector<MediaTime>> pictureTimes_;
    std::map<TimeObserverToken, Observer> observers_;
    TimeObserverToken lastToken_ = 0;
    std::function<void()> pictureChanged_;
    std::function<void(const Error&)> failed_;
    MediaTime time_ = MediaTime::zero();
    std::optional<MediaTime> endTime_;
    std::optional<MediaTime> wantedSeek_;
    bool isPlaying_ = false;
    bool isLoaded_ = false;
    Seek seek_ = Seek::none;
    bool hasPicture_ = false;
    int quarterTurns_ = 0;  // clockwise, to stand upright

    // Destroyed first: its callbacks use the rest.
    std::unique_ptr<MpvHandle> mpv_;
};

/// What the caller owns: the player itself may outlive it by the event that it is in.
class OwnedMpvPlayer final : public Player {
public:
    explicit OwnedMpvPlayer(std::shared_ptr<MpvPlayer> player) : player_(std::move(player)) { }
    ~OwnedMpvPlayer() override
    {
        player_->setPictureObserver({});
        player_->setFailureObserver({});
        for (const auto token : tokens_)
            player_->removeTimeObserver(token);
    }

    void play() override { player_->play(); }
    void pause() override { player_->pause(); }
    void seek(MediaTime time) override { player_->seek(time); }
    void setForwardPlaybackEndTime(std::optional<MediaTime> time) override { player_->setForwardPlaybackEndTime(time); }
    void setVolume(double volume) override { player_->setVolume(volume); }
    void setMuted(bool isMuted) override { player_->setMuted(isMuted); }
    TimeObserverToken addPeriodicTimeObserver(MediaTime interval, TimeObserver observer) override
    {
        tokens_.push_back(player_->addPeriodicTimeObserver(interval, std::move(observer)));
        return tokens_.back();
    }
    void removeTimeObserver(TimeObserverToken token) override { player_->removeTimeObserver(token); }
    void setPictureObserver(std::function<void()> changed) override { player_->setPictureObserver(std::move(changed)); }
    bool drawPicture(const PictureTarget& target) override { return player_->drawPicture(target); }
    void setFailureObserver(std::function<void(const Error&)> failed) override { player_->setFailureObserver(std::move(failed)); }

private:
    const std::shared_ptr<MpvPlayer> player_;
    std::vector<TimeObserverToken> tokens_;
};

}  // namespace

Result<std::unique_ptr<Player>> makeMpvPlayer(
    const std::filesystem::path& file, LoadPictureTimes loadPictureTimes, std::shared_ptr<Executor> mainExecutor)
{
    auto player = std::make_shared<MpvPlayer>(std::move(mainExecutor));
    if (const auto opened = player->open(file, std::move(loadPictureTimes)); !opened)
        return fail(opened.error());
    return std::make_unique<OwnedMpvPlayer>(std::move(player));
}

}  // namespace velmora::linux_backend
