#include "tests/media/mp4/Recordings.h"

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/AacEncoder.h"
#include "tests/support/media/EncodedClip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <tuple>

namespace velmora::test {

namespace {

Recording encode(const RecordingPlan& plan)
{
    Recording recording;
    recording.pictureCount = plan.pictureCount;
    std::map<std::int64_t, mp4::RecordedFragment> fragments;
    const auto add = [&fragments](std::size_t track, double seconds, mp4::RecordedSample sample) {
        auto& fragment = fragments[static_cast<std::int64_t>(seconds * 2)];
        if (fragment.empty() || fragment.back().track != track)
            fragment.push_back({track, {}});
        fragment.back().samples.push_back(std::move(sample));
    };

    const auto clip = encodeClip(steadyTimes(plan.pictureCount, plan.rate));
    recording.tracks.push_back({clip.format, mp4::videoTimescale, 0});
    recording.ends.emplace_back();
    const auto duration = static_cast<std::uint32_t>(mp4::videoTimescale / plan.rate);
    for (const auto& sample : clip.samples) {
        const auto time = sample->presentationTimeStamp.converted(mp4::videoTimescale).value;
        add(0, static_cast<double>(time) / mp4::videoTimescale,
            {sample->data, time, duration, !sample->attachments->front().boolean(attachment_key::notSync)});
    }
    if (plan.hasSound) {
        const auto encoder = makeAacEncoder();
        std::vector<engine::AudioEncoder::Packet> packets;
        EXPECT_TRUE(encoder->encode(clicks(plan.soundFrames, plan.clicks), packets));
        EXPECT_TRUE(encoder->flush(packets));
        recording.tracks.push_back({encoder->format(), 48000, encoder->primingFrames()});
        recording.ends.push_back({plan.soundFrames});
        auto time = plan.soundStart;
        for (const auto& packet : packets) {
            add(1, static_cast<double>(time) / 48000, {packet.data, time, static_cast<std::uint32_t>(packet.frames), true});
            time += packet.frames;
        }
        for (const auto click : plan.clicks)
            recording.clicks.push_back(plan.soundStart + click);
    }
    for (auto& [time, fragment] : fragments)
        recording.fragments.push_back(std::move(fragment));
    return recording;
}

}  // namespace

const Recording& makeRecording(const RecordingPlan& plan)
{
    using Key = std::tuple<int, int, bool, std::int64_t, std::int64_t, std::vector<std::int64_t>>;
    static std::map<Key, Recording> known;
    const Key key{plan.pictureCount, plan.rate, plan.hasSound, plan.soundStart, plan.soundFrames, plan.clicks};
    auto found = known.find(key);
    if (found == known.end())
        found = known.emplace(key, encode(plan)).first;
    return found->second;
}

mp4::RecordingOptions testOptions()
{
    mp4::RecordingOptions options;
    options.creationTime = 3'800'000'000;
    return options;
}

std::unique_ptr<mp4::RecordingFile> writeUnfinished(
    const std::shared_ptr<mp4::File>& file, const Recording& recording, std::size_t fragmentCount, const mp4::RecordingOptions& options)
{
    auto writer = mp4::RecordingFile::create(file, options);
    if (!writer)
        return nullptr;
    static_cast<void>((*writer)->start(recording.tracks));
    for (std::size_t i = 0; i < std::min(fragmentCount, recording.fragments.size()); ++i)
        static_cast<void>((*writer)->write(recording.fragments[i]));
    return std::move(*writer);
}

std::shared_ptr<MemoryFile> unfinishedFile(const Recording& recording)
{
    auto file = std::make_shared<MemoryFile>();
    writeUnfinished(file, recording, recording.fragments.size());
    return file;
}

std::shared_ptr<MemoryFile> finishedFile(const Recording& recording, const mp4::RecordingOptions& options)
{
    auto file = std::make_shared<MemoryFile>();
    const auto writer = writeUnfinished(file, recording, recording.fragments.size(), options);
    const auto finished = writer->finish(recording.ends);
    EXPECT_TRUE(finished && *finished);
    return file;
}

DecodedFile expectPlays(const std::filesystem::path& path, int rate)
{
    auto decoded = decodeFile(path);
    EXPECT_TRUE(decoded.opened);
    EXPECT_THAT(decoded.complaints, ::testing::IsEmpty());
    for (std::size_t i = 0; i < decoded.pictures.size(); ++i) {
        EXPECT_EQ(decoded.pictures[i].number, static_cast<int>(i));
        EXPECT_NEAR(decoded.pictures[i].time, static_cast<double>(i) / rate, 1e-5);
    }
    return decoded;
}

DecodedFile expectPlays(MemoryFile& file, int rate)
{
    const TemporaryDirectory folder;
    file.saveTo(folder.path() / "clip.mp4");
    return expectPlays(folder.path() / "clip.mp4", rate);
}

}  // namespace velmora::test
