// A recording, and a part of a clip, that fill their volume.

#include "tests/support/media/WrittenClip.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/mount.h>

namespace velmora::test {
namespace {

/// A small file system in memory, where this process may mount one.
class SmallVolume {
public:
    explicit SmallVolume(const char* size)
    {
        const auto options = std::string{"size="} + size;
        error_ = ::mount("tmpfs", directory_.path().c_str(), "tmpfs", 0, options.c_str()) == 0 ? 0 : errno;
    }
    ~SmallVolume()
    {
        if (error_ == 0)
            ::umount2(directory_.path().c_str(), MNT_DETACH);
    }
    SmallVolume(const SmallVolume&) = delete;
    SmallVolume& operator=(const SmallVolume&) = delete;

    [[nodiscard]] int error() const { return error_; }
    [[nodiscard]] const std::filesystem::path& path() const { return directory_.path(); }

private:
    TemporaryDirectory directory_;
    int error_ = 0;
};

TEST(FullVolume, EndsTheRecordingKeepsWhatWasRecordedAndSaysThatNoSpaceIsLeft)
{
    const SmallVolume volume{"3m"};
    if (volume.error() != 0)
        GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(volume.error());
    const NumberedWindow window{{"--size", "1280x720", "--motion", "60"}};
    const auto file = volume.path() / "clip.mp4";
    RecordingProcess recording{window.id(), file};
    ASSERT_TRUE(recording.hasFragment());
    // Nobody asks it to stop: there is no use in going on.
    const auto outcome = recording.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, file.string() + "\n");
    EXPECT_THAT(outcome.messages, ::testing::StartsWith("The recording ended early: "));
    EXPECT_THAT(outcome.messages, ::testing::HasSubstr("No space left on device"));

    const auto clip = readClip(file);
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_THAT(clip.complaints, ::testing::IsEmpty());
    ASSERT_GT(clip.video->pictures.size(), 5U);
    const auto shown = window.shown();
    for (const auto& picture : clip.video->pictures) {
        ASSERT_TRUE(picture.reading.number()) << picture.time;
        EXPECT_TRUE(shown.contains(*picture.reading.number()));
    }
    EXPECT_THAT(topLevelBoxes(file), ::testing::Not(::testing::Contains("moof")));
}

TEST(FullVolume, TakesNoPartOfAClipAndIsEmptyAfterwards)
{
    const SmallVolume volume{"256k"};
    if (volume.error() != 0)
        GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(volume.error());
    const TemporaryDirectory directory;
    const auto clip = directory.path() / "clip.mp4";
    writeClip(clip, unevenClip(1));
    ASSERT_GT(std::filesystem::file_size(clip), 600'000U);
    const auto outcome =
        runVelmora({"trim", clip.string(), "--start", "0.5", "--end", "9", "--output", (volume.path() / "part.mp4").string()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, ::testing::StartsWith("Cannot trim "));
    EXPECT_THAT(outcome.messages, ::testing::HasSubstr(volume.path().string() + ": No space left on device"));
    EXPECT_TRUE(std::filesystem::is_empty(volume.path()));
}

}  // namespace
}  // namespace velmora::test
