// Which packets of sound of one or several tracks a new track is made of, and which sound its other packets hold.
#pragma once

#include "base/Result.h"
#include "media/mp4/Movie.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora::mp4 {

/// One source's sound in the new track. Times are in frames of the new sound.
struct SoundSpan {
    std::size_t source = 0;
    /// Where the source is heard; what no span covers is silent.
    std::int64_t begin = 0;
    std::int64_t end = 0;
    /// The first span goes on before its beginning, the last one after its end, where no edit is obeyed.
    bool extendsBack = false;
    bool extendsOn = false;
    /// A frame of the source's media (its decoder's output) minus the same frame's time in the new sound.
    std::int64_t mediaOffset = 0;
};

/// The packets of a source, on a scale with a tick for each frame.
struct SoundSource {
    std::vector<Sample> packets;
    /// Each packet begins where the one before ends.
    bool isGapless = false;
};

/// Packets of the new track that follow one another.
struct SoundRun {
    std::int64_t first = 0;  ///< by its number in the new track
    std::int64_t count = 0;
    bool isCopied = false;
    std::size_t source = 0;  ///< of copied ones
    std::size_t firstInSource = 0;
};

/// AAC puts its packets on a grid, here of 1024 frames. Two spans that meet have different grids as a rule, so what is copied comes from
/// spans that share one: those that sum up to the most sound. All else is encoded anew from what its source decodes to, so each frame is
/// heard exactly at its time.
struct SoundSplice {
    static constexpr std::int64_t packetFrames = 1024;
    /// Whether windows of neighbouring packets agree is known only once they have been encoded: the border of a copied run may move into it
    /// by this many packets.
    static constexpr std::int64_t borderLeeway = 8;

    std::int32_t rate = 0;
    std::vector<SoundSource> sources;  ///< by the number of the source
    std::vector<SoundSpan> spans;
    std::int64_t lead = 0;  ///< frames of the media before the first that is heard: the edit's media time
    std::int64_t end = 0;  ///< of what is heard
    std::vector<SoundRun> runs;

    [[nodiscard]] std::int64_t packetCount() const { return (lead + end + packetFrames - 1) / packetFrames; }
    /// When the packet's frames are heard: what comes out of a decoder when this packet goes in.
    [[nodiscard]] std::int64_t timeOf(std::int64_t packet) const { return packet * packetFrames - lead; }
};

/// Chooses lead and runs. `copies`: false encodes everything anew.
void planSoundRuns(SoundSplice& splice, bool copies = true);

/// How the windows of a packet of AAC-LC (ISO 14496-3 4.4.2.1, table 4.6) overlap those of its neighbours.
struct SoundWindow {
    bool isShortBefore = false;  ///< the slope that overlaps with the packet before
    bool isShortAfter = false;
    bool isKaiserBessel = false;  ///< the shape of the slope after; that of the one before is the packet before's

    friend bool operator==(const SoundWindow&, const SoundWindow&) = default;
};

/// None where it is not the same for all channels of a packet, or the packet has more than one element.
[[nodiscard]] std::optional<SoundWindow> soundWindowOf(std::span<const std::byte> packet);

/// Whether `packet` decodes after `before` as it does after `original`, which it was encoded after, as far as windows decide.
[[nodiscard]] bool overlapsAlike(const SoundWindow& before, const SoundWindow& original, const SoundWindow& packet);

}  // namespace velmora::mp4
