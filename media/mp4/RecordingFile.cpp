#include "media/mp4/RecordingFile.h"

#include "media/mp4/BoxWriter.h"
#include "media/mp4/MovieSerializer.h"

#include <algorithm>
#include <cassert>
#include <cerrno>

namespace velmora::mp4 {

namespace {

// Small blocks are gathered into one write; larger ones are written from where they are.
constexpr std::size_t gatheredBlock = 1 << 20;

// One scale on which the edges of the sound are exact.
std::int32_t movieTimescale(const std::vector<RecordedTrack>& tracks)
{
    for (const auto& track : tracks) {
        if (track.format->mediaType() == MediaType::audio)
            return track.timescale;
    }
    return videoTimescale;
}

bool isInUse(const Error& error)
{
    return error.domain == errorDomain && error.code == static_cast<int>(ErrorCode::inUse);
}

FragmentRun describe(const RecordedRun& run, std::uint32_t trackID)
{
    FragmentRun described;
    described.trackID = trackID;
    described.decodeTime = run.samples.front().decodeTime;
    described.samples.reserve(run.samples.size());
    for (std::size_t i = 0; i < run.samples.size(); ++i) {
        const auto& sample = run.samples[i];
        const bool last = i + 1 == run.samples.size();
        const auto duration = last ? std::int64_t{sample.duration} : run.samples[i + 1].decodeTime - sample.decodeTime;
        described.samples.push_back(
            {static_cast<std::uint32_t>(sample.data.bytes.size()), static_cast<std::uint32_t>(duration), 0, sample.isSync});
    }
    return described;
}

}  // namespace

RecordingFile::RecordingFile(std::shared_ptr<File> file, const RecordingOptions& options)
    : file_(std::move(file))
    , reserveSize_(options.reserveSize)
{
    movie_.isFragmented = true;
    movie_.creationTime = options.creationTime;
}

Result<std::unique_ptr<RecordingFile>> RecordingFile::create(std::shared_ptr<File> file, const RecordingOptions& options)
{
    std::unique_ptr<RecordingFile> recording{new RecordingFile{std::move(file), options}};
    if (const auto result = recording->writeHead(); !result) {
        // Whoever holds the lock of a file decides about it.
        if (!isInUse(result.error()))
            static_cast<void>(recording->file_->removeFromFolder());
        return fail(result.error());
    }
    return recording;
}

Result<void> RecordingFile::writeHead()
{
    // Before the mark is written, so that nobody finds our mark on a file without a lock. A file system without locks protects
    // itself: there nobody else gets a lock either, and a repair asks for one. Between its creation and the lock another recorder, who
    // wants the name, may have had the file.
    if (const auto locked = file_->tryLock(); locked && (!*locked || !file_->isStillInFolder()))
        return fail(makeError(ErrorCode::inUse, "Another program is using the file."));
    end_ = reserveOffset + reserveSize_;
    if (const auto result = file_->allocate(end_); !result)
        return result;
    return file_->writeAt(0, serializeRecordingHeader(reserveSize_));
}

Result<void> RecordingFile::start(const std::vector<RecordedTrack>& tracks)
{
    assert(movie_.tracks.empty() && !tracks.empty());
    if (error_)
        return fail(*error_);
    // A folder that cannot be synced is no reason not to record.
    static_cast<void>(file_->syncFolder());
    movie_.timescale = movieTimescale(tracks);
    for (const auto& recorded : tracks) {
        Track track;
        track.id = static_cast<std::uint32_t>(movie_.tracks.size() + 1);
        track.format = recorded.format;
        track.timescale = recorded.timescale;
        if (recorded.priming > 0)
            track.edits.push_back({0, recorded.priming});
        movie_.tracks.push_back(std::move(track));
    }
    const auto index = serializeMovie(movie_);
    if (const auto result = file_->writeAt(end_, index); !result)
        return fail(failed(result.error()));
    end_ += index.size();
    return {};
}

Result<void> RecordingFile::write(const RecordedFragment& fragment)
{
    if (error_)
        return fail(*error_);
    if (const auto result = writeFragment(fragment); !result)
        return fail(failed(result.error()));
    return {};
}

Result<void> RecordingFile::writeFragment(const RecordedFragment& fragment)
{
    std::vector<FragmentRun> runs;
    std::uint64_t mediaSize = 0;
    for (const auto& run : fragment) {
        assert(run.track < movie_.tracks.size() && !run.samples.empty());
        runs.push_back(describe(run, movie_.tracks[run.track].id));
        for (const auto& sample : run.samples)
            mediaSize += sample.data.bytes.size();
    }
    if (mediaSize > std::uint64_t{1} << 30)
        return fail(makeError(ErrorCode::tooLarge, "A single sample of the recording is too large."));
    BoxWriter writer;
    writer.bytes(serializeFragment(++sequenceNumber_, runs));
    writer.u32(static_cast<std::uint32_t>(mediaSize + 8));
    writer.u32(FourCharacterCode{"mdat"}.value);
    const auto head = writer.take();
    if (const auto result = writeMedia(end_, head, fragment); !result)
        return result;
    if (const auto result = file_->sync(); !result)
        return result;

    auto offset = end_ + head.size();
    end_ = offset + mediaSize;
    for (const auto& run : fragment) {
        auto& samples = movie_.tracks[run.track].samples;
        for (const auto& sample : run.samples) {
            const auto size = static_cast<std::uint32_t>(sample.data.bytes.size());
            if (!samples.append({offset, size, sample.decodeTime, 0, sample.isSync}))
                return fail(makeError(ErrorCode::tooLarge, "The recording is too long for one file."));
            offset += size;
        }
        samples.setLastDuration(run.closingDuration > 0 ? run.closingDuration : run.samples.back().duration);
    }
    return {};
}

Result<void> RecordingFile::writeMedia(std::uint64_t offset, const std::vector<std::byte>& head, const RecordedFragment& fragment)
{
    buffer_.assign(head.begin(), head.end());
    const auto flush = [&]() -> Result<void> {
        const auto result = file_->writeAt(offset, buffer_);
        offset += buffer_.size();
        buffer_.clear();
        return result;
    };
    for (const auto& run : fragment) {
        for (const auto& sample : run.samples) {
            const auto bytes = sample.data.bytes;
            if (bytes.size() < gatheredBlock) {
                buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
                continue;
            }
            if (const auto result = flush(); !result)
                return result;
            if (const auto result = file_->writeAt(offset, bytes); !result)
                return result;
            offset += bytes.size();
        }
    }
    return flush();
}

bool RecordingFile::hasSamples() const
{
    return std::any_of(movie_.tracks.begin(), movie_.tracks.end(), [](const Track& track) { return !track.samples.isEmpty(); });
}

Result<bool> RecordingFile::finish(const std::vector<TrackEnd>& ends)
{
    if (error_)
        return fail(*error_);
    const auto finished = close(ends);
    if (!finished) {
        error_ = finished.error();
        return finished;
    }
    if (*finished && !file_->isStillInFolder()) {
        const auto place = file_->currentPath();
        error_ = posixError(ENOENT, "The recording's file");
        error_->localizedDescription = place
            ? "The file was moved while it was being recorded. The whole clip is at " + place->native() + "."
            : "The file was deleted while it was being recorded.";
        if (place)
            error_->underlying = std::make_shared<const Error>(makeError(ErrorCode::moved, place->native()));
        return fail(*error_);
    }
    return finished;
}

Result<bool> RecordingFile::close(const std::vector<TrackEnd>& ends)
{
    if (!hasSamples()) {
        if (const auto removed = file_->removeFromFolder(); !removed)
            return fail(removed.error());
        return false;
    }
    closeRecordedMovie(movie_, ends);
    if (const auto result = finishInPlace(*file_, reserveSize_, movie_); !result)
        return fail(result.error());
    return true;
}

Error RecordingFile::failed(Error error)
{
    error_ = std::move(error);
    // Best effort: if this fails too, the file is a fragmented one, which plays up to its last whole fragment.
    if (!hasSamples() || file_->truncate(end_))
        static_cast<void>(close({}));
    return *error_;
}

}  // namespace velmora::mp4
