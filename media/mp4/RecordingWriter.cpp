#include "media/mp4/RecordingWriter.h"

#include "base/Mutex.h"
#include "base/SerialQueue.h"
#include "base/SharedCell.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <limits>

namespace velmora::mp4 {

namespace {

std::uint32_t clampedDuration(std::int64_t duration)
{
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(duration, 1, std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace

// Shared with the work on the queue, which keeps it alive: whoever finishes last, never the caller's thread, closes the file.
struct RecordingWriter::State {
    State(std::shared_ptr<File> openFile, std::unique_ptr<RecordingFile> openRecording)
        : file(std::move(openFile))
        , recording(std::move(openRecording))
    {
    }

    SharedCell<File> file;
    std::unique_ptr<RecordingFile> recording;  // on the queue
    std::atomic<std::uint64_t> bytesInFlight{0};
    std::atomic<std::uint64_t> fileSize{0};
    std::atomic<bool> cancelled{false};

    mutable Mutex mutex;
    std::optional<Error> error GUARDED_BY(mutex);

    SerialQueue queue{"com.velmora.mp4Writer", SerialQueue::QualityOfService::utility};

    void note(const Error& failure)
    {
        MutexLock lock(mutex);
        if (!error)
            error = failure;
    }

    void closeFile()
    {
        recording.reset();
        file.store(nullptr);
    }
};

Result<std::unique_ptr<RecordingWriter>> RecordingWriter::create(std::shared_ptr<File> file, RecordingOptions options)
{
    auto recording = RecordingFile::create(file, options);
    if (!recording)
        return fail(recording.error());
    auto state = std::make_shared<State>(std::move(file), std::move(*recording));
    return std::unique_ptr<RecordingWriter>{new RecordingWriter{std::move(state), options}};
}

RecordingWriter::RecordingWriter(std::shared_ptr<State> state, const RecordingOptions& options)
    : state_(std::move(state))
    , longestFragment_(options.longestFragment)
    , longestPause_(options.longestPause)
    , largestFragment_(options.largestFragment)
{
}

RecordingWriter::~RecordingWriter()
{
    // Usually the queue's own thread lets go last; where it does not, there is nothing left to wait for.
    state_->queue.async([state = state_] { state->closeFile(); });
}

void RecordingWriter::start(std::vector<RecordedTrack> tracks)
{
    assert(tracks_.empty() && !tracks.empty());
    for (const auto& track : tracks)
        tracks_.push_back({track, {}, 0, 0, false});
    state_->queue.async([state = state_.get(), tracks = std::move(tracks)] {
        if (state->cancelled)
            return;
        if (const auto result = state->recording->start(tracks); !result)
            state->note(result.error());
    });
}

void RecordingWriter::append(std::size_t track, RecordedSample sample)
{
    assert(track < tracks_.size());
    auto& target = tracks_[track];
    assert(!target.hasSamples || sample.decodeTime >= target.lastDecodeTime);
    const auto timescale = target.configuration.timescale;
    const MediaTime begin{sample.decodeTime, timescale};
    const MediaTime end = isSound(target) ? MediaTime{sample.decodeTime + sample.duration, timescale} : begin;
    const auto size = static_cast<std::uint64_t>(sample.data.bytes.size());
    if (fragmentStart_ && (end - *fragmentStart_ > longestFragment_ || pendingBytes_ + size > largestFragment_)) {
        // The end of the previous sample of this track is known now.
        if (!target.pending.empty())
            target.pending.back().duration = clampedDuration(sample.decodeTime - target.lastDecodeTime);
        flush(begin);
    }
    if (target.hasSamples)
        target.lastDuration = sample.decodeTime - target.lastDecodeTime;
    target.lastDecodeTime = sample.decodeTime;
    target.hasSamples = true;
    if (!fragmentStart_ || begin < *fragmentStart_)
        fragmentStart_ = begin;
    if (!handedOn_)
        handedOn_ = begin;
    pendingBytes_ += size;
    state_->bytesInFlight += size;
    target.pending.push_back(std::move(sample));
    if (!isSound(target) && !hasSoundAbout(begin) && begin + longestPause_ - *handedOn_ > longestFragment_)
        flush(begin);
}

bool RecordingWriter::isSound(const TrackState& track)
{
    return track.configuration.format->mediaType() == MediaType::audio;
}

bool RecordingWriter::hasSoundAbout(MediaTime time) const
{
    return std::any_of(tracks_.begin(), tracks_.end(), [&](const TrackState& track) {
        return isSound(track) && track.hasSamples && MediaTime{track.lastDecodeTime, track.configuration.timescale} + longestPause_ >= time;
    });
}

std::uint32_t RecordingWriter::durationOfLast(const TrackState& track, std::optional<MediaTime> now)
{
    std::int64_t duration = track.pending.back().duration;
    if (isSound(track))
        return clampedDuration(duration);
    // The next picture ends this one; until it comes, and for good if none comes, this one lasts as long as is claimed or as the one
    // before, but not into the future. Too short is better than too long: readers close a gap before the next fragment, but differ
    // on an overlap.
    if (duration == 0)
        duration = track.lastDuration > 0 ? track.lastDuration : track.configuration.timescale / 60;
    if (now)
        duration = std::min(duration, now->converted(track.configuration.timescale).value - track.lastDecodeTime);
    return clampedDuration(duration);
}

void RecordingWriter::flush(std::optional<MediaTime> now)
{
    RecordedFragment fragment;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        auto& track = tracks_[i];
        if (track.pending.empty())
            continue;
        const auto closingDuration = durationOfLast(track, std::nullopt);
        track.pending.back().duration = durationOfLast(track, now);
        fragment.push_back({i, std::move(track.pending), closingDuration});
        track.pending.clear();
    }
    if (fragment.empty())
        return;
    state_->queue.async([state = state_.get(), fragment = std::move(fragment), bytes = pendingBytes_] {
        if (!state->cancelled) {
            if (const auto result = state->recording->write(fragment); !result)
                state->note(result.error());
            else
                state->fileSize = state->recording->size();
        }
        state->bytesInFlight -= bytes;
    });
    pendingBytes_ = 0;
    fragmentStart_.reset();
    if (now)
        handedOn_ = now;
}

void RecordingWriter::handOn(MediaTime end)
{
    for (auto& track : tracks_) {
        if (!isSound(track) && !track.pending.empty())
            track.pending.back().duration = clampedDuration(end.converted(track.configuration.timescale).value - track.lastDecodeTime);
    }
    flush(end);
}

void RecordingWriter::finish(std::vector<TrackEnd> ends, Completion completion)
{
    flush(std::nullopt);
    // The completion may release this writer before the call that queues it has returned: `keepAlive` outlives that call.
    const auto keepAlive = state_;
    keepAlive->queue.async([state = state_, ends = std::move(ends), completion = std::move(completion)]() mutable {
        auto result = state->recording->finish(ends);
        if (!result)
            state->note(result.error());
        state->closeFile();
        completion(std::move(result));
    });
}

Result<void> RecordingWriter::moveFile(const std::filesystem::path& path)
{
    const auto file = state_->file.load();
    return file ? file->moveTo(path) : fail(posixError(EBADF, path.filename().native()));
}

std::optional<std::filesystem::path> RecordingWriter::currentPath() const
{
    const auto file = state_->file.load();
    return file ? file->currentPath() : std::nullopt;
}

void RecordingWriter::cancel()
{
    const auto file = state_->file.load();
    // Where somebody put it, perhaps to keep it, it shall play.
    if (file && !file->isStillInFolder() && file->currentPath()) {
        finish({}, [](const Result<bool>&) {});
        return;
    }
    state_->cancelled = true;
    for (auto& track : tracks_)
        track.pending.clear();
    if (file)
        static_cast<void>(file->removeFromFolder());
    state_->queue.async([state = state_] { state->closeFile(); });
}

std::uint64_t RecordingWriter::bytesInFlight() const
{
    return state_->bytesInFlight;
}

std::uint64_t RecordingWriter::fileSize() const
{
    return state_->fileSize;
}

std::optional<Error> RecordingWriter::error() const
{
    MutexLock lock(state_->mutex);
    return state_->error;
}

}  // namespace velmora::mp4
