#include "media/mp4/RecordingLayout.h"

#include "media/mp4/BoxWriter.h"
#include "media/mp4/MovieSerializer.h"

#include <cassert>

namespace velmora::mp4 {

namespace {

constexpr std::uint64_t emptyBoxSize = 8;

constexpr std::uint64_t largeHeaderSize = 16;

// "mdat" with its size in 64 bits: a header of one length, whatever follows.
void writeMediaDataHeader(BoxWriter& writer, std::uint64_t boxSize)
{
    writer.u32(1);
    writer.u32(FourCharacterCode{"mdat"}.value);
    writer.u64(boxSize);
}

// What files of this writer begin with.
void writeMark(BoxWriter& writer)
{
    {
        const auto box = writer.box("ftyp");
        writer.text("isom");
        writer.u32(0x200);
        // "iso6" for the decode times of fragments; the others are what every reader knows.
        writer.text("isomiso6avc1mp41");
    }
    {
        const auto box = writer.box("uuid");
        writer.bytes(std::as_bytes(std::span{writerMark}));
        writer.u32(1);  // version of this layout
        writer.u32(0);
    }
    assert(writer.position() == reserveOffset);
}

Result<void> finishInReserve(File& file, const std::vector<std::byte>& index, std::uint64_t fileSize)
{
    const auto indexOffset = reserveOffset + emptyBoxSize;
    BoxWriter writer;
    writer.bytes(index);
    writeMediaDataHeader(writer, fileSize - indexOffset - index.size());
    if (const auto result = file.writeAt(indexOffset, writer.view()); !result)
        return result;
    if (const auto result = file.sync(); !result)
        return result;
    BoxWriter change;
    change.u32(static_cast<std::uint32_t>(emptyBoxSize));
    if (const auto result = file.writeAt(reserveOffset, change.view()); !result)
        return result;
    return file.sync();
}

Result<void> finishByAppending(File& file, const std::vector<std::byte>& index, std::uint64_t fileSize)
{
    auto result = file.writeAt(fileSize, index);
    if (result)
        result = file.sync();
    if (!result) {
        static_cast<void>(file.truncate(fileSize));
        return result;
    }
    BoxWriter change;
    writeMediaDataHeader(change, fileSize - reserveOffset);
    result = file.writeAt(reserveOffset, change.view());
    if (!result)
        return result;
    return file.sync();
}

}  // namespace

Error makeError(ErrorCode code, std::string description)
{
    return Error{std::string{errorDomain}, static_cast<int>(code), std::move(description), nullptr};
}

std::optional<std::filesystem::path> placeOfMovedFile(const Error& error)
{
    const auto* place = error.underlying.get();
    if (!place || place->domain != errorDomain || place->code != static_cast<int>(ErrorCode::moved))
        return std::nullopt;
    return place->localizedDescription;
}

tl::unexpected<Error> damagedFile(const char* what)
{
    return fail(makeError(ErrorCode::damaged, std::string{"The file is damaged: "} + what + "."));
}

std::vector<std::byte> serializeRecordingHeader(std::uint32_t reserveSize)
{
    assert(reserveSize >= 16);
    BoxWriter writer;
    writeMark(writer);
    writer.u32(reserveSize);
    writer.u32(FourCharacterCode{"free"}.value);
    return writer.take();
}

std::vector<std::byte> serializeWholeHead(const Movie& movie, std::uint64_t mediaSize)
{
    BoxWriter writer;
    writeMark(writer);
    {
        const auto reserve = writer.box("free");
    }
    writer.bytes(serializeMovie(movie));
    writeMediaDataHeader(writer, largeHeaderSize + mediaSize);
    return writer.take();
}

Result<void> finishInPlace(File& file, std::uint32_t reserveSize, const Movie& movie)
{
    const auto fileSize = file.size();
    if (!fileSize)
        return fail(fileSize.error());
    const auto index = serializeMovie(movie);
    if (emptyBoxSize + index.size() + largeHeaderSize <= reserveSize)
        return finishInReserve(file, index, *fileSize);
    return finishByAppending(file, index, *fileSize);
}

}  // namespace velmora::mp4
