// A clip's pictures, encoded anew, together with its sound, on their way to an MP4 file.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "engine/sharing/EncodedSound.h"
#include "media/mp4/Movie.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace velmora::engine {

/// Media goes to a scratch file in the order in which it is played, sound at most half a second ahead; only then is it known how long the
/// index is that comes before it. Used on one thread.
class EncodedMovie {
public:
    /// `scratch` is empty. `sound` may be null, and outlives this.
    EncodedMovie(std::unique_ptr<mp4::File> scratch, const EncodedSound* sound);

    /// In decode order.
    Result<void> add(const EncodedPicture& picture);

    /// What media takes so far, with all of the sound.
    [[nodiscard]] std::uint64_t mediaSize() const { return pictureBytes_ + (sound_ ? sound_->byteCount : 0); }
    [[nodiscard]] std::size_t pictureCount() const { return pictures_.count(); }

    struct Ending {
        FormatDescriptionRef format;  ///< of the pictures
        std::array<std::int32_t, 9> matrix{};
        std::int64_t length = 0;  ///< of the clip, in ticks of pictureTimescale
    };

    /// No picture follows. Returns how many bytes the file will have. Precondition: there was a picture.
    Result<std::uint64_t> finish(const Ending& ending);

    /// Copies it to `target`, which is empty. `progress` as for mp4::writeTrim(); false: cancelled. After finish(), once.
    Result<bool> writeTo(mp4::File& target, const std::function<bool(double)>& progress);

private:
    Result<void> addSoundUpTo(double seconds);

    std::unique_ptr<mp4::File> scratch_;
    const EncodedSound* sound_;
    mp4::SampleTable pictures_;
    mp4::SampleTable packets_;
    std::uint64_t end_ = 0;
    std::uint64_t pictureBytes_ = 0;
    std::optional<std::int64_t> firstDecodeTime_;
    std::int64_t lastTime_ = 0;
    std::size_t nextPacket_ = 0;
    std::uint64_t nextPacketAt_ = 0;
    std::vector<std::byte> buffer_;
    mp4::Movie movie_;
};

}  // namespace velmora::engine
