// What tests of the asset writer write: a clip of sixty numbered pictures, and sound.
#pragma once

#include "engine/files/AssetWriter.h"
#include "tests/support/media/AacEncoder.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/EncodedClip.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

namespace velmora::test {

using engine::AssetWriterFactory;
using engine::AudioEncoder;
using engine::AudioEncoderFactory;

// As live time stamps are: far from 0 and not a round number.
inline constexpr MediaTime sessionStart = MediaTime::nanoseconds(86'412'345'678'901);

inline MediaTime frameTime(std::int64_t frame)
{
    return MediaTime::nanoseconds(sessionStart.value + MediaTime{frame, 48000}.converted(MediaTime::nanosecondScale).value);
}

inline Result<std::unique_ptr<AudioEncoder>> aacEncoders(const platform::AudioOutputSettings&)
{
    return makeAacEncoder();
}

inline Result<std::unique_ptr<AudioEncoder>> noEncoders(const platform::AudioOutputSettings&)
{
    return fail("test", 1, "There is no codec.");
}

inline const EncodedClip& clip()
{
    static const auto encoded = encodeClip(steadyTimes(60, 30, sessionStart));
    return encoded;
}

struct Writing {
    std::shared_ptr<platform::AssetWriter> writer;
    std::shared_ptr<platform::AssetWriterInput> video;
    std::shared_ptr<platform::AssetWriterInput> audio;
};

inline Writing begin(std::shared_ptr<platform::AssetWriter> writer, const FormatDescriptionRef& format = clip().format)
{
    Writing writing{std::move(writer), nullptr, nullptr};
    writing.audio = writing.writer->makeInput(MediaType::audio, platform::AudioOutputSettings{}, nullptr);
    if (writing.writer->canAdd(*writing.audio))
        writing.writer->add(writing.audio);
    writing.video = writing.writer->makeInput(MediaType::video, std::nullopt, format);
    EXPECT_TRUE(writing.writer->canAdd(*writing.video));
    writing.writer->add(writing.video);
    EXPECT_TRUE(writing.writer->startWriting());
    writing.writer->startSession(sessionStart);
    return writing;
}

inline std::shared_ptr<platform::AssetWriter> makeWriter(const std::filesystem::path& path, AudioEncoderFactory encoders = aacEncoders)
{
    AssetWriterFactory factory{std::move(encoders)};
    auto writer = factory.makeAssetWriter(path, platform::AssetFileType::mpeg4);
    EXPECT_TRUE(writer);
    return *writer;
}

inline void finish(platform::AssetWriter& writer)
{
    std::promise<void> done;
    writer.finishWriting([&done] { done.set_value(); });
    done.get_future().wait();
}

inline void appendPictures(Writing& writing, std::size_t from = 0, std::size_t to = 60)
{
    for (std::size_t i = from; i < to; ++i) {
        EXPECT_TRUE(writing.video->isReadyForMoreMediaData());
        EXPECT_TRUE(writing.video->append(clip().samples[i]));
    }
}

// One block: `sound` begins at `frame` of the session.
inline bool appendSound(Writing& writing, std::vector<float> sound, std::int64_t frame)
{
    return writing.audio->append(soundBlock(std::move(sound), frameTime(frame)));
}

inline DecodedFile decodeClean(const std::filesystem::path& path)
{
    auto decoded = decodeFile(path);
    EXPECT_TRUE(decoded.opened);
    EXPECT_THAT(decoded.complaints, ::testing::IsEmpty());
    return decoded;
}

}  // namespace velmora::test
