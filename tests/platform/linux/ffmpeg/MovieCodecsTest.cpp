// The codecs of other formats than MP4, where the library lacks some of them.
#include "platform/linux/ffmpeg/LibavMovieCodecs.h"

#include "engine/sharing/ClipTranscoder.h"
#include "platform/linux/ffmpeg/LibavOpusEncoder.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/ForeignClip.h"
#include "tests/support/media/WrittenClip.h"

#include <cmath>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numbers>
#include <set>
#include <string>

namespace velmora::linux_backend {
namespace {

using namespace velmora::test;
using platform::CopyFormat;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class MovieCodecsTest : public testing::Test {
protected:
    /// The copy of clip.mp4 by a library that lacks these encoders.
    std::shared_ptr<platform::TranscodingSession> share(CopyFormat format, const std::set<std::string>& missing)
    {
        const auto transcoder = engine::makeClipTranscoder({}, [missing]() -> Result<std::unique_ptr<engine::MovieCodecs>> {
            return std::make_unique<LibavMovieCodecs>([missing](const char* name) -> const AVCodec* {
                return missing.contains(name) ? nullptr : avcodec_find_encoder_by_name(name);
            });
        });
        auto session = transcoder->makeSession(folder.path() / "clip.mp4", {.limit = 10'000'000, .format = format});
        EXPECT_TRUE(session);
        (*session)->setOutputURL(folder.path() / "copy");
        std::promise<void> done;
        (*session)->exportAsynchronously([&done] { done.set_value(); });
        done.get_future().wait();
        return *session;
    }

    const TemporaryDirectory folder;
};

TEST_F(MovieCodecsTest, AMissingEncoderIsNamedAndNothingIsWritten)
{
    WrittenClip clip{.pictures = {{0, 2}, {1, 2}}, .soundFrames = 48000};
    writeClip(folder.path() / "clip.mp4", clip);
    struct Case {
        CopyFormat format;
        std::set<std::string> missing;
        const char* named;
    };
    for (const auto& one : {Case{CopyFormat::gif, {"gif"}, "GIF (gif)"}, Case{CopyFormat::webp, {"libwebp_anim"}, "WebP (libwebp_anim)"},
             Case{CopyFormat::webm, {"libvpx-vp9", "libaom-av1"}, "VP9 (libvpx-vp9) or AV1 (libaom-av1)"},
             Case{CopyFormat::webm, {"libopus"}, "Opus (libopus)"}}) {
        const auto session = share(one.format, one.missing);
        ASSERT_TRUE(session->error()) << one.named;
        EXPECT_EQ(session->error()->code, static_cast<int>(platform::TranscodingErrorCode::missingEncoder));
        EXPECT_THAT(session->error()->localizedDescription, HasSubstr(one.named));
        EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4"));
    }
}

TEST_F(MovieCodecsTest, SilentClipsNeedNoEncoderOfSound)
{
    writeForeignClip(folder.path() / "clip.mp4", {.pictureCount = 10});
    EXPECT_FALSE(share(CopyFormat::webm, {"libopus"})->error());
}

TEST_F(MovieCodecsTest, WithoutVp9ThereIsAv1)
{
    if (!avcodec_find_encoder_by_name("libaom-av1"))
        GTEST_SKIP() << "this libavcodec has no such encoder";
    writeForeignClip(folder.path() / "clip.mp4", {.pictureCount = 20});
    const auto session = share(CopyFormat::webm, {"libvpx-vp9"});
    ASSERT_FALSE(session->error()) << session->error()->localizedDescription;
    const auto original = decodeFile(folder.path() / "clip.mp4");
    const auto copy = decodeFile(folder.path() / "copy");
    EXPECT_TRUE(copy.complaints.empty());
    // FFmpeg shows a picture behind the end of the clip's edit.
    ASSERT_GE(copy.pictures.size() + 1, original.pictures.size());
    for (std::size_t i = 0; i < copy.pictures.size(); ++i) {
        EXPECT_EQ(copy.pictures[i].number, original.pictures[i].number);
        EXPECT_NEAR(copy.pictures[i].time, original.pictures[i].time, 0.0011);
    }
}

TEST(OpusEncoder, TakesSoundOfAnyRateAndSaysItsOwn)
{
    for (const std::int64_t rate : {44100, 22050, 48000, 96000}) {
        auto encoder = LibavOpusEncoder::create({.channelCount = 2, .sampleRate = rate, .bitRate = 96000});
        ASSERT_TRUE(encoder) << rate;
        EXPECT_EQ((*encoder)->format()->audio()->sampleRate, 48000);
        EXPECT_GT((*encoder)->primingFrames(), 0);
        std::vector<engine::AudioEncoder::Packet> packets;
        // In pieces that fit no packet, with a sample that is no number.
        std::vector<float> second(static_cast<std::size_t>(rate) * 2, 0.1F);
        second[100] = std::nanf("");
        for (std::size_t at = 0; at < second.size(); at += 1234)
            ASSERT_TRUE((*encoder)->encode(std::span{second}.subspan(at, std::min<std::size_t>(1234, second.size() - at)), packets));
        ASSERT_TRUE((*encoder)->flush(packets));
        std::int64_t frames = 0;
        for (const auto& packet : packets)
            frames += packet.frames;
        EXPECT_GE(frames, 48000 + (*encoder)->primingFrames()) << rate;
        EXPECT_LE(frames, 48000 + (*encoder)->primingFrames() + 3 * 960) << rate;
    }
    EXPECT_FALSE(LibavOpusEncoder::create({.channelCount = 3}));
}

}  // namespace
}  // namespace velmora::linux_backend
