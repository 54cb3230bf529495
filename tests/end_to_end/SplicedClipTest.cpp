// `velmora trim --cut` and `velmora join` at work, and what the programs that people play their files with show of them.

#include "media/mp4/MovieReader.h"
#include "tests/end_to_end/Players.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/ForeignClip.h"
#include "tests/support/media/WrittenClip.h"
#include "tests/support/recording/Velmora.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <memory>
#include <random>
#include <string>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int width = 320;
constexpr int height = 240;

class SplicedClipTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        for (unsigned seed = 0; seed < 2; ++seed)
            writeClip(own(seed), unevenClip(seed + 1));
        // With pictures out of order.
        writeForeignClip(foreign(), {.pictureCount = 300, .keyFrameInterval = 45, .bFrames = 3});
    }
    static void TearDownTestSuite() { shared_.reset(); }

    static std::filesystem::path own(unsigned seed) { return shared_->path() / ("own-" + std::to_string(seed) + ".mp4"); }
    static std::filesystem::path foreign() { return shared_->path() / "foreign.mp4"; }
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return directory_.path() / name; }

    struct Spliced {
        std::filesystem::path file;
        std::vector<DecodedPicture> pictures;  ///< those that it has to show
        double duration = 0;
    };

    static void append(Spliced& spliced, const DecodedFile& whole, const TimeRange& range)
    {
        for (const auto& picture : picturesIn(whole, range))
            spliced.pictures.push_back({spliced.duration + picture.time, picture.number});
        spliced.duration += (range.end - range.start).seconds();
    }

    static std::string timeText(MediaTime time)
    {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.6f", time.seconds());
        return digits;
    }

    /// Two cuts of each clip, and the two of our own joined.
    std::vector<Spliced> makeSpliced()
    {
        std::mt19937 random{2026};
        std::vector<Spliced> all;
        for (const auto& source : {own(0), foreign(), own(1), foreign()}) {
            const auto whole = decodeFile(source);
            Spliced spliced{path("cut-" + std::to_string(all.size()) + ".mp4"), {}, 0};
            std::vector<std::string> arguments{"trim", source.string(), "--output", spliced.file.string()};
            MediaTime next = MediaTime::zero();
            for (int cut = 0; cut < 2; ++cut) {
                const MediaTime start = next + MediaTime{std::uniform_int_distribution<std::int64_t>{100, 1500}(random), 600};
                const MediaTime end = start + MediaTime{std::uniform_int_distribution<std::int64_t>{60, 1500}(random), 600};
                arguments.insert(arguments.end(), {"--cut", timeText(start) + "-" + timeText(end)});
                append(spliced, whole, {next, start});
                next = end;
            }
            append(spliced, whole, {next, MediaTime::fromSeconds(whole.duration, 48000)});
            const auto outcome = runVelmora(arguments);
            EXPECT_EQ(outcome.status, 0) << outcome.messages;
            EXPECT_EQ(outcome.lastLine(), spliced.file.string());
            all.push_back(std::move(spliced));
        }
        Spliced joined{path("joined.mp4"), {}, 0};
        for (const unsigned seed : {0U, 1U, 0U}) {
            const auto summary = mp4::readMovieSummary(own(seed));
            EXPECT_TRUE(summary);
            append(joined, decodeFile(own(seed)), {MediaTime::zero(), summary->duration});
        }
        const auto outcome = runVelmora({"join", own(0).string(), own(1).string(), own(0).string(), "--output", joined.file.string()});
        EXPECT_EQ(outcome.status, 0) << outcome.messages;
        all.push_back(std::move(joined));
        return all;
    }

    static std::vector<int> numbersOf(const std::vector<DecodedPicture>& pictures)
    {
        std::vector<int> numbers;
        for (const auto& picture : pictures)
            numbers.push_back(picture.number);
        return numbers;
    }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    TemporaryDirectory directory_;
};

TEST_F(SplicedClipTest, FFmpegMpvAndGStreamerShowEveryPictureThatIsKeptAndNoOther)
{
    for (const auto& spliced : makeSpliced()) {
        SCOPED_TRACE(spliced.file);
        const auto decoded = decodeFile(spliced.file);
        EXPECT_THAT(decoded.complaints, IsEmpty());
        EXPECT_EQ(numbersOf(decoded.pictures), numbersOf(spliced.pictures));
        EXPECT_EQ(shownByMpv(spliced.file), numbersOf(spliced.pictures));
        EXPECT_EQ(shownByGStreamer(spliced.file, width, height), numbersOf(spliced.pictures));
    }
}

TEST_F(SplicedClipTest, ChromiumShowsThePicturesAtBothSidesOfEachSeam)
{
    for (const auto& spliced : makeSpliced()) {
        SCOPED_TRACE(spliced.file);
        std::vector<double> times;
        std::vector<int> expected;
        const auto add = [&](std::size_t index) {
            const double end = index + 1 < spliced.pictures.size() ? spliced.pictures[index + 1].time : spliced.duration;
            times.push_back((spliced.pictures[index].time + end) / 2);
            expected.push_back(spliced.pictures[index].number);
        };
        add(0);
        for (std::size_t i = 1; i < spliced.pictures.size(); ++i) {
            // Numbers go on by one but for the seams.
            if (spliced.pictures[i].number == spliced.pictures[i - 1].number + 1)
                continue;
            add(i - 1);
            add(i);
            add(std::min(i + 3, spliced.pictures.size() - 1));
        }
        add(spliced.pictures.size() - 1);
        const auto shown = shownByChromium(spliced.file, times);
        EXPECT_EQ(shown.numbers, expected);
        EXPECT_NEAR(shown.duration, spliced.duration, 0.03);
    }
}

TEST_F(SplicedClipTest, WithoutANameTheFilesGoBesideTheirClip)
{
    std::filesystem::copy_file(own(0), path("a.mp4"));
    std::filesystem::copy_file(own(1), path("b.mp4"));
    const auto cut = runVelmora({"trim", path("a.mp4").string(), "--start", "1", "--end", "4", "--cut", "2-3"});
    EXPECT_EQ(cut.status, 0) << cut.messages;
    EXPECT_THAT(cut.lastLine(), HasSubstr(path("Velmora-Trimmed-2").string()));
    EXPECT_NEAR(decodeFile(cut.lastLine()).duration, 2, 0.001);
    const auto joined = runVelmora({"join", path("a.mp4").string(), path("b.mp4").string()});
    EXPECT_EQ(joined.status, 0) << joined.messages;
    EXPECT_THAT(joined.lastLine(), HasSubstr(path("Velmora-Joined-2").string()));
    EXPECT_EQ(namesIn(directory_.path()).size(), 4U);
}

TEST_F(SplicedClipTest, WhatDoesNotGoTogetherLeavesNothingAndSaysWhy)
{
    const auto joined = runVelmora({"join", own(0).string(), foreign().string(), "--output", path("all.mp4").string()});
    EXPECT_EQ(joined.status, 1);
    EXPECT_EQ(joined.output, "");
    EXPECT_THAT(joined.messages, HasSubstr("Cannot join the clips: The clips do not go together: "));
    EXPECT_THAT(joined.messages, HasSubstr("foreign.mp4"));
    const auto cut = runVelmora({"trim", own(0).string(), "--cut", "0-100", "--output", path("nothing.mp4").string()});
    EXPECT_EQ(cut.status, 1);
    EXPECT_THAT(cut.messages, HasSubstr("Nothing is left of the clip."));
    EXPECT_THAT(namesIn(directory_.path()), IsEmpty());
}

}  // namespace
}  // namespace velmora::test
