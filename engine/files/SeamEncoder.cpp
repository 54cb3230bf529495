#include "engine/files/SeamEncoder.h"

#include "engine/files/ExpectedSound.h"
#include "media/mp4/AudioSpecificConfig.h"
#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <utility>

namespace velmora::engine {

namespace {

/// What an encoder hears before its first packet counts.
constexpr std::int64_t warmUpPackets = 4;
/// Half a second: sound lies in the file beside its pictures.
constexpr std::int64_t chunkPackets = 24;
/// Above the recorder's, because this is the second time. With more still, libavcodec's encoder does no better.
constexpr std::int64_t bitRateOfAChannel = 128'000;
constexpr std::int64_t leeway = mp4::SoundSplice::borderLeeway;

tl::unexpected<Error> notEncodedHere(const char* what)
{
    return fail(mp4::makeError(mp4::ErrorCode::unsupported, what));
}

const mp4::Track* trackOf(const mp4::Movie& movie, bool isVideo)
{
    const auto found = std::find_if(movie.tracks.begin(), movie.tracks.end(),
        [isVideo](const auto& track) { return track.isVideo() == isVideo && !track.samples.isEmpty(); });
    return found == movie.tracks.end() ? nullptr : &*found;
}

/// Counts what is done; false from advance() cancels.
class Work {
public:
    Work(const mp4::TrimProgress& progress, std::int64_t all) : progress_(progress), all_(std::max<std::int64_t>(all, 1)) { }

    [[nodiscard]] bool advance()
    {
        return !progress_ || progress_(std::min(1.0, static_cast<double>(done_++) / static_cast<double>(all_)));
    }

private:
    const mp4::TrimProgress& progress_;
    const std::int64_t all_;
    std::int64_t done_ = 0;
};

/// False: cancelled.
Result<bool> encodePictures(
    const std::vector<mp4::File*>& files, const mp4::OpenSplice& splice, const SeamCodecs& codecs, Work& work, mp4::AnewMedia& anew)
{
    std::vector<mp4::Sample> samples;
    std::size_t samplesOf = mp4::SampleOrigin::anew;
    for (const auto& run : splice.plan.pictureRuns) {
        const auto& track = *trackOf(splice.movies[run.source].movie, true);
        const auto& format = *track.format->video();
        if (samplesOf != run.source)
            samples = track.samples.expanded();
        samplesOf = run.source;
        const auto number = mp4::freeParameterSetNumber(format.decoderConfiguration);
        if (!number || !codecs.makePictureReencoder)
            return notEncodedHere("The pictures at a seam cannot be encoded here.");
        const auto reencoder = codecs.makePictureReencoder(format, *number);
        if (!reencoder)
            return fail(reencoder.error());
        std::vector<bool> isEncoded(run.lastDecoded - run.firstDecoded + 1);
        for (const auto index : run.encoded)
            isEncoded[index - run.firstDecoded] = true;
        for (auto index = run.firstDecoded; index <= run.lastDecoded; ++index) {
            if (!work.advance())
                return false;
            std::vector<std::byte> bytes(samples[index].size);
            const auto complete = files[run.source]->readAt(samples[index].offset, bytes);
            if (!complete)
                return fail(complete.error());
            if (!*complete)
                return fail(mp4::makeError(mp4::ErrorCode::damaged, "The file became shorter while it was being read."));
            if (const auto added = (*reencoder)->add(bytes, isEncoded[index - run.firstDecoded]); !added)
                return fail(added.error());
        }
        const auto encoded = (*reencoder)->finish();
        if (!encoded)
            return fail(encoded.error());
        if (anew.decoderConfiguration.empty())
            anew.decoderConfiguration = encoded->decoderConfiguration;
        if (anew.decoderConfiguration != encoded->decoderConfiguration || encoded->pictures.size() != run.encoded.size())
            return notEncodedHere("The pictures at the seams do not fit one another.");
        anew.beginChunk();
        for (const auto& picture : encoded->pictures)
            anew.pictures.push_back(anew.add(picture.bytes));
    }
    return true;
}

/// Packets that were encoded one after the other.
struct Stretch {
    std::int64_t first = 0;
    std::vector<DataBlock> packets;

    [[nodiscard]] std::span<const std::byte> at(std::int64_t number) const
    {
        return packets[static_cast<std::size_t>(number - first)].bytes;
    }
};

class SoundEncoder {
public:
    SoundEncoder(const std::vector<mp4::File*>& files, mp4::OpenSplice& splice, const SeamCodecs& codecs, Work& work)
        : splice_(*splice.plan.sound)
        , codecs_(codecs)
        , work_(work)
        , format_(*trackOf(splice.movies.front().movie, false)->format->audio())
    {
        for (std::size_t i = 0; i < files.size(); ++i)
            sources_.emplace_back(*files[i], format_, splice_.sources[i].packets, codecs.makePacketDecoder);
    }

    Result<bool> encode(mp4::AnewMedia& anew)
    {
        auto stretches = encodeRuns();
        if (stretches && *stretches && !joinStretches(**stretches)) {
            mp4::planSoundRuns(splice_, false);
            stretches = encodeRuns();
        }
        if (!stretches)
            return fail(stretches.error());
        if (!*stretches)
            return false;
        auto stretch = (*stretches)->begin();
        for (const auto& run : splice_.runs) {
            if (run.isCopied)
                continue;
            for (std::int64_t i = 0; i < run.count; ++i) {
                if (i % chunkPackets == 0)
                    anew.beginChunk();
                anew.sound.push_back(anew.add(stretch->at(run.first + i)));
            }
            ++stretch;
        }
        return true;
    }

private:
    using Stretches = std::vector<Stretch>;

    /// One for each run that is not copied, with what lies around it as far as its borders may move. None: cancelled.
    Result<std::optional<Stretches>> encodeRuns()
    {
        Stretches stretches;
        for (std::size_t i = 0; i < splice_.runs.size(); ++i) {
            const auto& run = splice_.runs[i];
            if (run.isCopied)
                continue;
            // One more, for the window of what comes before the border.
            const auto begin = i > 0 ? run.first - leeway - 1 : run.first;
            const auto end = run.first + run.count + (i + 1 < splice_.runs.size() ? leeway : 0);
            auto stretch = encodeStretch(begin, end);
            if (!stretch)
                return fail(stretch.error());
            if (!*stretch)
                return std::nullopt;
            stretches.push_back(std::move(**stretch));
        }
        return stretches;
    }

    Result<std::unique_ptr<AudioEncoder>> makeEncoder() const
    {
        if (!codecs_.makeAudioEncoder || !codecs_.makePacketDecoder)
            return notEncodedHere("The sound at a seam cannot be encoded here.");
        auto encoder = codecs_.makeAudioEncoder(
            {.channelCount = format_.channelCount, .sampleRate = splice_.rate, .bitRate = bitRateOfAChannel * format_.channelCount});
        if (!encoder)
            return encoder;
        if ((*encoder)->primingFrames() != mp4::SoundSplice::packetFrames
            || !mp4::describesSameStream((*encoder)->format()->audio()->decoderConfiguration, format_.decoderConfiguration))
            return notEncodedHere("The file cannot be trimmed exactly: its sound is a kind of AAC that is not encoded here.");
        return encoder;
    }

    Result<std::optional<Stretch>> encodeStretch(std::int64_t first, std::int64_t end)
    {
        const auto encoder = makeEncoder();
        if (!encoder)
            return fail(encoder.error());
        ExpectedSound sound{splice_, sources_, static_cast<std::size_t>(format_.channelCount)};
        Stretch stretch{first, {}};
        std::vector<AudioEncoder::Packet> packets;
        // The first packet is the encoder's priming: what comes out is behind what went in by one.
        std::int64_t out = first - warmUpPackets - 1;
        for (auto in = first - warmUpPackets; out < end; ++in) {
            if (!work_.advance())
                return std::nullopt;
            const auto frames = sound.framesFrom(splice_.timeOf(in));
            if (!frames)
                return fail(frames.error());
            packets.clear();
            if (const auto encoded = (*encoder)->encode(*frames, packets); !encoded)
                return fail(encoded.error());
            for (auto& packet : packets) {
                if (out >= first && out < end)
                    stretch.packets.push_back(std::move(packet.data));
                ++out;
            }
        }
        return stretch;
    }

    /// Moves each border between a stretch and what is copied to where both sides overlap. False where they do so nowhere.
    bool joinStretches(const Stretches& stretches)
    {
        auto stretch = stretches.begin();
        for (std::size_t i = 0; i < splice_.runs.size(); ++i) {
            if (splice_.runs[i].isCopied)
                continue;
            if (i > 0 && !moveBorderBack(splice_.runs[i - 1], splice_.runs[i], *stretch))
                return false;
            if (i + 1 < splice_.runs.size() && !moveBorderOn(splice_.runs[i], splice_.runs[i + 1], *stretch))
                return false;
            ++stretch;
        }
        return true;
    }

    bool moveBorderBack(mp4::SoundRun& copied, mp4::SoundRun& anew, const Stretch& stretch)
    {
        for (std::int64_t moved = 0; moved <= leeway; ++moved) {
            const auto border = anew.first - moved;
            const auto before = windowOf(copied, border - 1);
            const auto original = mp4::soundWindowOf(stretch.at(border - 1));
            const auto packet = mp4::soundWindowOf(stretch.at(border));
            if (before && original && packet && mp4::overlapsAlike(*before, *original, *packet)) {
                anew.first = border;
                anew.count += moved;
                copied.count -= moved;
                return true;
            }
        }
        return false;
    }

    bool moveBorderOn(mp4::SoundRun& anew, mp4::SoundRun& copied, const Stretch& stretch)
    {
        for (std::int64_t moved = 0; moved <= leeway; ++moved) {
            const auto border = copied.first + moved;
            const auto before = mp4::soundWindowOf(stretch.at(border - 1));
            const auto original = windowOf(copied, border - 1);
            const auto packet = windowOf(copied, border);
            if (before && original && packet && mp4::overlapsAlike(*before, *original, *packet)) {
                anew.count += moved;
                copied.first = border;
                copied.firstInSource += static_cast<std::size_t>(moved);
                copied.count -= moved;
                return true;
            }
        }
        return false;
    }

    /// Of the source's packet at that place of the new track, which may lie just outside the run.
    std::optional<mp4::SoundWindow> windowOf(const mp4::SoundRun& run, std::int64_t number)
    {
        const auto inSource = static_cast<std::int64_t>(run.firstInSource) + number - run.first;
        if (inSource < 0)
            return std::nullopt;
        const auto bytes = sources_[run.source].packet(static_cast<std::size_t>(inSource));
        return bytes ? mp4::soundWindowOf(*bytes) : std::nullopt;
    }

    mp4::SoundSplice& splice_;
    const SeamCodecs& codecs_;
    Work& work_;
    const AudioFormat& format_;
    std::vector<SourceSound> sources_;
};

std::int64_t workOf(const mp4::SplicePlan& plan)
{
    std::int64_t work = 0;
    for (const auto& run : plan.pictureRuns)
        work += static_cast<std::int64_t>(run.lastDecoded - run.firstDecoded) + 1;
    if (plan.sound) {
        for (const auto& run : plan.sound->runs)
            work += run.isCopied ? 0 : run.count;
    }
    return work;
}

}  // namespace

Result<std::optional<mp4::AnewMedia>> encodeSeams(
    const std::vector<mp4::File*>& files, mp4::OpenSplice& splice, const SeamCodecs& codecs, const mp4::TrimProgress& progress)
{
    mp4::AnewMedia anew;
    if (splice.plan.isTrim)
        return anew;
    Work work{progress, workOf(splice.plan)};
    const auto pictures = encodePictures(files, splice, codecs, work, anew);
    if (!pictures)
        return fail(pictures.error());
    if (!*pictures)
        return std::nullopt;
    if (splice.plan.sound) {
        const auto sound = SoundEncoder{files, splice, codecs, work}.encode(anew);
        if (!sound)
            return fail(sound.error());
        if (!*sound)
            return std::nullopt;
    }
    return anew;
}

}  // namespace velmora::engine
