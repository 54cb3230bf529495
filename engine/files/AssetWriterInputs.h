// The inputs of the asset writer, and what they share with it. For use inside this library.
#pragma once

#include "base/Mutex.h"
#include "engine/files/AssetWriter.h"
#include "engine/files/RecordingPauses.h"
#include "engine/files/SoundSeam.h"
#include "media/mp4/MovieSerializer.h"
#include "media/mp4/SequenceParameterSet.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace velmora::engine {

// What the writer and its inputs share; an input may outlive its writer.
struct AssetWriter::Session {
    /// Encoded media that may wait for the disk: a minute at the usual rate.
    static constexpr std::uint64_t largestBacklog = std::uint64_t{64} << 20;

    AudioEncoderFactory encoders;
    std::unique_ptr<mp4::RecordingWriter> recording;  ///< null once the writer is gone
    MediaTime start;  ///< invalid before startSession
    bool isFinishing = false;
    bool failureWasReported = false;
    RecordingPauses pauses;
    bool isSoundBehind = false;  ///< there is sound, and the file does not have all of it up to the pause

    mutable Mutex mutex;
    Status status GUARDED_BY(mutex) = Status::unknown;
    std::optional<Error> error GUARDED_BY(mutex);
    std::optional<KeyFrameRequests> keyFrameRequests GUARDED_BY(mutex);
    KeyFrameRequests::Registration keyFrame GUARDED_BY(mutex);  ///< with which the file begins, or goes on after a pause

    void askForKeyFrame()
    {
        MutexLock lock(mutex);
        if (keyFrameRequests)
            keyFrame = keyFrameRequests->ask();
    }

    void askForKeyFrameNoMore()
    {
        MutexLock lock(mutex);
        keyFrame.end();
    }

    Status currentStatus() const
    {
        MutexLock lock(mutex);
        return status;
    }

    void end(Status newStatus, std::optional<Error> newError)
    {
        MutexLock lock(mutex);
        status = newStatus;
        if (!error)
            error = std::move(newError);
    }

    /// Learns of a failure that happened on the way to the disk.
    void update()
    {
        if (currentStatus() != Status::writing || !recording)
            return;
        if (auto failure = recording->error())
            end(Status::failed, std::move(failure));
    }

    bool isReady()
    {
        update();
        if (!recording || isFinishing || !start.isValid())
            return false;
        if (currentStatus() == Status::failed)
            return !failureWasReported;
        return currentStatus() == Status::writing && recording->bytesInFlight() < largestBacklog;
    }

    /// False when nothing can be appended; that is also how a failure is reported.
    bool beginAppend()
    {
        update();
        if (currentStatus() == Status::failed)
            failureWasReported = true;
        return recording && !isFinishing && start.isValid() && currentStatus() == Status::writing;
    }
};

class AssetWriter::Input : public platform::AssetWriterInput {
public:
    explicit Input(std::shared_ptr<Session> session) : session_(std::move(session)) { }

    // Nothing here ever waits, so there is no other mode to choose.
    void setExpectsMediaDataInRealTime(bool) override { }
    [[nodiscard]] bool isReadyForMoreMediaData() const override { return wasAdded() && !isFinished_ && session_->isReady(); }
    void markAsFinished() override { isFinished_ = true; }

    bool append(const SampleBufferRef& sample) override
    {
        return wasAdded() && !isFinished_ && sample && sample->presentationTimeStamp.isValid() && session_->beginAppend() && write(sample);
    }

    [[nodiscard]] bool belongsTo(const Session* session) const { return session_.get() == session; }
    [[nodiscard]] bool wasAdded() const { return wasAdded_; }
    void setAdded() { wasAdded_ = true; }
    void setTrack(std::size_t track) { track_ = track; }

    /// Whether the file can hold what this input writes.
    [[nodiscard]] virtual bool isUsable() const = 0;
    [[nodiscard]] virtual mp4::RecordedTrack track() const = 0;

protected:
    virtual bool write(const SampleBufferRef& sample) = 0;

    [[nodiscard]] Session& session() const { return *session_; }
    [[nodiscard]] std::size_t trackIndex() const { return track_; }

private:
    const std::shared_ptr<Session> session_;
    std::size_t track_ = 0;
    bool wasAdded_ = false;
    bool isFinished_ = false;
};

class AssetWriter::VideoInput final : public Input {
public:
    VideoInput(std::shared_ptr<Session> session, bool passesThrough, FormatDescriptionRef format)
        : Input(std::move(session))
        , passesThrough_(passesThrough)
        , format_(std::move(format))
    {
    }

    [[nodiscard]] bool isUsable() const override { return passesThrough_ && format_ && format_->video() && mp4::canDescribe(*format_); }
    [[nodiscard]] mp4::RecordedTrack track() const override { return {format_, mp4::videoTimescale, 0}; }

private:
    bool write(const SampleBufferRef& picture) override
    {
        const auto& sample = *picture;
        // One description serves the whole track: a sample of another format could not be decoded with it.
        if (!sample.format || (sample.format != format_ && *sample.format != *format_) || sample.data.bytes.empty())
            return false;
        if (!admits(sample))
            return true;
        const auto time = session().pauses.inFile(sample.presentationTimeStamp, stretch_).converted(mp4::videoTimescale).value;
        lastTime_ = std::max(time, lastTime_ + 1);
        std::uint32_t duration = 0;
        if (sample.duration > MediaTime::zero())
            duration = static_cast<std::uint32_t>(std::clamp<std::int64_t>(
                sample.duration.converted(mp4::videoTimescale).value, 1, std::numeric_limits<std::int32_t>::max()));
        session().recording->append(trackIndex(), {sample.data, lastTime_, duration, sample.isSync()});
        lastKeyFrame_ = sample.isSync() ? sample.data : DataBlock{};
        return true;
    }

    /// Whether the picture is not one of those that a pause leaves out.
    bool admits(const SampleBuffer& sample)
    {
        auto& pauses = session().pauses;
        pauses.update();
        const auto& time = sample.presentationTimeStamp;
        const bool isAdmitted = pauses.admits(time, pauses.isResuming() && sample.isSync() && mayFollow(sample));
        if (isAdmitted && std::exchange(stretch_, pauses.stretchOfPictures()) != pauses.stretchOfPictures())
            session().askForKeyFrameNoMore();
        if (isAdmitted)
            return true;
        // It was made of a picture from before the resume, or cannot follow what is there.
        if (pauses.isResuming() && sample.isSync())
            session().askForKeyFrame();
        handOn(time);
        return false;
    }

    /// Key frames that follow each other have different numbers (idr_pic_id, ITU-T H.264 7.4.3); encoders alternate them, so that the next one
    /// does where this one does not.
    [[nodiscard]] bool mayFollow(const SampleBuffer& sample) const
    {
        if (lastKeyFrame_.bytes.empty() || !format_->video())
            return true;
        const auto& configuration = format_->video()->decoderConfiguration;
        const auto number = mp4::keyFrameNumber(configuration, sample.data.bytes);
        return !number || number != mp4::keyFrameNumber(configuration, lastKeyFrame_.bytes);
    }

    /// In a pause nothing follows that would send what was recorded before it to the disk: `time` is that of a picture that is left out.
    void handOn(MediaTime time)
    {
        const auto& pauses = session().pauses;
        const auto stretch = pauses.stretchOfPictures();
        const auto* pause = pauses.end(stretch);
        if (!pause || handedOn_ == stretch + 1 || (session().isSoundBehind && time - pause->from < soundIsLate))
            return;
        handedOn_ = stretch + 1;
        session().recording->handOn(pauses.inFile(pause->from, stretch));
    }

    /// A still window's next picture comes after half a second; what sound was there before a pause has come by then.
    static constexpr MediaTime soundIsLate{1, 2};

    const bool passesThrough_;
    const FormatDescriptionRef format_;
    std::int64_t lastTime_ = -1;
    std::size_t stretch_ = 0;
    std::size_t handedOn_ = 0;  ///< stretches whose end is on its way to the disk
    DataBlock lastKeyFrame_;  ///< where that was the last picture
};

class AssetWriter::AudioInput final : public Input {
public:
    AudioInput(std::shared_ptr<Session> session, const std::optional<platform::AudioOutputSettings>& settings) : Input(std::move(session))
    {
        if (!settings || settings->format != FourCharacterCode{"aac "})
            return;
        settings_ = *settings;
        if (auto encoder = this->session().encoders(settings_))
            encoder_ = std::move(*encoder);
        silence_.resize(static_cast<std::size_t>(1024 * std::max<std::int64_t>(1, settings_.channelCount)));
        seam_ = SoundSeam{channels(), static_cast<std::size_t>(tolerance())};
    }

    [[nodiscard]] bool isUsable() const override
    {
        return encoder_ && encoder_->format() && encoder_->format()->audio() && mp4::canDescribe(*encoder_->format());
    }

    [[nodiscard]] mp4::RecordedTrack track() const override { return {encoder_->format(), sampleRate(), encoder_->primingFrames()}; }

    /// Writes what the encoder still holds.
    void flush()
    {
        writeHeld();
        if (written_ > 0)
            forward(encoder_->flush(packets_));
    }

    /// Frames of sound that were put in.
    [[nodiscard]] mp4::TrackEnd end() const { return {written_}; }

private:
    [[nodiscard]] std::int32_t sampleRate() const { return static_cast<std::int32_t>(settings_.sampleRate); }

    bool write(const SampleBufferRef& sample) override
    {
        const auto* format = sample->format ? sample->format->audio() : nullptr;
        if (!format || format->codec != FourCharacterCode{"lpcm"} || format->sampleRate != settings_.sampleRate
            || format->channelCount != settings_.channelCount)
            return false;
        const auto frames = sample->data.bytes.size() / (sizeof(float) * channels());
        if (sample->sampleCount < 0 || static_cast<std::uint64_t>(sample->sampleCount) != frames)
            return false;
        session().pauses.update();
        return writeHeld() && writeWhereItBelongs(sample);
    }

    /// What came before it was known where the recording goes on.
    bool writeHeld()
    {
        const auto* pause = held_.empty() ? nullptr : session().pauses.end(stretch_);
        if (!pause || !pause->to.isValid())
            return true;
        bool isWritten = true;
        for (const auto& sample : std::exchange(held_, {}))
            isWritten = isWritten && writeWhereItBelongs(sample);
        return isWritten;
    }

    bool writeWhereItBelongs(const SampleBufferRef& sample)
    {
        for (;; ++stretch_) {
            const auto* pause = session().pauses.end(stretch_);
            if (!writeInStretch(*sample, pause))
                return false;
            session().isSoundBehind = hasStarted_ && (!pause || start_ + written_ + tolerance() < inFile(pause->from));
            if (!pause || inFile(sample->presentationTimeStamp) + sample->sampleCount <= inFile(pause->from))
                return true;
            if (!pause->to.isValid()) {
                hold(sample, *pause);
                return true;
            }
            seam_.begin();
        }
    }

    void hold(const SampleBufferRef& sample, const RecordingPauses::Pause& pause)
    {
        if (!pause.resumed.isValid())
            return held_.clear();
        held_.push_back(sample);
        while (held_.back()->presentationTimeStamp - held_.front()->presentationTimeStamp > longestHeldSound)
            held_.pop_front();
    }

    /// Frames from the beginning of the file to a moment of the stretch.
    [[nodiscard]] std::int64_t inFile(MediaTime time) const
    {
        return session().pauses.inFile(time, stretch_).converted(sampleRate()).value;
    }

    /// What of the block belongs in the stretch that `pause`, if any, ends.
    bool writeInStretch(const SampleBuffer& sample, const RecordingPauses::Pause* pause)
    {
        const auto position = inFile(sample.presentationTimeStamp);
        const auto* before = stretch_ > 0 ? session().pauses.end(stretch_ - 1) : nullptr;
        const auto begin = before ? inFile(before->to) : 0;
        const auto end = pause ? inFile(pause->from) : std::numeric_limits<std::int64_t>::max();
        auto skip = std::max<std::int64_t>(0, begin - position);
        if (!hasStarted_) {
            if (skip >= sample.sampleCount || position + skip >= end)
                return true;
            start_ = position + skip;
            hasStarted_ = true;
        } else {
            const auto next = start_ + written_;
            // Both sides of a pause meet to the frame.
            const auto accepted = seam_.isOpen() ? 0 : tolerance();
            const auto gap = std::min(position + skip, end) - next;
            if (gap > longestGap.converted(sampleRate()).value)
                return false;
            if (skip > 0 && skip >= sample.sampleCount)
                return true;
            if (gap > accepted) {
                seam_.close();
                if (!encodeSilence(gap))
                    return false;
            }
            if (gap < -accepted)
                skip = std::min(skip - gap, sample.sampleCount);
        }
        const auto room = std::max<std::int64_t>(0, end - (start_ + written_));
        const auto samples = interleaved(sample).subspan(static_cast<std::size_t>(skip) * channels());
        const auto kept =
            samples.first(std::min(samples.size(), static_cast<std::size_t>(std::min(room, sample.sampleCount)) * channels()));
        if (pause)
            seam_.keep(samples.subspan(kept.size()), position + skip - (start_ + written_));
        return encode(seam_.joined(kept));
    }

    [[nodiscard]] std::size_t channels() const { return static_cast<std::size_t>(settings_.channelCount); }
    [[nodiscard]] std::int64_t tolerance() const { return jitter.converted(sampleRate()).value; }

    std::span<const float> interleaved(const SampleBuffer& sample)
    {
        const auto bytes = sample.data.bytes;
        const auto count = bytes.size() / sizeof(float);
        if (reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(float) == 0)
            return {reinterpret_cast<const float*>(static_cast<const void*>(bytes.data())), count};
        aligned_.resize(count);
        std::memcpy(aligned_.data(), bytes.data(), count * sizeof(float));
        return aligned_;
    }

    bool encodeSilence(std::int64_t frames)
    {
        const auto channels = settings_.channelCount;
        const auto block = static_cast<std::int64_t>(silence_.size()) / channels;
        for (; frames > 0; frames -= block) {
            if (!encode(std::span<const float>{silence_}.first(static_cast<std::size_t>(std::min(frames, block) * channels))))
                return false;
        }
        return true;
    }

    bool encode(std::span<const float> samples)
    {
        if (samples.empty())
            return true;
        const auto result = encoder_->encode(samples, packets_);
        written_ += static_cast<std::int64_t>(samples.size()) / settings_.channelCount;
        return forward(result);
    }

    bool forward(const Result<void>& result)
    {
        for (auto& packet : packets_) {
            session().recording->append(
                trackIndex(), {std::move(packet.data), start_ + encoded_, static_cast<std::uint32_t>(packet.frames), true});
            encoded_ += packet.frames;
        }
        packets_.clear();
        if (!result) {
            session().end(Status::failed, result.error());
            session().failureWasReported = true;
        }
        return result.has_value();
    }

    /// Time stamps of sound jitter by less than this; anything beyond is missing or doubled sound.
    static constexpr MediaTime jitter{5, 1000};
    static constexpr MediaTime longestGap{600, 1};

    /// Sound that waits for the picture with which a paused recording goes on: longer than any picture takes.
    static constexpr MediaTime longestHeldSound{2, 1};

    platform::AudioOutputSettings settings_;
    std::unique_ptr<AudioEncoder> encoder_;
    std::vector<AudioEncoder::Packet> packets_;
    std::vector<float> silence_;
    std::vector<float> aligned_;
    std::int64_t start_ = 0;  ///< frames from the session's start to the first that was put in
    std::int64_t written_ = 0;  ///< frames that were put in
    std::int64_t encoded_ = 0;  ///< frames in packets
    bool hasStarted_ = false;
    std::size_t stretch_ = 0;  ///< of the next block, as far as is known
    std::deque<SampleBufferRef> held_;  ///< came after a resume, before the picture with which the recording goes on
    SoundSeam seam_;
};

}  // namespace velmora::engine
