// What tests of the transcoder with the real codecs have in common: what comes out is decoded.
#pragma once

#include "engine/sharing/ClipTranscoder.h"

#include "engine/files/ExportSessions.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "platform/linux/CodecModuleServices.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/DecodedWebp.h"
#include "tests/support/media/ForeignClip.h"
#include "tests/support/media/WrittenClip.h"

#include <cerrno>
#include <cmath>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace velmora::engine {

using namespace velmora::test;
using Status = platform::ExportSession::Status;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Of the clips' 48,000: 10 ms.
inline constexpr std::int64_t toleratedFrames = 480;

class ClipTranscoderTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder.path() / name; }

    std::shared_ptr<platform::TranscodingSession> makeSession(const platform::TranscodingSettings& settings, const char* clip = "clip.mp4")
    {
        auto made = transcoder->makeSession(path(clip), settings);
        EXPECT_TRUE(made);
        output = path("small" + extensionOf(settings.format));
        (*made)->setOutputURL(output);
        return std::move(*made);
    }

    static std::string extensionOf(platform::CopyFormat format)
    {
        return format == platform::CopyFormat::gif ? ".gif"
            : format == platform::CopyFormat::webp ? ".webp"
            : format == platform::CopyFormat::webm ? ".webm"
                                                   : ".mp4";
    }

    static void finish(platform::ExportSession& session)
    {
        std::promise<void> done;
        session.exportAsynchronously([&done] { done.set_value(); });
        done.get_future().wait();
    }

    /// The copy, decoded.
    DecodedFile transcode(const platform::TranscodingSettings& settings, const char* clip = "clip.mp4")
    {
        const auto session = makeSession(settings, clip);
        finish(*session);
        EXPECT_EQ(session->status(), Status::completed) << (session->error() ? session->error()->localizedDescription : "");
        if (session->status() != Status::completed)
            return {};
        report = *session->report();
        EXPECT_EQ(report.size, std::filesystem::file_size(output));
        if (settings.limit > 0) {
            EXPECT_LE(report.size, settings.limit);
        }
        auto decoded = settings.format == platform::CopyFormat::webp ? decodeWebp(output) : decodeFile(output);
        EXPECT_TRUE(decoded.opened);
        EXPECT_THAT(decoded.complaints, IsEmpty());
        return decoded;
    }

    const TemporaryDirectory folder;
    const std::shared_ptr<platform::ClipTranscoder> transcoder = linux_backend::makeClipTranscoder();
    platform::TranscodingReport report;
    std::filesystem::path output;
};

inline void expectTheSamePictures(const DecodedFile& original, const DecodedFile& copy)
{
    ASSERT_EQ(copy.pictures.size(), original.pictures.size());
    for (std::size_t i = 0; i < copy.pictures.size(); ++i) {
        EXPECT_EQ(copy.pictures[i].number, original.pictures[i].number) << i;
        EXPECT_NEAR(copy.pictures[i].time, original.pictures[i].time, 2.0 / 90000) << i;
    }
}

inline WrittenClip beginning(WrittenClip clip, std::size_t pictureCount, std::int64_t soundFrames)
{
    if (clip.pictures.size() > pictureCount)
        clip.pictures.resize(pictureCount);
    clip.soundFrames = soundFrames;
    return clip;
}

/// Silence where there is none.
inline double soundAt(const DecodedFile& file, std::int64_t frame)
{
    const auto index = frame - file.firstFrame;
    const bool isThere = index >= 0 && index < static_cast<std::int64_t>(file.sound.size());
    return isThere ? static_cast<double>(file.sound[static_cast<std::size_t>(index)]) : 0;
}

/// By how many frames the copy's sound comes later, where it fits the original's best: at few bits a click is no longer one.
inline std::int64_t delayOf(const DecodedFile& original, const DecodedFile& copy, std::int64_t from, std::int64_t count)
{
    std::int64_t best = 0;
    double greatest = -1;
    for (std::int64_t delay = -2 * toleratedFrames; delay <= 2 * toleratedFrames; ++delay) {
        double sum = 0;
        for (std::int64_t i = from; i < from + count; ++i)
            sum += soundAt(original, i) * soundAt(copy, i + delay);
        if (sum > greatest) {
            greatest = sum;
            best = delay;
        }
    }
    return best;
}

inline void expectTheSameSound(const DecodedFile& original, const DecodedFile& copy, std::int64_t toleratedDelay = 3)
{
    constexpr std::int64_t window = 6000;
    ASSERT_GT(original.endFrame(), 4 * window);
    int compared = 0;
    for (auto from = 2 * window; from < original.endFrame() - window; from += 5 * window) {
        // Where it is silent there is nothing to compare.
        double energy = 0;
        for (auto i = from; i < from + window; ++i)
            energy += std::pow(soundAt(original, i), 2);
        if (energy < 0.01 * window)
            continue;
        ++compared;
        EXPECT_LE(std::abs(delayOf(original, copy, from, window)), toleratedDelay) << "at " << from << "; 10 ms are " << toleratedFrames;
    }
    EXPECT_GT(compared, 0);
    // libavformat ends an edit with a whole packet.
    EXPECT_NEAR(static_cast<double>(copy.endFrame()), static_cast<double>(original.endFrame()), 1024);
}

}  // namespace velmora::engine
