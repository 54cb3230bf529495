// Trims as seen by a player, which knows nothing of how they were made.

#include "media/mp4/PendingFile.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Trimmer.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/WrittenClip.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

class TrimmedClips : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

    std::filesystem::path trimmed(const std::filesystem::path& source, const TimeRange& range)
    {
        const auto target = path("trim-" + std::to_string(++count_) + ".mp4");
        const auto in = PosixFile::openForReading(source);
        const auto out = PosixFile::create(target);
        EXPECT_TRUE(in && out);
        const auto outcome = trim(**in, range, **out);
        EXPECT_TRUE(outcome) << (outcome ? "" : outcome.error().localizedDescription);
        return target;
    }

    const TemporaryDirectory folder_;
    int count_ = 0;
};

/// A range inside `seconds`, on the scale that the sliders of the preview have.
TimeRange randomRange(std::mt19937& random, double seconds)
{
    std::uniform_int_distribution<std::int64_t> anywhere{0, static_cast<std::int64_t>(seconds * 600) - 1};
    const auto a = anywhere(random);
    const auto b = anywhere(random);
    return {{std::min(a, b), 600}, {std::max(a, b) + 1, 600}};
}

TEST_F(TrimmedClips, TwentyPartsShowAndSoundExactlyWhatWasChosen)
{
    std::mt19937 random{20261121};
    for (unsigned clip = 0; clip < 4; ++clip) {
        const auto source = path("clip-" + std::to_string(clip) + ".mp4");
        writeClip(source, unevenClip(clip));
        const auto whole = decodeFile(source);
        ASSERT_GT(whole.pictures.size(), 280U);
        for (int i = 0; i < 5; ++i) {
            const auto range = randomRange(random, whole.duration);
            expectPartOf(whole, range, decodeFile(trimmed(source, range)));
        }
    }
}

TEST_F(TrimmedClips, PartsOfPartsShowAndSoundExactlyWhatWasChosen)
{
    std::mt19937 random{7};
    const auto source = path("clip.mp4");
    writeClip(source, unevenClip(9));
    const auto whole = decodeFile(source);
    for (int i = 0; i < 6; ++i) {
        const TimeRange first{{i * 300 + 17, 600}, {i * 300 + 3001, 600}};
        const auto once = trimmed(source, first);
        const auto part = decodeFile(once);
        const auto second = randomRange(random, part.duration);
        const auto twice = decodeFile(trimmed(once, second));
        expectPartOf(part, second, twice);
        expectPartOf(whole, {first.start + second.start, std::min(first.start + second.end, first.end)}, twice);
    }
}

}  // namespace
}  // namespace velmora::mp4
