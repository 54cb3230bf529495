// Seam: playing a media file.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/MediaTime.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace velmora::platform {

/// Where a picture is drawn: the caller's memory, `height` rows of `width` pixels, "BGRA", top row first.
struct PictureTarget {
    std::byte* pixels = nullptr;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::size_t bytesPerRow = 0;
};

/// One file. Main thread only; observers are called on that thread, never within a call to the player, and never after its
/// destruction. It begins paused, at its first picture.
class Player {
public:
    using TimeObserverToken = std::uint64_t;
    using TimeObserver = std::function<void(MediaTime)>;

    virtual ~Player() = default;

    virtual void play() = 0;
    virtual void pause() = 0;

    /// Shows exactly the picture that the file shows at `time`; from the end on, the last. Of seeks in quick succession only the last
    /// one counts.
    virtual void seek(MediaTime time) = 0;

    /// Playing pauses by itself at this time, before any picture that begins later. Playing from there or beyond pauses at once. None:
    /// the end of the file.
    virtual void setForwardPlaybackEndTime(std::optional<MediaTime> time) = 0;

    /// The sound of this player alone: 0 is silence, 1 is as it is in the file and where it begins. Nothing of it is stored.
    virtual void setVolume(double volume) = 0;
    virtual void setMuted(bool isMuted) = 0;

    /// `observer` is called with the time that is playing, no more often than every `interval`, and with that at which playing pauses, by
    /// itself or not.
    virtual TimeObserverToken addPeriodicTimeObserver(MediaTime interval, TimeObserver observer) = 0;
    virtual void removeTimeObserver(TimeObserverToken token) = 0;

    /// `changed`: there is another picture to draw.
    virtual void setPictureObserver(std::function<void()> changed) = 0;

    /// Draws the current picture, its shape kept, in the middle of the target, black around it. False when there is none yet.
    virtual bool drawPicture(const PictureTarget& target) = 0;

    /// Called once when the file cannot be played.
    virtual void setFailureObserver(std::function<void(const Error&)> failed) = 0;
};

class PlayerFactory {
public:
    virtual ~PlayerFactory() = default;

    /// Has what all players need loaded on a thread of its own, for when a player is likely to be made. `completion` is called once, on the
    /// main thread: within this call where nothing is left to be loaded, and also where this machine has no player.
    virtual void prepare(UniqueFunction<void()> completion) = 0;

    /// Waits for what `prepare` loads, if that is not there. Fails if this machine has no player. A file that cannot be played is reported
    /// later.
    virtual Result<std::unique_ptr<Player>> makePlayer(const std::filesystem::path& file) = 0;
};

}  // namespace velmora::platform
