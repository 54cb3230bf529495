// Clips that were cut and joined as seen by a player, which knows nothing of how they were made.

#include "engine/files/ExportSessions.h"
#include "engine/files/SeamEncoder.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/RecordingLayout.h"
#include "media/mp4/Trimmer.h"
#include "platform/linux/ffmpeg/LibavCodecModule.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/ForeignClip.h"
#include "tests/support/media/MemoryFile.h"
#include "tests/support/media/WrittenClip.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using namespace velmora::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ExportStatus = platform::ExportSession::Status;

constexpr std::int32_t rate = 48000;

engine::SeamCodecs codecs()
{
    static auto& module = *new LibavCodecModule;
    return {[](const auto& settings) { return module.makeAudioEncoder(settings); },
        [](const auto& format) { return module.makePacketDecoder(format); },
        [](const auto& format, int set) { return module.makePictureReencoder(format, set); }};
}

TimeRange between(double from, double to)
{
    return {MediaTime::fromSeconds(from, 90000), MediaTime::fromSeconds(to, 90000)};
}

class SplicedClips : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        for (unsigned seed = 0; seed < 3; ++seed)
            writeClip(own(seed), unevenClip(seed));
    }
    static void TearDownTestSuite()
    {
        decoded_.clear();
        shared_.reset();
    }

    static std::filesystem::path own(unsigned seed) { return shared_->path() / ("own-" + std::to_string(seed) + ".mp4"); }

    /// Decoded once.
    static const DecodedFile& whole(const std::filesystem::path& file)
    {
        const auto [found, isNew] = decoded_.try_emplace(file);
        if (isNew)
            found->second = decodeFile(file);
        return found->second;
    }

    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

    static ExportStatus finish(platform::ExportSession& session)
    {
        std::promise<void> done;
        session.exportAsynchronously([&done] { done.set_value(); });
        done.get_future().wait();
        return session.status();
    }

    std::shared_ptr<platform::ExportSession> sessionOf(const std::vector<std::filesystem::path>& files)
    {
        auto session = files.size() == 1 ? factory_->makeExportSession(files[0], platform::ExportPreset::passthrough)
                                         : factory_->makeJoinSession(files, platform::ExportPreset::passthrough);
        EXPECT_TRUE(session);
        (*session)->setOutputURL(path("spliced-" + std::to_string(++count_) + ".mp4"));
        return std::move(*session);
    }

    std::filesystem::path spliced(const std::filesystem::path& file, const std::vector<TimeRange>& cuts)
    {
        const auto session = sessionOf({file});
        session->setCuts(cuts);
        EXPECT_EQ(finish(*session), ExportStatus::completed) << (session->error() ? session->error()->localizedDescription : "");
        return session->outputURL();
    }

    std::filesystem::path joined(const std::vector<std::filesystem::path>& files)
    {
        const auto session = sessionOf(files);
        EXPECT_EQ(finish(*session), ExportStatus::completed) << (session->error() ? session->error()->localizedDescription : "");
        return session->outputURL();
    }

    std::string refusalOf(platform::ExportSession& session)
    {
        EXPECT_EQ(finish(session), ExportStatus::failed);
        EXPECT_FALSE(std::filesystem::exists(session.outputURL()));
        return session.error() ? session.error()->localizedDescription : "";
    }

    struct Piece {
        const DecodedFile& whole;
        TimeRange range;
    };

    /// The pieces, one after the other: every picture at its time, every sample of sound at its place.
    static void expectPieces(const std::vector<Piece>& pieces, const DecodedFile& file, double ticksPerSecond = 90000)
    {
        ASSERT_TRUE(file.opened);
        EXPECT_THAT(file.complaints, IsEmpty());
        std::vector<DecodedPicture> expected;
        std::vector<float> sound;
        MediaTime begin = MediaTime::zero();
        for (const auto& piece : pieces) {
            for (const auto& picture : picturesIn(piece.whole, piece.range))
                expected.push_back({begin.seconds() + picture.time, picture.number});
            const auto end = begin + piece.range.end - piece.range.start;
            sound.resize(static_cast<std::size_t>(end.converted(rate).value), 0.0F);
            const auto from = piece.range.start.converted(rate).value - piece.whole.firstFrame;
            for (auto i = begin.converted(rate).value; i < end.converted(rate).value; ++i) {
                const auto frame = from + i - begin.converted(rate).value;
                if (frame >= 0 && frame < static_cast<std::int64_t>(piece.whole.sound.size()))
                    sound[static_cast<std::size_t>(i)] = piece.whole.sound[static_cast<std::size_t>(frame)];
            }
            begin = end;
        }
        ASSERT_EQ(file.pictures.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(file.pictures[i].number, expected[i].number) << i;
            EXPECT_NEAR(file.pictures[i].time, expected[i].time, 1.01 / ticksPerSecond) << i;
        }
        EXPECT_NEAR(file.duration, begin.seconds(), 0.001);
        if (!pieces.front().whole.hasAudio) {
            EXPECT_FALSE(file.hasAudio);
            return;
        }
        ASSERT_TRUE(file.hasAudio);
        EXPECT_EQ(file.firstFrame, 0);
        expectSound(sound, file.sound);
    }

    static void expectSound(const std::vector<float>& expected, const std::vector<float>& heard)
    {
        const auto count = std::min(expected.size(), heard.size());
        // The sound may end before the pictures do.
        EXPECT_TRUE(
            std::all_of(expected.begin() + static_cast<std::ptrdiff_t>(count), expected.end(), [](float value) { return value == 0; }));
        constexpr std::size_t block = 1024;
        const auto energy = [&](std::size_t first, std::size_t shift) {
            double sum = 0;
            for (auto i = first; i < std::min(first + block, count - 2); ++i) {
                const double difference = static_cast<double>(expected[i + 1]) - static_cast<double>(heard[i + shift]);
                sum += difference * difference;
            }
            return sum;
        };
        for (std::size_t first = 0; first + block < count; first += block) {
            const auto there = energy(first, 1);
            EXPECT_LT(std::sqrt(there / block), 0.03) << "at frame " << first;
            // A sample to either side is worse, if only by how the tone goes on.
            EXPECT_LE(there, energy(first, 0) + 1e-4) << "at frame " << first;
            EXPECT_LE(there, energy(first, 2) + 1e-4) << "at frame " << first;
        }
    }

    static std::vector<Piece> piecesOf(const DecodedFile& whole, const std::vector<TimeRange>& cuts)
    {
        std::vector<Piece> pieces;
        for (const auto& range : mp4::rangesWithout({MediaTime::zero(), MediaTime::fromSeconds(whole.duration, rate)}, cuts))
            pieces.push_back({whole, range});
        return pieces;
    }

    static std::string contentOf(const std::filesystem::path& file)
    {
        std::ifstream stream{file, std::ios::binary};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    /// Every sample of a track, as bytes.
    static std::vector<std::string> samplesOf(const std::filesystem::path& file, bool isVideo)
    {
        const auto content = contentOf(file);
        const auto opened = mp4::PosixFile::openForReading(file);
        const auto movie = mp4::readMovie(**opened);
        EXPECT_TRUE(movie);
        std::vector<std::string> samples;
        for (const auto& track : movie->movie.tracks) {
            for (const auto& sample : track.isVideo() == isVideo ? track.samples.expanded() : std::vector<mp4::Sample>{})
                samples.push_back(content.substr(sample.offset, sample.size));
        }
        return samples;
    }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    static inline std::map<std::filesystem::path, DecodedFile> decoded_;
    const TemporaryDirectory folder_;
    const std::shared_ptr<platform::ExportSessionFactory> factory_ = engine::makeExportSessions(codecs());
    int count_ = 0;
};

TEST_F(SplicedClips, RandomCutsLeaveEveryPictureAndEverySampleAtItsPlace)
{
    std::mt19937 random{11};
    for (int round = 0; round < 10; ++round) {
        const auto& clip = whole(own(static_cast<unsigned>(round % 3)));
        std::vector<std::int64_t> ends;
        for (int i = 0; i < 2 * (1 + round % 3); ++i)
            ends.push_back(std::uniform_int_distribution<std::int64_t>{300, static_cast<std::int64_t>(clip.duration * 600) - 300}(random));
        std::sort(ends.begin(), ends.end());
        std::vector<TimeRange> cuts;
        std::string name;
        for (std::size_t i = 0; i < ends.size(); i += 2) {
            cuts.push_back({{ends[i], 600}, {ends[i + 1], 600}});
            name += " " + std::to_string(cuts.back().start.seconds()) + "-" + std::to_string(cuts.back().end.seconds());
        }
        SCOPED_TRACE("round " + std::to_string(round) + name);
        expectPieces(piecesOf(clip, cuts), decodeFile(spliced(own(static_cast<unsigned>(round % 3)), cuts)));
    }
}

TEST_F(SplicedClips, WhatIsNotEncodedAnewHasTheSamplesOfTheClip)
{
    const auto file = spliced(own(0), {between(1.3, 4.2)});
    const auto before = samplesOf(own(0), true);
    const std::set<std::string> known{before.begin(), before.end()};
    const auto after = samplesOf(file, true);
    const auto anew = std::count_if(after.begin(), after.end(), [&](const auto& sample) { return !known.contains(sample); });
    // A key frame every 30 pictures.
    EXPECT_LT(anew, 30);
    EXPECT_GT(after.size(), 150U);
    const auto packets = samplesOf(own(0), false);
    const std::set<std::string> knownPackets{packets.begin(), packets.end()};
    const auto packetsAfter = samplesOf(file, false);
    const auto encodedPackets =
        std::count_if(packetsAfter.begin(), packetsAfter.end(), [&](const auto& packet) { return !knownPackets.contains(packet); });
    // The shorter side lasts 1.3 s, of which the first quarter is silent; and a few at the seam.
    EXPECT_LT(encodedPackets, 75);
}

TEST_F(SplicedClips, CutsThatTouchOrOverlapAreOne)
{
    const auto one = spliced(own(1), {between(2, 5)});
    const auto several = spliced(own(1), {between(3, 5), between(2, 3), between(2.5, 4)});
    EXPECT_EQ(samplesOf(one, true), samplesOf(several, true));
    EXPECT_EQ(samplesOf(one, false), samplesOf(several, false));
}

TEST_F(SplicedClips, ACutAtAnEndIsATrim)
{
    const auto& clip = whole(own(0));
    const auto trimmed = [&](const TimeRange& range) {
        const auto session = sessionOf({own(0)});
        session->setTimeRange(range);
        EXPECT_EQ(finish(*session), ExportStatus::completed);
        return session->outputURL();
    };
    const auto withoutEnd = spliced(own(0), {between(6, 100)});
    const auto withoutBeginning = spliced(own(0), {between(0, 1.25)});
    EXPECT_EQ(samplesOf(withoutEnd, true), samplesOf(trimmed(between(0, 6)), true));
    EXPECT_EQ(samplesOf(withoutEnd, false), samplesOf(trimmed(between(0, 6)), false));
    EXPECT_EQ(samplesOf(withoutBeginning, true), samplesOf(trimmed(between(1.25, 100)), true));
    expectPartOf(clip, between(0, 6), decodeFile(withoutEnd));
    expectPartOf(clip, {MediaTime{5, 4}, MediaTime::fromSeconds(clip.duration, rate)}, decodeFile(withoutBeginning));
}

TEST_F(SplicedClips, ACutShorterThanAPictureCutsThatPictureShort)
{
    const auto& clip = whole(own(0));
    // A still stretch, in which a picture lasts half a second.
    const std::vector<TimeRange> cuts{between(2.7, 2.71)};
    const auto file = decodeFile(spliced(own(0), cuts));
    expectPieces(piecesOf(clip, cuts), file);
    EXPECT_EQ(file.pictures.size(), clip.pictures.size() + 1) << "it is shown on both sides";
}

TEST_F(SplicedClips, ACutInTheLastPictureIsExactToo)
{
    const auto& clip = whole(own(2));
    const auto last = clip.pictures.back().time;
    const std::vector<TimeRange> cuts{between(last + 0.003, last + 0.009)};
    expectPieces(piecesOf(clip, cuts), decodeFile(spliced(own(2), cuts)));
}

TEST_F(SplicedClips, NothingIsLeftIsAnErrorInWords)
{
    const auto session = sessionOf({own(0)});
    session->setCuts({between(0, 6), between(5, 100)});
    EXPECT_EQ(refusalOf(*session), "Nothing is left of the clip.");
    EXPECT_THAT(namesIn(folder_.path()), IsEmpty());
}

TEST_F(SplicedClips, AClipWithoutSoundIsCutAndJoined)
{
    auto silent = unevenClip(4);
    silent.soundFrames = 0;
    writeClip(path("silent.mp4"), silent);
    const auto& clip = whole(path("silent.mp4"));
    const std::vector<TimeRange> cuts{between(1.11, 3.3), between(5, 6.02)};
    expectPieces(piecesOf(clip, cuts), decodeFile(spliced(path("silent.mp4"), cuts)));
    const TimeRange all{MediaTime::zero(), MediaTime::fromSeconds(clip.duration, rate)};
    expectPieces({{clip, all}, {clip, all}}, decodeFile(joined({path("silent.mp4"), path("silent.mp4")})));
}

TEST_F(SplicedClips, AnUnfinishedRecordingIsCutAsFarAsItGoes)
{
    auto unfinished = unevenClip(5);
    unfinished.isFinished = false;
    writeClip(path("unfinished.mp4"), unfinished);
    const auto file = decodeFile(spliced(path("unfinished.mp4"), {between(1, 2)}));
    EXPECT_THAT(file.complaints, IsEmpty());
    EXPECT_GT(file.pictures.size(), 200U);
}

TEST_F(SplicedClips, ForeignPicturesOutOfOrderAreCutExactly)
{
    for (const char* options : {"", "open-gop=1"}) {
        SCOPED_TRACE(options);
        const auto file = path("foreign" + std::string{options} + ".mp4");
        writeForeignClip(file,
            {.encoderOptions = *options ? std::string{"x264-params="} + options : "",
                .pictureCount = 200,
                .keyFrameInterval = 40,
                .bFrames = 3});
        const auto& clip = whole(file);
        // libavformat's clock for 30 pictures a second.
        constexpr double clock = 15360;
        for (const auto& cut : {between(1.05, 3.4), between(0.21, 0.95), between(4.444, 5.555)})
            expectPieces(piecesOf(clip, {cut}), decodeFile(spliced(file, {cut})), clock);
        const std::vector<TimeRange> two{between(1.05, 2.2), between(3.21, 3.5)};
        expectPieces(piecesOf(clip, two), decodeFile(spliced(file, two)), clock);
    }
}

TEST_F(SplicedClips, ClipsFollowOneAnotherExactly)
{
    std::vector<Piece> pieces;
    std::vector<std::filesystem::path> files;
    for (const unsigned seed : {2U, 0U, 1U, 0U}) {
        files.push_back(own(seed));
        pieces.push_back({whole(files.back()), {MediaTime::zero(), {}}});
        const auto opened = mp4::PosixFile::openForReading(files.back());
        pieces.back().range.end = mp4::presentationDuration(mp4::readMovie(**opened)->movie);
    }
    expectPieces(pieces, decodeFile(joined(files)));
}

TEST_F(SplicedClips, FiftyClipsBecomeOne)
{
    WrittenClip clip;
    for (int i = 0; i < 20; ++i)
        clip.pictures.push_back({i, 40});
    clip.soundFrames = 24'000;
    writeClip(path("short.mp4"), clip);
    const auto& decoded = whole(path("short.mp4"));
    const auto opened = mp4::PosixFile::openForReading(path("short.mp4"));
    const auto length = mp4::presentationDuration(mp4::readMovie(**opened)->movie);
    const std::vector<Piece> pieces(50, Piece{decoded, {MediaTime::zero(), length}});
    expectPieces(pieces, decodeFile(joined(std::vector(50, path("short.mp4")))));
}

TEST_F(SplicedClips, ClipsOfDifferentKindsAreRefusedAndNothingIsLeft)
{
    writeForeignClip(path("large.mp4"), {.width = 640, .height = 480, .bFrames = 0});
    auto silent = unevenClip(4);
    silent.soundFrames = 0;
    writeClip(path("silent.mp4"), silent);
    const auto before = namesIn(folder_.path());
    EXPECT_EQ(refusalOf(*sessionOf({own(0), path("large.mp4")})),
        "The clips do not go together: the pictures of large.mp4 are 640 x 480, and those of own-0.mp4 are 320 x 240.");
    EXPECT_EQ(
        refusalOf(*sessionOf({own(0), path("silent.mp4")})), "The clips do not go together: own-0.mp4 has sound, and silent.mp4 has none.");
    writeForeignClip(path("other.mp4"), {.encoder = "mpeg4", .bFrames = 0});
    EXPECT_THAT(refusalOf(*sessionOf({own(0), path("other.mp4")})), HasSubstr("other.mp4: The file cannot be trimmed exactly"));
    std::filesystem::remove(path("other.mp4"));
    EXPECT_EQ(namesIn(folder_.path()), before);
}

TEST_F(SplicedClips, AFolderThatCannotBeWrittenFailsInTheSystemsWords)
{
    if (::geteuid() == 0) {
        // Root writes anywhere but where there is no folder.
        const auto session = sessionOf({own(0)});
        session->setOutputURL(path("missing/spliced.mp4"));
        session->setCuts({between(1, 2)});
        EXPECT_THAT(refusalOf(*session), HasSubstr("No such file"));
        return;
    }
    std::filesystem::permissions(folder_.path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    const auto session = sessionOf({own(0)});
    session->setCuts({between(1, 2)});
    EXPECT_THAT(refusalOf(*session), HasSubstr("Permission denied"));
    std::filesystem::permissions(folder_.path(), std::filesystem::perms::owner_all);
}

TEST_F(SplicedClips, AFullDiskIsTheSystemsError)
{
    const auto source = mp4::PosixFile::openForReading(own(0));
    auto splice = mp4::readAndPlanSplice({{source->get(), {}, between(0, 100), {between(2, 3)}}});
    ASSERT_TRUE(splice);
    const auto anew = engine::encodeSeams({source->get()}, *splice, codecs());
    ASSERT_TRUE(anew && *anew);
    for (const std::uint64_t capacity : {std::uint64_t{100}, std::uint64_t{100'000}, std::uint64_t{300'000}}) {
        MemoryFile target;
        target.faults.capacity = capacity;
        const auto outcome = mp4::writeSplice({source->get()}, splice->plan, **anew, target);
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().code, ENOSPC);
    }
}

TEST_F(SplicedClips, AClipThatBecomesShorterMeanwhileIsAnError)
{
    for (const int shorter : {0, 1}) {
        MemoryFile files[2];
        std::vector<mp4::KeptFile> kept;
        for (auto& file : files) {
            const auto content = contentOf(own(0));
            ASSERT_TRUE(file.writeAt(0, std::as_bytes(std::span{content.data(), content.size()})));
            kept.push_back({&file, "clip", between(0, 100)});
        }
        auto splice = mp4::readAndPlanSplice(kept);
        ASSERT_TRUE(splice);
        const auto anew = engine::encodeSeams({files, files + 1}, *splice, codecs());
        ASSERT_TRUE(anew && *anew);
        ASSERT_TRUE(files[shorter].truncate(100'000));
        MemoryFile target;
        const auto outcome = mp4::writeSplice({files, files + 1}, splice->plan, **anew, target);
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.error().code, static_cast<int>(mp4::ErrorCode::damaged));
    }
}

TEST_F(SplicedClips, CanBeCancelledWhileASeamIsEncoded)
{
    const auto source = mp4::PosixFile::openForReading(own(0));
    for (const double until : {0.0, 0.3, 0.9}) {
        auto splice = mp4::readAndPlanSplice({{source->get(), {}, between(0, 100), {between(2, 3)}}});
        ASSERT_TRUE(splice);
        double reached = 0;
        const auto anew = engine::encodeSeams({source->get()}, *splice, codecs(), [&](double done) {
            EXPECT_GE(done, reached);
            reached = done;
            return done < until;
        });
        ASSERT_TRUE(anew);
        EXPECT_FALSE(*anew);
        EXPECT_LT(reached, 1);
    }
    const auto session = sessionOf({own(0)});
    session->setCuts({between(2, 3)});
    session->cancelExport();
    EXPECT_EQ(finish(*session), ExportStatus::cancelled);
    EXPECT_THAT(namesIn(folder_.path()), IsEmpty());
}

TEST_F(SplicedClips, WithoutCodecsACutAtAKeyFrameOfASilentClipIsAllThatIsLeft)
{
    WrittenClip silent;
    for (int i = 0; i < 120; ++i)
        silent.pictures.push_back({i, 30});
    writeClip(path("silent.mp4"), silent);
    const auto plain = engine::makeExportSessions();
    for (const bool isAtKeyFrame : {true, false}) {
        const auto session = *plain->makeExportSession(path("silent.mp4"), platform::ExportPreset::passthrough);
        session->setOutputURL(path("part.mp4"));
        session->setCuts({between(0.5, isAtKeyFrame ? 2 : 2.1)});
        if (isAtKeyFrame) {
            EXPECT_EQ(finish(*session), ExportStatus::completed);
            std::filesystem::remove(path("part.mp4"));
        } else {
            EXPECT_EQ(refusalOf(*session), "The pictures at a seam cannot be encoded here.");
        }
    }
}

TEST_F(SplicedClips, TheSourceIsNeverWritten)
{
    const auto before = contentOf(own(0));
    spliced(own(0), {between(1, 2)});
    EXPECT_EQ(contentOf(own(0)), before);
}

TEST_F(SplicedClips, WhatWasCutCanBeCutAgain)
{
    const auto once = spliced(own(0), {between(1.3, 4.2)});
    const auto& clip = whole(once);
    for (const auto& cut : {between(0.5, 1.35), between(2, 3.217), between(1.25, 1.31)})
        expectPieces(piecesOf(clip, {cut}), decodeFile(spliced(once, {cut})));
    const auto session = sessionOf({once});
    session->setTimeRange(between(1.1, 2.2));
    EXPECT_EQ(finish(*session), ExportStatus::completed);
    expectPartOf(clip, between(1.1, 2.2), decodeFile(session->outputURL()));
}

}  // namespace
}  // namespace velmora::linux_backend
