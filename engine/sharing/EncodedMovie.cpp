#include "engine/sharing/EncodedMovie.h"

#include "media/mp4/RecordingLayout.h"
#include "media/mp4/Trimmer.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace velmora::engine {

namespace {

/// What a player that reads from front to back has to keep.
constexpr double soundAhead = 0.5;

constexpr std::size_t copiedAtOnce = std::size_t{64} << 10;

}  // namespace

EncodedMovie::EncodedMovie(std::unique_ptr<mp4::File> scratch, const EncodedSound* sound)
    : scratch_(std::move(scratch))
    , sound_(sound && !sound->packetSizes.empty() ? sound : nullptr)
    , buffer_(copiedAtOnce)
{
}

Result<void> EncodedMovie::add(const EncodedPicture& picture)
{
    if (!firstDecodeTime_)
        firstDecodeTime_ = picture.decodeTime;
    const auto decodeTime = picture.decodeTime - *firstDecodeTime_;
    if (auto added = addSoundUpTo(static_cast<double>(decodeTime) / pictureTimescale + soundAhead); !added)
        return added;
    const auto size = static_cast<std::uint32_t>(picture.bytes.size());
    const auto offset = picture.time - picture.decodeTime;
    if (!pictures_.append({end_, size, decodeTime, static_cast<std::int32_t>(offset), picture.isSync}))
        return fail(mp4::makeError(mp4::ErrorCode::tooLarge, "The clip has more pictures than a file can have."));
    if (auto written = scratch_->writeAt(end_, picture.bytes); !written)
        return written;
    end_ += size;
    pictureBytes_ += size;
    lastTime_ = std::max(lastTime_, picture.time);
    return {};
}

Result<void> EncodedMovie::addSoundUpTo(double seconds)
{
    if (!sound_)
        return {};
    const auto& sizes = sound_->packetSizes;
    const auto rate = static_cast<double>(sound_->format->audio()->sampleRate);
    while (nextPacket_ < sizes.size()) {
        const auto time = static_cast<std::int64_t>(nextPacket_) * sound_->packetFrames;
        if (static_cast<double>(time) > seconds * rate)
            break;
        const auto size = sizes[nextPacket_];
        if (!packets_.append({end_, size, time, 0, true}))
            return fail(mp4::makeError(mp4::ErrorCode::tooLarge, "The clip has more sound than a file can have."));
        const auto complete = scratch_->copyFrom(*sound_->file, nextPacketAt_, end_, size, buffer_);
        if (!complete)
            return fail(complete.error());
        assert(*complete);
        end_ += size;
        nextPacketAt_ += size;
        ++nextPacket_;
    }
    return {};
}

Result<std::uint64_t> EncodedMovie::finish(const Ending& ending)
{
    assert(!pictures_.isEmpty());
    const auto seconds = static_cast<double>(ending.length) / pictureTimescale;
    if (auto added = addSoundUpTo(seconds + 60); !added)
        return fail(added.error());

    mp4::Movie& movie = movie_;
    movie.creationTime = mp4::currentFileTime();
    movie.timescale = sound_ ? sound_->format->audio()->sampleRate : mp4::videoTimescale;
    const auto length = static_cast<std::uint64_t>(MediaTime{ending.length, pictureTimescale}.converted(movie.timescale).value);

    mp4::Track pictures;
    pictures.id = 1;
    pictures.format = ending.format;
    pictures.timescale = pictureTimescale;
    pictures.matrix = ending.matrix;
    // Decode times begin at 0, and pictures as much later as they are decoded before they are shown.
    const auto delay = -*firstDecodeTime_;
    pictures_.setLastDuration(static_cast<std::uint32_t>(std::max<std::int64_t>(1, ending.length + delay - pictures_.lastDecodeTime())));
    pictures.samples = std::move(pictures_);
    pictures.edits.push_back({length, delay});
    movie.tracks.push_back(std::move(pictures));

    if (sound_) {
        mp4::Track sound;
        sound.id = 2;
        sound.format = sound_->format;
        sound.timescale = movie.timescale;
        packets_.setLastDuration(static_cast<std::uint32_t>(sound_->packetFrames));
        sound.samples = std::move(packets_);
        sound.edits.push_back({static_cast<std::uint64_t>(sound_->presentedFrames), sound_->primingFrames});
        movie.tracks.push_back(std::move(sound));
    }
    return mp4::serializeWholeHead(movie, end_).size() + end_;
}

Result<bool> EncodedMovie::writeTo(mp4::File& target, const std::function<bool(double)>& progress)
{
    mp4::TrimOptions options;
    options.largestBlock = std::size_t{1} << 20;
    auto written = mp4::writeTrim(*scratch_, std::move(movie_), target, progress, options);
    if (!written)
        return fail(written.error());
    return *written == mp4::TrimOutcome::written;
}

}  // namespace velmora::engine
