#include "engine/sharing/ClipSource.h"

#include "engine/files/CodecConfiguration.h"
#include "media/mp4/RecordingLayout.h"
#include "media/mp4/Repair.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora::engine {

namespace {

/// The largest frame of H.264's highest level (ITU-T H.264 A.3.1, level 6.2).
constexpr std::int64_t largestPixelCount = std::int64_t{139264} * 256;

tl::unexpected<Error> refused(const char* why)
{
    return fail(mp4::makeError(mp4::ErrorCode::unsupported, why));
}

/// `value` of one scale on another, to the nearest tick. Files are not believed beyond 34 years, so nothing overflows.
std::int64_t onScale(std::int64_t value, std::int32_t from, std::int32_t to)
{
    return MediaTime{value, from}.converted(to).value;
}

/// When the last sample ends to be shown, which is later than it ends to be decoded.
std::int64_t endOfMedia(const mp4::Track& track)
{
    std::int64_t end = 0;
    mp4::SampleTable::Cursor cursor{track.samples};
    for (mp4::Sample sample; cursor.next(sample);)
        end = std::max(end, sample.decodeTime + sample.compositionOffset + sample.duration);
    return end;
}

struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// As large as the pictures are stored, but with square pixels: the track says of what shape theirs are by the size at which it is shown.
Size shownSize(const mp4::Track& track)
{
    const auto& format = *track.format->video();
    const Size stored{format.width, format.height};
    if (stored.width < 1 || stored.height < 1 || track.shownWidth == 0 || track.shownHeight == 0)
        return stored;
    const double shape = static_cast<double>(track.shownWidth) / track.shownHeight * stored.height / stored.width;
    // Others are a mistake of whoever wrote the file; and sizes are rounded.
    constexpr double mostUnusual = 8;
    constexpr double square = 0.01;
    if (std::abs(shape - 1) < square || shape > mostUnusual || shape < 1 / mostUnusual)
        return stored;
    if (shape > 1)
        return {static_cast<std::int32_t>(std::lround(stored.width * shape)), stored.height};
    return {stored.width, static_cast<std::int32_t>(std::lround(stored.height / shape))};
}

class TrackSamples final : public CodedSamples {
public:
    TrackSamples(mp4::File& file, const mp4::Track& track, std::int64_t offset)
        : file_(file)
        , track_(track)
        , offset_(offset)
        , cursor_(track.samples)
    {
    }

    [[nodiscard]] std::int32_t timescale() const override { return track_.timescale; }

    void seek(double seconds) override
    {
        const auto wanted = static_cast<std::int64_t>(seconds * track_.timescale);
        // A picture that is decoded after a sync sample may be shown before it; one sync sample more is enough for that.
        std::size_t begin = 0;
        std::size_t before = 0;
        std::size_t index = 0;
        mp4::SampleTable::Cursor cursor{track_.samples};
        for (mp4::Sample sample; cursor.next(sample); ++index) {
            if (!sample.isSync)
                continue;
            if (sample.decodeTime + sample.compositionOffset + offset_ > wanted)
                break;
            before = std::exchange(begin, index);
        }
        cursor_.emplace(track_.samples);
        mp4::Sample sample;
        for (std::size_t i = 0; i < (track_.samples.hasCompositionOffsets() ? before : begin); ++i)
            cursor_->next(sample);
    }

    Result<std::optional<Sample>> next() override
    {
        mp4::Sample sample;
        do {
            if (!cursor_->next(sample))
                return std::nullopt;
        } while (sample.size == 0);
        bytes_.resize(sample.size);
        const auto complete = file_.readAt(sample.offset, bytes_);
        if (!complete)
            return fail(complete.error());
        if (!*complete)
            return fail(mp4::makeError(mp4::ErrorCode::damaged, "The file has become shorter."));
        return Sample{bytes_, sample.decodeTime + sample.compositionOffset + offset_};
    }

private:
    mp4::File& file_;
    const mp4::Track& track_;
    const std::int64_t offset_;
    std::optional<mp4::SampleTable::Cursor> cursor_;
    std::vector<std::byte> bytes_;
};

}  // namespace

Result<ClipSource> ClipSource::open(mp4::File& file)
{
    auto read = mp4::readMovie(file);
    bool isWhole = true;
    if (read && read->recording && !read->recording->isFinished) {
        isWhole = false;
        read = mp4::readWholeFragments(file);
        // It may have been finished in between.
        if (read && read->movie.isFragmented)
            mp4::closeRecordedMovie(read->movie, {});
    }
    if (!read)
        return fail(read.error());
    if (read->unread)
        return fail(mp4::makeError(mp4::ErrorCode::damaged, "The file is damaged: " + read->unread->what + "."));
    ClipSource source{file, std::move(*read)};
    source.isWhole_ = isWhole;
    if (auto described = source.describe(); !described)
        return fail(described.error());
    return source;
}

Result<void> ClipSource::describe()
{
    for (const auto& track : movie_->movie.tracks) {
        const auto*& chosen = track.isVideo() ? pictureTrack_ : soundTrack_;
        if (!chosen && !track.samples.isEmpty())
            chosen = &track;
    }
    if (!pictureTrack_)
        return refused("The file has no video.");
    const auto pictureShift = shiftOf(*pictureTrack_);
    if (!pictureShift)
        return fail(pictureShift.error());
    pictureShift_ = *pictureShift;
    std::int64_t end = onScale(pictureShift_.end, pictureTrack_->timescale, pictureTimescale);
    if (soundTrack_) {
        const auto soundShift = shiftOf(*soundTrack_);
        if (!soundShift)
            return fail(soundShift.error());
        soundShift_ = *soundShift;
        soundFormat_ = decodableSound(*soundTrack_);
        end = std::max(end, onScale(soundShift_.end, soundTrack_->timescale, pictureTimescale));
    }
    length_ = end;
    if (length_ <= 0)
        return refused("The file has no length.");

    auto& pictures = pictures_;
    pictures.format = decodablePictures(*pictureTrack_);
    pictures.matrix = pictureTrack_->matrix;
    const auto size = shownSize(*pictureTrack_);
    if (size.width < 2 || size.height < 2 || std::int64_t{size.width} * size.height > largestPixelCount)
        return refused("The file's pictures have a size that cannot be encoded.");
    pictures.width = size.width;
    pictures.height = size.height;
    constexpr double fixedPoint = 1 << 16;
    pictures.matrixWidth = pictureTrack_->shownWidth > 0 ? pictureTrack_->shownWidth / fixedPoint : size.width;
    pictures.matrixHeight = pictureTrack_->shownHeight > 0 ? pictureTrack_->shownHeight / fixedPoint : size.height;

    mp4::SampleTable::Cursor cursor{pictureTrack_->samples};
    for (mp4::Sample sample; cursor.next(sample);) {
        const auto time =
            onScale(sample.decodeTime + sample.compositionOffset + pictureShift_.offset, pictureTrack_->timescale, pictureTimescale);
        if (time < length_)
            pictures.times.push_back(time);
    }
    std::sort(pictures.times.begin(), pictures.times.end());
    // The clip begins with what is on the screen then, and with its first picture where that comes late.
    const auto shown = std::upper_bound(pictures.times.begin(), pictures.times.end(), 0);
    pictures.times.erase(pictures.times.begin(), shown == pictures.times.begin() ? shown : shown - 1);
    pictures.times.erase(std::unique(pictures.times.begin(), pictures.times.end()), pictures.times.end());
    if (pictures.times.empty())
        return refused("The file has no video.");
    pictures.times.front() = 0;
    return {};
}

Result<ClipSource::Shift> ClipSource::shiftOf(const mp4::Track& track) const
{
    if (track.sampleEntryCount > 1)
        return refused("The file's format changes within it, which this program cannot encode anew.");
    auto media = endOfMedia(track);
    Shift shift;
    bool isShown = track.edits.empty();
    for (const auto& edit : track.edits) {
        const auto duration = static_cast<std::int64_t>(std::min(mp4::rescaled(edit.duration, movie_->movie.timescale, track.timescale),
            static_cast<std::uint64_t>(mp4::largestSeconds) * static_cast<std::uint64_t>(track.timescale)));
        if (edit.mediaTime < 0) {
            if (!isShown)
                shift.begin += duration;
            continue;
        }
        if (isShown || !edit.isAtNormalSpeed || edit.mediaTime > mp4::largestSeconds * track.timescale)
            return refused("The file is put together of several parts, which this program cannot encode anew.");
        isShown = true;
        shift.offset = shift.begin - edit.mediaTime;
        media += shift.offset;
        if (edit.duration > 0)
            media = std::min(media, shift.begin + duration);
    }
    if (!isShown)
        return refused("The file shows nothing.");
    shift.end = std::max(shift.begin, media);
    return shift;
}

double ClipSource::soundRate() const
{
    return soundTrack_ ? static_cast<double>(soundTrack_->samples.byteCount()) / seconds() : 0;
}

std::unique_ptr<CodedSamples> ClipSource::pictureSamples() const
{
    return std::make_unique<TrackSamples>(*file_, *pictureTrack_, pictureShift_.offset);
}

std::unique_ptr<CodedSamples> ClipSource::soundSamples() const
{
    return soundTrack_ ? std::make_unique<TrackSamples>(*file_, *soundTrack_, soundShift_.offset) : nullptr;
}

}  // namespace velmora::engine
