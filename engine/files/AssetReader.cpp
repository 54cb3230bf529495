#include "engine/files/AssetReader.h"

#include "engine/files/CodecConfiguration.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/ShownSamples.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace velmora::engine {

namespace {

/// Two minutes at 30 pictures a second from one key frame to the next, in 256 MiB: more than any player could seek through.
constexpr std::size_t mostSamples = 3600;
constexpr std::uint64_t mostBytes = std::uint64_t{256} << 20;

tl::unexpected<Error> failure(AssetReaderErrorCode code, const char* description)
{
    return fail(std::string{assetReaderErrorDomain}, static_cast<int>(code), description);
}

Result<MediaTime> readDuration(const std::filesystem::path& path)
{
    const auto summary = mp4::readMovieSummary(path);
    if (!summary)
        return fail(summary.error());
    const bool isEmpty =
        std::all_of(summary->tracks.begin(), summary->tracks.end(), [](const mp4::TrackSummary& track) { return track.sampleCount == 0; });
    if (isEmpty)
        return failure(AssetReaderErrorCode::nothingInside, "The file has neither video nor sound.");
    return summary->duration;
}

/// The track of pictures that is played.
Result<const mp4::Track*> pictureTrack(const mp4::Movie& movie)
{
    const auto track = std::find_if(movie.tracks.begin(), movie.tracks.end(),
        [](const mp4::Track& candidate) { return candidate.isVideo() && !candidate.samples.isEmpty(); });
    if (track == movie.tracks.end())
        return failure(AssetReaderErrorCode::nothingInside, "The file has no video.");
    return &*track;
}

Result<std::vector<MediaTime>> readPictureTimes(const std::filesystem::path& path)
{
    const auto file = mp4::PosixFile::openForReading(path);
    if (!file)
        return fail(file.error());
    const auto movie = mp4::readMovie(**file);
    if (!movie)
        return fail(movie.error());
    const auto track = pictureTrack(movie->movie);
    if (!track)
        return fail(track.error());
    return mp4::pictureTimes(movie->movie, **track);
}

/// How a track's matrix (ISO 14496-12 8.3.2) turns and mirrors; anything else it does is ignored.
struct Orientation {
    explicit Orientation(const std::array<std::int32_t, 9>& matrix)
    {
        const auto a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
        if (a != 0 && d != 0 && b == 0 && c == 0) {
            flipsX = a < 0;
            flipsY = d < 0;
        } else if (a == 0 && d == 0 && b != 0 && c != 0) {
            swapsAxes = true;
            flipsX = c < 0;
            flipsY = b < 0;
        }
    }

    bool swapsAxes = false;  // before the flips
    bool flipsX = false;
    bool flipsY = false;
};

PixelBufferRef upright(PixelBufferRef picture, const Orientation& orientation)
{
    if (!orientation.swapsAxes && !orientation.flipsX && !orientation.flipsY)
        return picture;
    constexpr std::size_t pixelSize = 4;
    const auto sourceWidth = static_cast<std::size_t>(picture->width);
    const auto sourceHeight = static_cast<std::size_t>(picture->height);
    const auto width = orientation.swapsAxes ? sourceHeight : sourceWidth;
    const auto height = orientation.swapsAxes ? sourceWidth : sourceHeight;
    auto pixels = std::make_shared<std::vector<std::byte>>(width * height * pixelSize);
    for (std::size_t y = 0; y < sourceHeight; ++y) {
        for (std::size_t x = 0; x < sourceWidth; ++x) {
            const auto turnedX = orientation.swapsAxes ? y : x;
            const auto turnedY = orientation.swapsAxes ? x : y;
            const auto targetX = orientation.flipsX ? width - 1 - turnedX : turnedX;
            const auto targetY = orientation.flipsY ? height - 1 - turnedY : turnedY;
            std::memcpy(pixels->data() + (targetY * width + targetX) * pixelSize,
                picture->baseAddress + y * picture->bytesPerRow + x * pixelSize, pixelSize);
        }
    }
    auto result = std::make_shared<PixelBuffer>();
    result->width = static_cast<std::int32_t>(width);
    result->height = static_cast<std::int32_t>(height);
    result->bytesPerRow = width * pixelSize;
    result->baseAddress = pixels->data();
    result->owner = std::move(pixels);
    return result;
}

/// Feeds the decoder, from the sync sample on, until the picture comes out.
Result<PixelBufferRef> decode(mp4::File& file, const mp4::SampleTable& samples, const mp4::ShownSamples& shown, PictureDecoder& decoder)
{
    mp4::SampleTable::Cursor cursor{samples};
    mp4::Sample sample;
    std::vector<std::byte> bytes;
    std::uint64_t sum = 0;
    for (std::size_t index = 0; index <= shown.last && cursor.next(sample); ++index) {
        if (index < shown.first || sample.size == 0)
            continue;
        sum += sample.size;
        if (sum > mostBytes)
            return failure(AssetReaderErrorCode::tooLarge, "The picture is too far from a key frame.");
        bytes.resize(sample.size);
        const auto complete = file.readAt(sample.offset, bytes);
        if (!complete)
            return fail(complete.error());
        if (!*complete)
            return fail(mp4::makeError(mp4::ErrorCode::damaged, "The file has become shorter."));
        auto picture = decoder.decode(bytes, sample.decodeTime + sample.compositionOffset);
        if (!picture || *picture)
            return picture;
    }
    return decoder.finish();
}

Result<PixelBufferRef> readPicture(const std::filesystem::path& path, MediaTime time, std::int32_t maximumWidth, std::int32_t maximumHeight,
    const PictureDecoderFactory& makeDecoder)
{
    if (!time.isValid() || maximumWidth < 1 || maximumHeight < 1)
        return failure(AssetReaderErrorCode::invalidRequest, "There is no picture at that time or of that size.");
    const auto file = mp4::PosixFile::openForReading(path);
    if (!file)
        return fail(file.error());
    const auto movieFile = mp4::readMovie(**file);
    if (!movieFile)
        return fail(movieFile.error());
    const auto& movie = movieFile->movie;
    const auto found = pictureTrack(movie);
    if (!found)
        return fail(found.error());
    const auto* track = *found;
    const auto shown = mp4::samplesShownAt(movie, *track, time);
    if (shown->last - shown->first >= mostSamples)
        return failure(AssetReaderErrorCode::tooLarge, "The picture is too far from a key frame.");

    const Orientation orientation{track->matrix};
    if (orientation.swapsAxes)
        std::swap(maximumWidth, maximumHeight);
    const auto decoder = makeDecoder(decodablePictures(*track), {shown->presentationTime, maximumWidth, maximumHeight});
    if (!decoder)
        return fail(decoder.error());
    auto picture = decode(**file, track->samples, *shown, **decoder);
    if (!picture)
        return picture;
    return upright(std::move(*picture), orientation);
}

}  // namespace

AssetReader::AssetReader(PictureDecoderFactory makeDecoder) : makeDecoder_(std::move(makeDecoder)) { }

void AssetReader::loadDuration(const std::filesystem::path& file, UniqueFunction<void(Result<MediaTime>)> completion)
{
    durations_.async([file, completion = std::move(completion)]() mutable { completion(readDuration(file)); });
}

void AssetReader::loadPictureTimes(const std::filesystem::path& file, UniqueFunction<void(Result<std::vector<MediaTime>>)> completion)
{
    durations_.async([file, completion = std::move(completion)]() mutable { completion(readPictureTimes(file)); });
}

void AssetReader::generateImage(const std::filesystem::path& file, MediaTime time, std::int32_t maximumWidth, std::int32_t maximumHeight,
    UniqueFunction<void(Result<PixelBufferRef>)> completion)
{
    // A copy of the factory: what is queued may outlive this object.
    pictures_.async([file, time, maximumWidth, maximumHeight, makeDecoder = makeDecoder_, completion = std::move(completion)]() mutable {
        completion(readPicture(file, time, maximumWidth, maximumHeight, makeDecoder));
    });
}

}  // namespace velmora::engine
