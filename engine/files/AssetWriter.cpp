#include "engine/files/AssetWriter.h"

#include "engine/files/AssetWriterInputs.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/RecordingLayout.h"

#include <cassert>
#include <utility>

namespace velmora::engine {

namespace {

constexpr MediaTime shortestKept{1, 1};

/// For a file that is whole, or as whole as the disk let it become.
bool holdsEnough(const std::filesystem::path& path)
{
    const auto summary = mp4::readMovieSummary(path);
    // A file that the system does not let us read may hold anything.
    return summary ? summary->duration >= shortestKept : summary.error().domain != mp4::errorDomain;
}

}  // namespace

Result<std::shared_ptr<AssetWriter>> AssetWriter::create(
    std::shared_ptr<mp4::File> file, AudioEncoderFactory encoders, std::filesystem::path path, CancelledRecordings cancelled)
{
    auto recording = mp4::RecordingWriter::create(std::move(file));
    if (!recording)
        return fail(recording.error());
    auto session = std::make_shared<Session>();
    session->encoders = std::move(encoders);
    session->recording = std::move(*recording);
    return std::shared_ptr<AssetWriter>{new AssetWriter{std::move(session), std::move(path), std::move(cancelled)}};
}

AssetWriter::AssetWriter(std::shared_ptr<Session> session, std::filesystem::path path, CancelledRecordings cancelled)
    : path_(std::move(path))
    , cancelled_(std::move(cancelled))
    , session_(std::move(session))
{
}

AssetWriter::~AssetWriter()
{
    session_->askForKeyFrameNoMore();
    session_->recording.reset();
    if (trashed_.valid())
        trashed_.wait_for(cancelled_.patience);
}

void AssetWriter::askForKeyFrame(const KeyFrameRequests& requests)
{
    {
        MutexLock lock(session_->mutex);
        session_->keyFrameRequests = requests;
    }
    session_->askForKeyFrame();
}

std::shared_ptr<platform::AssetWriterInput> AssetWriter::makeInput(
    MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint)
{
    if (mediaType == MediaType::video)
        return std::make_shared<VideoInput>(session_, !settings, std::move(sourceFormatHint));
    return std::make_shared<AudioInput>(session_, settings);
}

bool AssetWriter::canAdd(const platform::AssetWriterInput& input) const
{
    const auto* candidate = dynamic_cast<const Input*>(&input);
    if (!candidate || !candidate->belongsTo(session_.get()) || candidate->wasAdded() || !candidate->isUsable())
        return false;
    if (session_->currentStatus() != Status::unknown || session_->isFinishing)
        return false;
    return dynamic_cast<const VideoInput*>(candidate) ? !video_ : !audio_;
}

void AssetWriter::add(std::shared_ptr<platform::AssetWriterInput> input)
{
    assert(canAdd(*input));
    if (auto video = std::dynamic_pointer_cast<VideoInput>(input)) {
        video->setAdded();
        video_ = std::move(video);
    } else if (auto audio = std::dynamic_pointer_cast<AudioInput>(input)) {
        audio->setAdded();
        audio_ = std::move(audio);
    }
}

bool AssetWriter::startWriting()
{
    if (session_->currentStatus() != Status::unknown || session_->isFinishing || (!video_ && !audio_))
        return false;
    std::vector<mp4::RecordedTrack> tracks;
    const auto addTrack = [&tracks](Input& input) {
        input.setTrack(tracks.size());
        tracks.push_back(input.track());
    };
    if (video_)
        addTrack(*video_);
    if (audio_)
        addTrack(*audio_);
    session_->recording->start(std::move(tracks));
    session_->end(Status::writing, std::nullopt);
    return true;
}

void AssetWriter::startSession(MediaTime time)
{
    assert(session_->currentStatus() == Status::writing && time.isValid() && !session_->start.isValid());
    session_->start = time;
    session_->pauses.begin(time, video_ != nullptr);
    if (!session_->pauses.isResuming())
        session_->askForKeyFrameNoMore();
}

void AssetWriter::pause(MediaTime time)
{
    session_->pauses.pause(time);
}

void AssetWriter::resume(MediaTime time)
{
    session_->pauses.resume(time);
    // Asked for last: a key frame of a picture from before is of no use.
    session_->askForKeyFrame();
}

void AssetWriter::finishWriting(UniqueFunction<void()> completion)
{
    session_->update();
    const auto status = session_->currentStatus();
    if (session_->isFinishing || status == Status::cancelled) {
        completion();
        return;
    }
    endRecording([session = session_, completion = std::move(completion)](Result<bool> result) mutable {
        if (!result)
            session->end(Status::failed, result.error());
        else if (!*result || session->currentStatus() == Status::failed)
            session->end(Status::failed, std::nullopt);
        else
            session->end(Status::completed, std::nullopt);
        session.reset();
        completion();
    });
}

void AssetWriter::cancelWriting()
{
    session_->askForKeyFrameNoMore();
    if (session_->isFinishing)
        return;
    if (!moveToTrash()) {
        session_->isFinishing = true;
        session_->recording->cancel();
    }
    session_->end(Status::cancelled, std::nullopt);
}

/// False when the file is still where it was and only remains to be ended.
bool AssetWriter::moveToTrash()
{
    if (!cancelled_.trash || !session_->start.isValid())
        return false;
    // Its folder may have another name by now, by which the trash beside it is found.
    const auto path = session_->recording->currentPath().value_or(path_);
    auto trashed = cancelled_.trash->put(path, [&](const std::filesystem::path& to) { return session_->recording->moveFile(to); });
    if (!trashed)
        return false;
    std::promise<void> done;
    trashed_ = done.get_future();
    endRecording([trash = cancelled_.trash, kept = cancelled_.kept, trashed = std::move(*trashed), done = std::move(done)](
                     const Result<bool>&) mutable {
        if (!holdsEnough(trashed.file))
            trash->remove(trashed);
        else if (kept)
            kept(trashed);
        done.set_value();
    });
    return true;
}

void AssetWriter::endRecording(mp4::RecordingWriter::Completion completion)
{
    session_->askForKeyFrameNoMore();
    session_->update();
    if (audio_ && session_->currentStatus() == Status::writing)
        audio_->flush();
    session_->isFinishing = true;
    std::vector<mp4::TrackEnd> ends;
    if (video_)
        ends.emplace_back();
    if (audio_)
        ends.push_back(audio_->end());
    session_->recording->finish(std::move(ends), std::move(completion));
}

AssetWriter::Status AssetWriter::status() const
{
    session_->update();
    return session_->currentStatus();
}

std::optional<Error> AssetWriter::error() const
{
    session_->update();
    MutexLock lock(session_->mutex);
    return session_->error;
}

std::uint64_t AssetWriter::fileSize() const
{
    return session_->recording ? session_->recording->fileSize() : 0;
}

std::optional<std::filesystem::path> AssetWriter::placeOfMovedFile() const
{
    const auto failure = error();
    return failure ? mp4::placeOfMovedFile(*failure) : std::nullopt;
}

}  // namespace velmora::engine
