// Indexes written box by box, for what no writer of ours puts into one.
#pragma once

#include "media/mp4/BoxWriter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace velmora::test {

/// What a handmade track has that is not as usual.
struct TrackBoxes {
    std::function<void(mp4::BoxWriter&)> edits;  ///< writes "edts"; by default there is none
    std::function<void(mp4::BoxWriter&)> sampleSizes;  ///< writes "stsz" or "stz2"; by default each sample has one byte
};

/// Sound, a thousand samples a second, one after another from the beginning of the file: a few hundred bytes, however many samples.
inline void writeTrack(mp4::BoxWriter& writer, std::uint32_t id, std::uint32_t sampleCount, const TrackBoxes& boxes = {})
{
    const auto trak = writer.box("trak");
    {
        const auto tkhd = writer.fullBox("tkhd", 0, 7);
        writer.zeros(8);
        writer.u32(id);
        writer.zeros(68);
    }
    if (boxes.edits)
        boxes.edits(writer);
    const auto mdia = writer.box("mdia");
    {
        const auto mdhd = writer.fullBox("mdhd", 0, 0);
        writer.zeros(8);
        writer.u32(1000);
        writer.zeros(8);
    }
    {
        const auto hdlr = writer.fullBox("hdlr", 0, 0);
        writer.u32(0);
        writer.text("soun");
        writer.zeros(13);
    }
    const auto minf = writer.box("minf");
    const auto stbl = writer.box("stbl");
    {
        const auto stsd = writer.fullBox("stsd", 0, 0);
        writer.u32(1);
        const auto entry = writer.box("mp4a");
        writer.zeros(28);
    }
    {
        const auto stts = writer.fullBox("stts", 0, 0);
        writer.u32(1);
        writer.u32(sampleCount);
        writer.u32(1);
    }
    {
        const auto stsc = writer.fullBox("stsc", 0, 0);
        writer.u32(1);
        writer.u32(1);
        writer.u32(sampleCount);
        writer.u32(1);
    }
    if (boxes.sampleSizes) {
        boxes.sampleSizes(writer);
    } else {
        const auto stsz = writer.fullBox("stsz", 0, 0);
        writer.u32(1);
        writer.u32(sampleCount);
    }
    const auto stco = writer.fullBox("stco", 0, 0);
    writer.u32(1);
    writer.u32(0);
}

/// `extra` is called while the "moov" is open.
template <typename Extra>
std::vector<std::byte> movieWith(Extra extra)
{
    mp4::BoxWriter writer;
    {
        const auto ftyp = writer.box("ftyp");
        writer.text("isom");
        writer.u32(0);
    }
    {
        const auto moov = writer.box("moov");
        {
            const auto mvhd = writer.fullBox("mvhd", 0, 0);
            writer.zeros(8);
            writer.u32(1000);
            writer.zeros(84);
        }
        extra(writer);
    }
    return writer.take();
}

}  // namespace velmora::test
