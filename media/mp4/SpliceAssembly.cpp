#include "media/mp4/SpliceAssembly.h"

#include "media/mp4/BitReader.h"
#include "media/mp4/BoxReader.h"
#include "media/mp4/BoxWriter.h"
#include "media/mp4/CuttableTrack.h"
#include "media/mp4/SequenceParameterSet.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace velmora::mp4 {

namespace {

/// An AVCDecoderConfigurationRecord (ISO 14496-15 5.3.3.1) in its parts.
struct ConfigurationRecord {
    std::uint8_t profile = 0;
    std::uint8_t compatibility = 0;
    std::uint8_t level = 0;
    std::uint8_t lengths = 0;
    std::vector<std::span<const std::byte>> sequences;
    std::vector<std::span<const std::byte>> pictures;
    std::span<const std::byte> rest;  ///< what richer profiles say about their samples
};

constexpr std::size_t mostSequences = 31;
constexpr std::size_t mostPictures = 255;

std::optional<ConfigurationRecord> parseRecord(std::span<const std::byte> bytes)
{
    ByteReader reader{bytes};
    ConfigurationRecord record;
    reader.u8();  // version
    record.profile = reader.u8();
    record.compatibility = reader.u8();
    record.level = reader.u8();
    record.lengths = reader.u8();
    for (int count = reader.u8() & 0x1F; count > 0; --count)
        record.sequences.push_back(reader.take(reader.u16()));
    for (int count = reader.u8(); count > 0; --count)
        record.pictures.push_back(reader.take(reader.u16()));
    record.rest = reader.rest();
    if (reader.failed() || record.sequences.empty() || record.pictures.empty())
        return std::nullopt;
    return record;
}

void writeSets(BoxWriter& writer, const std::vector<std::span<const std::byte>>& sets)
{
    for (const auto& set : sets) {
        writer.u16(static_cast<std::uint16_t>(set.size()));
        writer.bytes(set);
    }
}

/// The number that a parameter set has, which comes after `before` bytes of it.
std::uint32_t numberOf(std::span<const std::byte> set, std::size_t before)
{
    const auto bytes = withoutEmulationPrevention(set);
    BitReader bits{std::span{bytes}.subspan(std::min(before, bytes.size()))};
    return bits.readExponential();
}

/// The sample entry with another payload of its "avcC" (ISO 14496-12 12.1.3, ISO 14496-15 5.4.2.1).
std::optional<std::vector<std::byte>> withConfiguration(std::span<const std::byte> entry, std::span<const std::byte> configuration)
{
    constexpr std::size_t fields = 8 + 78;
    if (entry.size() < fields)
        return std::nullopt;
    BoxWriter writer;
    ByteReader head{entry};
    head.skip(4);
    {
        const auto box = writer.box(head.code());
        writer.bytes(entry.subspan(8, fields - 8));
        ByteReader children{entry.subspan(fields)};
        bool found = false;
        while (const auto child = nextBox(children)) {
            const bool isIt = child->type == FourCharacterCode{"avcC"};
            const auto copy = writer.box(child->type);
            writer.bytes(isIt ? configuration : child->payload);
            found = found || isIt;
        }
        if (!found)
            return std::nullopt;
    }
    return writer.take();
}

bool describeBoth(Track& track, std::span<const std::byte> added)
{
    auto format = *track.format->video();
    auto configuration = withParameterSets(format.decoderConfiguration, added);
    if (!configuration)
        return false;
    if (!track.sampleEntry.empty()) {
        auto entry = withConfiguration(track.sampleEntry, *configuration);
        if (!entry)
            return false;
        track.sampleEntry = std::move(*entry);
    }
    format.decoderConfiguration = std::move(*configuration);
    track.format = std::make_shared<const FormatDescription>(std::move(format));
    return true;
}

/// When the first picture is shown.
std::int64_t firstPresentation(const SplicePlan& plan)
{
    return std::min_element(plan.pictures.begin(), plan.pictures.end(), [](const auto& a, const auto& b) {
        return a.presentation < b.presentation;
    })->presentation;
}

/// Whether a key frame is marked as one. Where the media begins before the edit, some players (GStreamer's) take one for the end when what
/// follows it lies beyond the movie's duration.
bool isCalledSync(const SplicePlan& plan, std::size_t index, std::int64_t edit)
{
    const auto begin = plan.pictures.front().decode;
    if (index == 0 || edit == begin)
        return true;
    return index + 1 < plan.pictures.size() && std::max(edit, plan.pictures[index + 1].decode) - begin < plan.picturesEnd - edit;
}

bool addPictures(Track& track, const SplicePlan& plan, const AnewMedia& anew, const std::vector<std::uint64_t>& offsets)
{
    auto next = anew.pictures.begin();
    const auto begin = plan.pictures.front().decode;
    const auto edit = firstPresentation(plan);
    std::int64_t latest = 0;
    for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
        const auto& picture = plan.pictures[i];
        SampleTable::Entry entry;
        if (picture.origin.source == SampleOrigin::anew) {
            entry.offset = offsets.back() + next->offset;
            entry.size = next->size;
            ++next;
        } else {
            entry.offset = offsets[picture.origin.source] + picture.origin.offset;
            entry.size = picture.origin.size;
        }
        const auto delay = picture.presentation - picture.decode;
        if (delay > std::numeric_limits<std::int32_t>::max())
            return false;
        entry.decodeTime = picture.decode - begin;
        entry.compositionOffset = static_cast<std::int32_t>(delay);
        entry.isSync = picture.isSync && isCalledSync(plan, i, edit);
        latest = std::max(latest, picture.presentation);
        if (!track.samples.append(entry))
            return false;
    }
    const auto last = plan.picturesEnd - latest;
    if (last > std::numeric_limits<std::uint32_t>::max())
        return false;
    track.samples.setLastDuration(static_cast<std::uint32_t>(std::max<std::int64_t>(last, 1)));
    return true;
}

bool addSound(Track& track, const SoundSplice& splice, const AnewMedia& anew, const std::vector<std::uint64_t>& offsets)
{
    auto next = anew.sound.begin();
    for (const auto& run : splice.runs) {
        for (std::int64_t i = 0; i < run.count; ++i) {
            SampleTable::Entry entry;
            entry.decodeTime = (run.first + i) * SoundSplice::packetFrames;
            if (run.isCopied) {
                const auto& packet = splice.sources[run.source].packets[run.firstInSource + static_cast<std::size_t>(i)];
                entry.offset = offsets[run.source] + packet.offset;
                entry.size = packet.size;
            } else {
                entry.offset = offsets.back() + next->offset;
                entry.size = next->size;
                ++next;
            }
            if (!track.samples.append(entry))
                return false;
        }
    }
    // Readers that take the media's duration for the track's get the right one too.
    track.samples.setLastDuration(
        static_cast<std::uint32_t>(splice.lead + splice.end - (splice.packetCount() - 1) * SoundSplice::packetFrames));
    return true;
}

/// `begin` and `end` of what is shown on the track's scale, which begins at `mediaTime` of its media.
void setEdit(Track& track, std::int32_t movieTimescale, std::int64_t begin, std::int64_t end, std::int64_t mediaTime)
{
    const auto onMovie = [&](std::int64_t time) { return MediaTime{time, track.timescale}.converted(movieTimescale).value; };
    if (onMovie(begin) > 0)
        track.edits.push_back({static_cast<std::uint64_t>(onMovie(begin)), -1});
    if (onMovie(begin) > 0 || mediaTime > 0 || static_cast<std::uint64_t>(end - begin) != track.samples.duration())
        track.edits.push_back({static_cast<std::uint64_t>(std::max<std::int64_t>(1, onMovie(end) - onMovie(begin))), mediaTime});
}

}  // namespace

std::vector<std::uint64_t> sourceOffsets(const std::vector<std::uint64_t>& reach)
{
    std::vector<std::uint64_t> offsets{0};
    for (const auto end : reach)
        offsets.push_back(offsets.back() + end + 1);
    return offsets;
}

Result<Movie> assembleSplice(const SplicePlan& plan, const AnewMedia& anew, const std::vector<std::uint64_t>& offsets)
{
    Movie movie = plan.movie;
    if (plan.isTrim)
        return movie;
    for (auto& track : movie.tracks) {
        if (track.isVideo()) {
            if (!anew.pictures.empty() && !describeBoth(track, anew.decoderConfiguration))
                return cannotBeCut("what a decoder has to know of its pictures makes no sense");
            if (!addPictures(track, plan, anew, offsets))
                return tooLargeForAFile();
            const auto first = firstPresentation(plan);
            setEdit(track, movie.timescale, first, plan.picturesEnd, first - plan.pictures.front().decode);
        } else {
            if (!addSound(track, *plan.sound, anew, offsets))
                return tooLargeForAFile();
            setEdit(track, movie.timescale, 0, plan.sound->end, plan.sound->lead);
        }
    }
    return movie;
}

std::optional<int> freeParameterSetNumber(std::span<const std::byte> decoderConfiguration)
{
    const auto record = parseRecord(decoderConfiguration);
    if (!record || record->sequences.size() >= mostSequences || record->pictures.size() >= mostPictures)
        return std::nullopt;
    // ISO 14496-10 7.3.2.1.1 and 7.3.2.2: after the header of the unit and, in a sequence's, profile and level.
    std::vector<std::uint32_t> taken;
    for (const auto& set : record->sequences)
        taken.push_back(numberOf(set, 4));
    for (const auto& set : record->pictures)
        taken.push_back(numberOf(set, 1));
    for (int number = 0; number <= 31; ++number) {
        if (std::find(taken.begin(), taken.end(), static_cast<std::uint32_t>(number)) == taken.end())
            return number;
    }
    return std::nullopt;
}

std::optional<std::vector<std::byte>> withParameterSets(std::span<const std::byte> decoderConfiguration, std::span<const std::byte> added)
{
    auto record = parseRecord(decoderConfiguration);
    const auto more = parseRecord(added);
    if (!record || !more || record->sequences.size() + more->sequences.size() > mostSequences
        || record->pictures.size() + more->pictures.size() > mostPictures)
        return std::nullopt;
    if (record->profile != more->profile) {
        // The encoder's own is the richer one: it is at least High.
        record->profile = more->profile;
        record->compatibility = 0;
        record->rest = more->rest;
    }
    if (record->rest.empty())
        record->rest = more->rest;
    record->compatibility &= more->compatibility;
    record->level = std::max(record->level, more->level);
    record->sequences.insert(record->sequences.end(), more->sequences.begin(), more->sequences.end());
    record->pictures.insert(record->pictures.end(), more->pictures.begin(), more->pictures.end());

    BoxWriter writer;
    writer.u8(1);
    writer.u8(record->profile);
    writer.u8(record->compatibility);
    writer.u8(record->level);
    writer.u8(record->lengths);
    writer.u8(static_cast<std::uint8_t>(0xE0 | record->sequences.size()));
    writeSets(writer, record->sequences);
    writer.u8(static_cast<std::uint8_t>(record->pictures.size()));
    writeSets(writer, record->pictures);
    writer.bytes(record->rest);
    return writer.take();
}

}  // namespace velmora::mp4
