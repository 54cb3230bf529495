#include "media/mp4/SoundSplice.h"

#include "media/mp4/BitReader.h"

#include <algorithm>
#include <map>

namespace velmora::mp4 {

namespace {

constexpr auto packetFrames = SoundSplice::packetFrames;

/// Fewer are not worth their two borders.
constexpr std::int64_t fewestCopied = 3 * SoundSplice::borderLeeway;

// ISO 14496-3 table 4.85 and 4.5.2.3.4.
constexpr std::uint32_t singleChannel = 0;
constexpr std::uint32_t channelPair = 1;
constexpr std::uint32_t longStart = 1;
constexpr std::uint32_t eightShort = 2;
constexpr std::uint32_t longStop = 3;

std::int64_t modulo(std::int64_t value)
{
    return (value % packetFrames + packetFrames) % packetFrames;
}

bool isCopyable(const SoundSource& source)
{
    return source.isGapless && !source.packets.empty();
}

/// Where a packet of the span begins in the new sound, modulo a packet.
std::int64_t phaseOf(const SoundSplice& splice, const SoundSpan& span)
{
    return modulo(splice.sources[span.source].packets.front().decodeTime - span.mediaOffset);
}

/// The phase that most of the sound has.
std::int64_t commonPhase(const SoundSplice& splice)
{
    std::map<std::int64_t, std::int64_t> frames;
    for (const auto& span : splice.spans) {
        if (isCopyable(splice.sources[span.source]))
            frames[phaseOf(splice, span)] += span.end - span.begin;
    }
    const auto most = std::max_element(frames.begin(), frames.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == frames.end() ? 0 : most->first;
}

/// The run of the span's packets that can be copied: those with whole neighbours on both sides.
std::optional<SoundRun> copiedRun(const SoundSplice& splice, const SoundSpan& span)
{
    const auto& source = splice.sources[span.source];
    if (!isCopyable(source) || phaseOf(splice, span) != modulo(-splice.lead))
        return std::nullopt;
    // The number in the source of the packet with number 0 in the new track.
    const auto shift = (splice.timeOf(0) + span.mediaOffset - source.packets.front().decodeTime) / packetFrames;
    const auto numberAt = [&](std::int64_t time) { return (time + splice.lead + packetFrames - 1) / packetFrames; };
    const auto last = splice.packetCount() - 1;
    // The first packet of the source has no neighbour before it, which only the first of the new track does without.
    auto first = std::max(span.extendsBack ? 0 : numberAt(span.begin), -shift + (shift == 0 ? 0 : 1));
    if (shift > 0)
        first = std::max(first, std::int64_t{0});
    auto end = std::min(last + 1, static_cast<std::int64_t>(source.packets.size()) - shift);
    // The frames of the packet behind it have to be this span's, too.
    if (!span.extendsOn)
        end = std::min(end, (span.end + splice.lead) / packetFrames - 1);
    if (end != last + 1)
        end = std::min(end, static_cast<std::int64_t>(source.packets.size()) - shift - 1);
    const bool isAll = first == 0 && end == last + 1;
    if (first >= end || (!isAll && end - first < fewestCopied))
        return std::nullopt;
    return SoundRun{first, end - first, true, span.source, static_cast<std::size_t>(first + shift)};
}

std::optional<SoundWindow> windowFrom(BitReader& bits)
{
    bits.read(1);
    const auto sequence = bits.read(2);
    const bool isKaiserBessel = bits.read(1) != 0;
    if (bits.isAtEnd())
        return std::nullopt;
    return SoundWindow{sequence == eightShort || sequence == longStop, sequence == eightShort || sequence == longStart, isKaiserBessel};
}

}  // namespace

void planSoundRuns(SoundSplice& splice, bool copies)
{
    // A packet before the one that holds the beginning, because a decoder needs it.
    splice.lead = packetFrames + modulo(-commonPhase(splice));
    splice.runs.clear();
    std::int64_t next = 0;
    const auto encodeUpTo = [&](std::int64_t end) {
        if (end > next)
            splice.runs.push_back({next, end - next, false, 0, 0});
        next = std::max(next, end);
    };
    for (const auto& span : splice.spans) {
        if (!copies)
            break;
        const auto run = copiedRun(splice, span);
        if (!run || run->first < next)
            continue;
        encodeUpTo(run->first);
        splice.runs.push_back(*run);
        next = run->first + run->count;
    }
    encodeUpTo(splice.packetCount());
}

std::optional<SoundWindow> soundWindowOf(std::span<const std::byte> packet)
{
    BitReader bits{packet};
    const auto element = bits.read(3);
    bits.read(4);
    if (element == singleChannel) {
        bits.read(8);  // gain
        return windowFrom(bits);
    }
    // Channels without a common window tell theirs far behind.
    if (element != channelPair || bits.read(1) == 0)
        return std::nullopt;
    return windowFrom(bits);
}

bool overlapsAlike(const SoundWindow& before, const SoundWindow& original, const SoundWindow& packet)
{
    return before.isShortAfter == packet.isShortBefore && before.isKaiserBessel == original.isKaiserBessel;
}

}  // namespace velmora::mp4
