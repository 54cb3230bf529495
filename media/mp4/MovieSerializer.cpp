#include "media/mp4/MovieSerializer.h"

#include "media/mp4/BoxWriter.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace velmora::mp4 {

namespace {

constexpr std::uint64_t largest32 = std::numeric_limits<std::uint32_t>::max();

// ISO 14496-12 8.8.3.1: sample_depends_on and sample_is_non_sync_sample.
constexpr std::uint32_t syncSampleFlags = 0x02000000;
constexpr std::uint32_t otherSampleFlags = 0x01010000;

std::uint8_t versionFor(std::initializer_list<std::uint64_t> values)
{
    return std::all_of(values.begin(), values.end(), [](std::uint64_t value) { return value <= largest32; }) ? 0 : 1;
}

void writeMatrix(BoxWriter& writer, const std::array<std::int32_t, 9>& matrix)
{
    for (const auto value : matrix)
        writer.i32(value);
}

std::uint64_t movieDuration(const Movie& movie, MediaTime duration)
{
    return static_cast<std::uint64_t>(duration.converted(movie.timescale).value);
}

void writeMovieHeader(BoxWriter& writer, const Movie& movie)
{
    const auto duration = movie.isFragmented ? 0 : std::max(movie.leastDuration, movieDuration(movie, presentationDuration(movie)));
    const auto version = versionFor({movie.creationTime, duration});
    const auto box = writer.fullBox("mvhd", version, 0);
    writer.sized(version, movie.creationTime);
    writer.sized(version, movie.creationTime);
    writer.i32(movie.timescale);
    writer.sized(version, duration);
    writer.u32(0x10000);  // rate 1.0
    writer.u16(0x100);  // volume 1.0
    writer.zeros(10);
    writeMatrix(writer, Track::identityMatrix);
    writer.zeros(24);
    std::uint32_t nextTrack = 1;
    for (const auto& track : movie.tracks)
        nextTrack = std::max(nextTrack, track.id + 1);
    writer.u32(nextTrack);
}

void writeTrackHeader(BoxWriter& writer, const Movie& movie, const Track& track)
{
    const auto duration = movie.isFragmented ? 0 : movieDuration(movie, presentationDuration(movie, track));
    const auto version = versionFor({movie.creationTime, duration});
    const auto box = writer.fullBox("tkhd", version, 0x3);  // enabled, in the movie
    writer.sized(version, movie.creationTime);
    writer.sized(version, movie.creationTime);
    writer.u32(track.id);
    writer.u32(0);
    writer.sized(version, duration);
    writer.zeros(8);
    writer.u16(0);  // layer
    writer.u16(0);  // alternate group
    writer.u16(track.isVideo() ? 0 : 0x100);
    writer.u16(0);
    writeMatrix(writer, track.matrix);
    const auto* video = track.format->video();
    const bool isKnown = !video || (track.shownWidth > 0 && track.shownHeight > 0);
    writer.u32(isKnown ? track.shownWidth : static_cast<std::uint32_t>(video->width) << 16);
    writer.u32(isKnown ? track.shownHeight : static_cast<std::uint32_t>(video->height) << 16);
}

void writeEditList(BoxWriter& writer, const Track& track)
{
    if (track.edits.empty())
        return;
    std::uint8_t version = 0;
    for (const auto& edit : track.edits) {
        if (edit.duration > largest32 || edit.mediaTime > std::numeric_limits<std::int32_t>::max())
            version = 1;
    }
    const auto container = writer.box("edts");
    const auto box = writer.fullBox("elst", version, 0);
    writer.u32(static_cast<std::uint32_t>(track.edits.size()));
    for (const auto& edit : track.edits) {
        writer.sized(version, edit.duration);
        if (version == 1)
            writer.i64(edit.mediaTime);
        else
            writer.i32(static_cast<std::int32_t>(edit.mediaTime));
        writer.u16(1);  // normal speed
        writer.u16(0);
    }
}

void writeMediaHeader(BoxWriter& writer, const Movie& movie, const Track& track)
{
    const auto duration = movie.isFragmented ? 0 : track.samples.duration();
    const auto version = versionFor({movie.creationTime, duration});
    const auto box = writer.fullBox("mdhd", version, 0);
    writer.sized(version, movie.creationTime);
    writer.sized(version, movie.creationTime);
    writer.i32(track.timescale);
    writer.sized(version, duration);
    writer.u16(track.language);
    writer.u16(0);
}

void writeExtendedLanguage(BoxWriter& writer, const Track& track)
{
    if (track.extendedLanguage.empty())
        return;
    const auto box = writer.box("elng");
    writer.bytes(track.extendedLanguage);
}

void writeHandler(BoxWriter& writer, const Track& track)
{
    const auto box = writer.fullBox("hdlr", 0, 0);
    writer.u32(0);
    writer.u32((track.isVideo() ? FourCharacterCode{"vide"} : FourCharacterCode{"soun"}).value);
    writer.zeros(12);
    writer.text(track.isVideo() ? "Video" : "Sound");
    writer.u8(0);
}

struct BitRate {
    std::uint32_t largestSample = 0;  ///< bytes
    std::uint32_t average = 0;  ///< bits per second
};

BitRate bitRate(const Track& track)
{
    BitRate rate;
    const auto& sizes = track.samples.sizes();
    if (sizes.empty())
        return rate;
    rate.largestSample = *std::max_element(sizes.begin(), sizes.end());
    const auto seconds = static_cast<double>(track.samples.duration()) / track.timescale;
    if (seconds > 0)
        rate.average = static_cast<std::uint32_t>(std::min(static_cast<double>(track.samples.byteCount()) * 8 / seconds, 4e9));
    return rate;
}

void writeVideoEntry(BoxWriter& writer, const VideoFormat& format, const BitRate& rate)
{
    const auto entry = writer.box(format.codec);
    writer.zeros(6);
    writer.u16(1);  // data reference
    writer.zeros(16);
    writer.u16(static_cast<std::uint16_t>(format.width));
    writer.u16(static_cast<std::uint16_t>(format.height));
    writer.u32(0x480000);  // 72 dpi
    writer.u32(0x480000);
    writer.u32(0);
    writer.u16(1);  // one picture a sample
    writer.zeros(32);
    writer.u16(0x18);  // colour without alpha
    writer.u16(0xFFFF);  // no colour table
    {
        const auto box = writer.box("avcC");
        writer.bytes(format.decoderConfiguration);
    }
    {
        const auto box = writer.box("colr");
        writer.text("nclx");
        writer.u16(format.colour.primaries);
        writer.u16(format.colour.transfer);
        writer.u16(format.colour.matrix);
        writer.u8(format.colour.fullRange ? 0x80 : 0);
    }
    if (rate.average > 0) {
        const auto box = writer.box("btrt");
        writer.u32(rate.largestSample);
        writer.u32(rate.average);
        writer.u32(rate.average);
    }
}

// A descriptor of ISO 14496-1 8.3.3 with the long form of its size, so that the header's own size is known beforehand.
void writeDescriptorHeader(BoxWriter& writer, std::uint8_t tag, std::size_t size)
{
    writer.u8(tag);
    writer.u8(static_cast<std::uint8_t>(0x80 | ((size >> 21) & 0x7F)));
    writer.u8(static_cast<std::uint8_t>(0x80 | ((size >> 14) & 0x7F)));
    writer.u8(static_cast<std::uint8_t>(0x80 | ((size >> 7) & 0x7F)));
    writer.u8(static_cast<std::uint8_t>(size & 0x7F));
}

void writeElementaryStreamDescriptor(BoxWriter& writer, const AudioFormat& format, const BitRate& rate)
{
    constexpr std::size_t header = 5;
    const auto specificInfo = format.decoderConfiguration.size();
    const auto decoderConfig = 13 + header + specificInfo;
    const auto box = writer.fullBox("esds", 0, 0);
    writeDescriptorHeader(writer, 0x03, 3 + header + decoderConfig + header + 1);
    writer.u16(0);  // ES_ID is 0 inside files (ISO 14496-14 3.1.2)
    writer.u8(0);
    writeDescriptorHeader(writer, 0x04, decoderConfig);
    writer.u8(0x40);  // ISO 14496-3 audio
    writer.u8(0x15);  // an audio stream
    writer.u8(static_cast<std::uint8_t>(rate.largestSample >> 16));
    writer.u16(static_cast<std::uint16_t>(rate.largestSample));
    writer.u32(rate.average);
    writer.u32(rate.average);
    writeDescriptorHeader(writer, 0x05, specificInfo);
    writer.bytes(format.decoderConfiguration);
    writeDescriptorHeader(writer, 0x06, 1);
    writer.u8(2);  // the settings of MP4 files
}

void writeAudioEntry(BoxWriter& writer, const AudioFormat& format, const BitRate& rate)
{
    const auto entry = writer.box(format.codec);
    writer.zeros(6);
    writer.u16(1);  // data reference
    writer.zeros(8);
    writer.u16(static_cast<std::uint16_t>(format.channelCount));
    writer.u16(16);
    writer.u32(0);
    // 16.16; a rate that does not fit is given by the decoder configuration alone.
    writer.u32(format.sampleRate <= 0xFFFF ? static_cast<std::uint32_t>(format.sampleRate) << 16 : 0);
    writeElementaryStreamDescriptor(writer, format, rate);
}

void writeSampleDescriptions(BoxWriter& writer, const Track& track)
{
    const auto box = writer.fullBox("stsd", 0, 0);
    writer.u32(1);
    if (!track.sampleEntry.empty())
        writer.bytes(track.sampleEntry);
    else if (const auto* video = track.format->video())
        writeVideoEntry(writer, *video, bitRate(track));
    else
        writeAudioEntry(writer, *track.format->audio(), bitRate(track));
}

void writeDurations(BoxWriter& writer, const SampleTable& samples)
{
    auto runs = samples.durationRuns();
    if (!samples.isEmpty()) {
        if (!runs.empty() && runs.back().value == samples.lastDuration())
            ++runs.back().count;
        else
            runs.push_back({1, samples.lastDuration()});
    }
    const auto box = writer.fullBox("stts", 0, 0);
    writer.u32(static_cast<std::uint32_t>(runs.size()));
    for (const auto& run : runs) {
        writer.u32(run.count);
        writer.u32(static_cast<std::uint32_t>(run.value));
    }
}

void writeCompositionOffsets(BoxWriter& writer, const SampleTable& samples)
{
    if (!samples.hasCompositionOffsets())
        return;
    const auto& runs = samples.compositionRuns();
    const bool negative = std::any_of(runs.begin(), runs.end(), [](const auto& run) { return run.value < 0; });
    const auto box = writer.fullBox("ctts", negative ? 1 : 0, 0);
    writer.u32(static_cast<std::uint32_t>(runs.size()));
    for (const auto& run : runs) {
        writer.u32(run.count);
        writer.i32(static_cast<std::int32_t>(run.value));
    }
}

void writeSyncSamples(BoxWriter& writer, const SampleTable& samples)
{
    if (samples.allSync())
        return;
    const auto box = writer.fullBox("stss", 0, 0);
    writer.u32(static_cast<std::uint32_t>(samples.syncSamples().size()));
    for (const auto index : samples.syncSamples())
        writer.u32(index + 1);
}

void writeSampleSizes(BoxWriter& writer, const SampleTable& samples)
{
    const auto box = writer.fullBox("stsz", 0, 0);
    writer.u32(0);
    writer.u32(static_cast<std::uint32_t>(samples.count()));
    for (const auto size : samples.sizes())
        writer.u32(size);
}

void writeChunks(BoxWriter& writer, const SampleTable& samples)
{
    const auto& chunks = samples.chunks();
    {
        const auto box = writer.fullBox("stsc", 0, 0);
        const auto countPosition = writer.position();
        writer.u32(0);
        std::uint32_t runs = 0;
        for (std::size_t i = 0; i < chunks.size(); ++i) {
            if (i > 0 && chunks[i].sampleCount == chunks[i - 1].sampleCount)
                continue;
            writer.u32(static_cast<std::uint32_t>(i + 1));
            writer.u32(chunks[i].sampleCount);
            writer.u32(1);  // the only sample description
            ++runs;
        }
        writer.overwriteU32(countPosition, runs);
    }
    const bool large = std::any_of(chunks.begin(), chunks.end(), [](const auto& chunk) { return chunk.offset > largest32; });
    const auto box = writer.fullBox(large ? FourCharacterCode{"co64"} : FourCharacterCode{"stco"}, 0, 0);
    writer.u32(static_cast<std::uint32_t>(chunks.size()));
    for (const auto& chunk : chunks)
        writer.sized(large ? 1 : 0, chunk.offset);
}

void writeSampleTable(BoxWriter& writer, const Movie& movie, const Track& track)
{
    static const SampleTable none;
    const auto& samples = movie.isFragmented ? none : track.samples;
    const auto box = writer.box("stbl");
    writeSampleDescriptions(writer, track);
    writeDurations(writer, samples);
    writeCompositionOffsets(writer, samples);
    writeSyncSamples(writer, samples);
    writeSampleSizes(writer, samples);
    writeChunks(writer, samples);
}

void writeMediaInformation(BoxWriter& writer, const Movie& movie, const Track& track)
{
    const auto box = writer.box("minf");
    if (track.isVideo()) {
        const auto header = writer.fullBox("vmhd", 0, 1);
        writer.zeros(8);
    } else {
        const auto header = writer.fullBox("smhd", 0, 0);
        writer.zeros(4);
    }
    {
        const auto data = writer.box("dinf");
        const auto references = writer.fullBox("dref", 0, 0);
        writer.u32(1);
        const auto url = writer.fullBox("url ", 0, 1);  // the media is in this file
    }
    writeSampleTable(writer, movie, track);
}

void writeTrack(BoxWriter& writer, const Movie& movie, const Track& track)
{
    const auto box = writer.box("trak");
    writeTrackHeader(writer, movie, track);
    writeEditList(writer, track);
    const auto media = writer.box("mdia");
    writeMediaHeader(writer, movie, track);
    writeHandler(writer, track);
    writeExtendedLanguage(writer, track);
    writeMediaInformation(writer, movie, track);
}

void writeMovieExtends(BoxWriter& writer, const Movie& movie)
{
    const auto box = writer.box("mvex");
    for (const auto& track : movie.tracks) {
        const auto defaults = writer.fullBox("trex", 0, 0);
        writer.u32(track.id);
        writer.u32(1);  // sample description
        writer.u32(0);
        writer.u32(0);
        writer.u32(track.isVideo() ? otherSampleFlags : syncSampleFlags);
    }
}

// ISO 14496-12 8.8.8.
constexpr std::uint32_t runHasDataOffset = 0x1;
constexpr std::uint32_t runHasDurations = 0x100;
constexpr std::uint32_t runHasSizes = 0x200;
constexpr std::uint32_t runHasFlags = 0x400;
constexpr std::uint32_t runHasCompositionOffsets = 0x800;

struct OffsetToFill {
    std::size_t position = 0;
    std::uint64_t bytesBefore = 0;
};

void writeFragmentRun(BoxWriter& writer, const FragmentRun& run, std::uint64_t bytesBefore, std::vector<OffsetToFill>& offsets)
{
    const auto& samples = run.samples;
    const auto box = writer.box("traf");
    {
        const auto header = writer.fullBox("tfhd", 0, 0x020000);  // offsets count from the beginning of this "moof"
        writer.u32(run.trackID);
    }
    {
        const auto time = writer.fullBox("tfdt", 1, 0);
        writer.i64(run.decodeTime);
    }
    const bool compositionOffsets = std::any_of(samples.begin(), samples.end(), [](const auto& s) { return s.compositionOffset != 0; });
    const auto flags = runHasDataOffset | runHasDurations | runHasSizes | runHasFlags | (compositionOffsets ? runHasCompositionOffsets : 0);
    const auto table = writer.fullBox("trun", 1, flags);
    writer.u32(static_cast<std::uint32_t>(samples.size()));
    offsets.push_back({writer.position(), bytesBefore});
    writer.u32(0);
    for (const auto& sample : samples) {
        writer.u32(sample.duration);
        writer.u32(sample.size);
        writer.u32(sample.isSync ? syncSampleFlags : otherSampleFlags);
        if (compositionOffsets)
            writer.i32(sample.compositionOffset);
    }
}

}  // namespace

bool canDescribe(const FormatDescription& format)
{
    if (const auto* video = format.video()) {
        return video->codec == FourCharacterCode{"avc1"} && video->width > 0 && video->width <= 0xFFFF && video->height > 0
            && video->height <= 0xFFFF && video->decoderConfiguration.size() >= 7;
    }
    const auto* audio = format.audio();
    return audio && audio->codec == FourCharacterCode{"mp4a"} && audio->sampleRate > 0 && audio->channelCount > 0
        && audio->channelCount <= 0xFFFF && audio->decoderConfiguration.size() >= 2;
}

std::vector<std::byte> serializeMovie(const Movie& movie)
{
    assert(movie.timescale > 0);
    BoxWriter writer;
    {
        const auto box = writer.box("moov");
        writeMovieHeader(writer, movie);
        for (const auto& track : movie.tracks) {
            assert(track.timescale > 0 && track.format && (!track.sampleEntry.empty() || canDescribe(*track.format)));
            writeTrack(writer, movie, track);
        }
        if (movie.isFragmented)
            writeMovieExtends(writer, movie);
    }
    return writer.take();
}

std::vector<std::byte> serializeFragment(std::uint32_t sequenceNumber, const std::vector<FragmentRun>& runs)
{
    BoxWriter writer;
    std::vector<OffsetToFill> offsets;
    {
        const auto box = writer.box("moof");
        {
            const auto header = writer.fullBox("mfhd", 0, 0);
            writer.u32(sequenceNumber);
        }
        std::uint64_t bytesBefore = 0;
        for (const auto& run : runs) {
            writeFragmentRun(writer, run, bytesBefore, offsets);
            for (const auto& sample : run.samples)
                bytesBefore += sample.size;
        }
    }
    for (const auto& offset : offsets) {
        const auto fromBeginning = writer.position() + 8 + offset.bytesBefore;
        assert(fromBeginning <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()));
        writer.overwriteU32(offset.position, static_cast<std::uint32_t>(fromBeginning));
    }
    return writer.take();
}

}  // namespace velmora::mp4
