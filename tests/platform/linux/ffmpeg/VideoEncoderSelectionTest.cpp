#include "platform/linux/ffmpeg/VideoEncoderSelection.h"

#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "tests/platform/linux/ffmpeg/TrialEncoders.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

extern "C" {
#include <libavutil/opt.h>
}

namespace velmora::linux_backend {
namespace {

using linux_backend::testing::brokenEncoder;
using linux_backend::testing::settingsFor;
using linux_backend::testing::softwareEncoder;

TEST(VideoEncoderCandidates, AreHardwareFirstAndSoftwareLast)
{
    std::vector<std::string> names;
    for (const auto& candidate : videoEncoderCandidates())
        names.emplace_back(candidate.name);
    EXPECT_EQ(names, (std::vector<std::string>{"h264_nvenc", "h264_vaapi", "h264_vaapi", "h264_qsv", "h264_v4l2m2m", "libx264"}));
    EXPECT_TRUE(softwareEncoder().isSoftware);
}

TEST(VideoEncoderCandidates, EveryOptionIsOneThatItsEncoderTakes)
{
    for (const auto& candidate : videoEncoderCandidates()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(candidate.name);
        ASSERT_TRUE(codec) << candidate.name << " is missing in this libavcodec";
        const AvCodecContext context{avcodec_alloc_context3(codec)};
        for (const auto& option : candidate.options)
            EXPECT_EQ(av_opt_set(context->priv_data, option.name, option.value, 0), 0) << candidate.name << ' ' << option.name;
    }
}

TEST(VideoEncoderCandidates, EveryEncoderTakesTheMemoryAndTheLayoutThatItIsGiven)
{
    for (const auto& candidate : videoEncoderCandidates()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(candidate.name);
        ASSERT_TRUE(codec);
        const auto formats = pixelFormats(*codec);
        if (formats.empty())
            continue;  // decided by the driver
        const AVPixelFormat wanted = candidate.device == AV_HWDEVICE_TYPE_VAAPI ? AV_PIX_FMT_VAAPI
            : candidate.layout == engine::Yuv420View::Layout::i420              ? AV_PIX_FMT_YUV420P
                                                                                : AV_PIX_FMT_NV12;
        EXPECT_NE(std::find(formats.begin(), formats.end(), wanted), formats.end()) << candidate.name;
    }
}

TEST(VideoEncoderSelection, TakesTheFirstThatStandsItsTrial)
{
    std::vector<VideoEncoderCandidate> candidates{softwareEncoder(), softwareEncoder(), softwareEncoder()};
    candidates[0].name = "h264_imaginary";
    candidates[1].layout = engine::Yuv420View::Layout::nv12;
    VideoEncoderSelection selection{candidates, ""};
    EXPECT_EQ(selection.check(settingsFor(64, 64)), 0);
    const auto encoder = selection.open(settingsFor(64, 64));
    ASSERT_TRUE(encoder);
    EXPECT_EQ((*encoder)->layout(), engine::Yuv420View::Layout::nv12);
}

TEST(VideoEncoderSelection, ReportsWhatBecameOfEveryCandidateThoseBehindTheFirstThatWorksToo)
{
    using Outcome = EncoderTrialReport::Outcome;
    const auto withoutHighProfile = brokenEncoder({{"profile", "baseline"}, {"x264-params", "cabac=0:8x8dct=0:annexb=0"}});
    std::vector<VideoEncoderCandidate> candidates{softwareEncoder(), withoutHighProfile, softwareEncoder(), softwareEncoder()};
    candidates[0].name = "h264_imaginary";
    candidates[2].label = "libx264 (again)";
    VideoEncoderSelection selection{candidates, ""};
    const auto reports = selection.tryAll(settingsFor(64, 64));
    ASSERT_EQ(reports.size(), 4U);
    EXPECT_EQ(reports[0].name, "h264_imaginary");
    EXPECT_EQ(reports[0].outcome, Outcome::missing);
    EXPECT_EQ(reports[1].outcome, Outcome::fails);
    EXPECT_NE(reports[1].reason, "");
    EXPECT_EQ(reports[2].name, "libx264 (again)");
    EXPECT_EQ(reports[2].outcome, Outcome::works);
    EXPECT_EQ(reports[3].outcome, Outcome::works);
    EXPECT_TRUE(reports[3].isSoftware);

    VideoEncoderSelection one{candidates, "h264_imaginary"};
    EXPECT_EQ(one.tryAll(settingsFor(64, 64))[3].outcome, Outcome::ruledOut);
}

TEST(VideoEncoderSelection, ConsidersOnlyTheOneThatIsNamed)
{
    VideoEncoderSelection software{videoEncoderCandidates(), "libx264"};
    EXPECT_EQ(software.check(settingsFor(64, 64)), 0);
    VideoEncoderSelection imaginary{videoEncoderCandidates(), "h264_imaginary"};
    EXPECT_EQ(imaginary.check(settingsFor(64, 64)), AVERROR_ENCODER_NOT_FOUND);
    EXPECT_EQ(imaginary.open(settingsFor(64, 64)).error(), AVERROR_ENCODER_NOT_FOUND);
}

TEST(VideoEncoderSelection, WithoutAnyThatWorksTellsWhyTheLastOneDoesNot)
{
    const std::vector<VideoEncoderCandidate> candidates{
        brokenEncoder({{"profile", "baseline"}, {"x264-params", "cabac=0:8x8dct=0:annexb=0"}})};
    VideoEncoderSelection selection{candidates, ""};
    EXPECT_EQ(selection.check(settingsFor(64, 64)), AVERROR(ENOTSUP));
}

/// Encoders of hardware that this machine does not have: each does what the test says when it is opened.
class VideoEncoderMarksTest : public ::testing::Test {
protected:
    using Open = std::function<tl::expected<std::unique_ptr<VideoEncoder>, AvError>(const VideoEncoderSettings&)>;

    static VideoEncoderCandidate hardware(const char* name)
    {
        VideoEncoderCandidate candidate = softwareEncoder();
        candidate.name = name;
        candidate.isSoftware = false;
        return candidate;
    }

    VideoEncoderSelection selection(const char* onlyName = "")
    {
        return {candidates_, onlyName, folder_.path(),
            [this](const VideoEncoderCandidate& candidate,
                const VideoEncoderSettings& settings) -> tl::expected<std::unique_ptr<VideoEncoder>, AvError> {
                opened_.emplace_back(candidate.name);
                if (const auto own = open_.find(candidate.name); own != open_.end())
                    return own->second(settings);
                return openVideoEncoder(softwareEncoder(), settings);
            }};
    }

    /// Like a driver that takes the program with it.
    static tl::expected<std::unique_ptr<VideoEncoder>, AvError> crash(const VideoEncoderSettings&)
    {
        ::kill(::getpid(), SIGKILL);
        return tl::unexpected(AVERROR_BUG);
    }

    void crashWith(const char* name)
    {
        open_[name] = crash;
        EXPECT_EXIT(static_cast<void>(selection().check(settingsFor(64, 64))), ::testing::KilledBySignal(SIGKILL), "");
        opened_.clear();
    }

    [[nodiscard]] std::filesystem::path mark(const char* name) const { return folder_.path() / (std::string{"velmora-trial-"} + name); }

    test::TemporaryDirectory folder_;
    std::vector<VideoEncoderCandidate> candidates_{hardware("first"), hardware("second"), softwareEncoder()};
    std::map<std::string, Open> open_;
    std::vector<std::string> opened_;
};

TEST_F(VideoEncoderMarksTest, ATrialThatEndsLeavesNoMark)
{
    open_["first"] = [](const auto&) { return tl::unexpected(AVERROR(ENODEV)); };
    open_["second"] = [this](const VideoEncoderSettings& settings) {
        EXPECT_TRUE(std::filesystem::exists(mark("second")));
        struct stat status { };
        EXPECT_EQ(::stat(mark("second").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600U);
        return openVideoEncoder(softwareEncoder(), settings);
    };
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first", "second"}));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(VideoEncoderMarksTest, AnEncoderThatCrashedTheProgramIsPassedOverFromThenOn)
{
    crashWith("first");
    EXPECT_TRUE(std::filesystem::exists(mark("first")));
    for (int start = 0; start < 2; ++start) {
        EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
        EXPECT_EQ(opened_, (std::vector<std::string>{"second"}));
        opened_.clear();
    }
    crashWith("second");
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"libx264"}));
}

TEST_F(VideoEncoderMarksTest, WhenAllThatAreLeftCrashedTheReasonIsTold)
{
    candidates_.pop_back();
    candidates_.pop_back();
    crashWith("first");
    EXPECT_EQ(selection().check(settingsFor(64, 64)), AVERROR(EOWNERDEAD));
    EXPECT_TRUE(opened_.empty());
}

TEST_F(VideoEncoderMarksTest, TheNextLoginSessionTriesItAgain)
{
    crashWith("first");
    open_.clear();
    std::filesystem::remove(mark("first"));
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
}

TEST_F(VideoEncoderMarksTest, TheOneThatADeveloperNamesIsTriedWhateverBecameOfIt)
{
    crashWith("first");
    open_.clear();
    EXPECT_EQ(selection("first").check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
}

TEST_F(VideoEncoderMarksTest, TheSoftwareEncoderIsTriedAgainAfterAProgramEndedInItsTrial)
{
    candidates_ = {softwareEncoder()};
    crashWith("libx264");
    open_.clear();
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
}

TEST_F(VideoEncoderMarksTest, WhatAnotherProgramTriesIsWaitedForAndNotTakenForACrash)
{
    const int other = ::open(mark("first").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    ASSERT_EQ(::write(other, "1", 1), 1);
    auto selected = std::async(std::launch::async, [this] { return selection().check(settingsFor(64, 64)); });
    // It is the other's mark until the other removes it, which is the order in which a trial ends.
    ASSERT_EQ(::unlink(mark("first").c_str()), 0);
    ASSERT_EQ(::close(other), 0);
    EXPECT_EQ(selected.get(), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(VideoEncoderMarksTest, AMarkWithoutContentIsFromBeforeATrial)
{
    std::ofstream{mark("first")};
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(VideoEncoderMarksTest, WhatIsNoMarkIsNeitherBelievedNorTouched)
{
    std::ofstream{folder_.path() / "other"} << "mine";
    std::filesystem::create_symlink(folder_.path() / "other", mark("first"));
    std::filesystem::create_directory(mark("second"));
    open_["first"] = [](const auto&) { return tl::unexpected(AVERROR(ENODEV)); };
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first", "second"}));
    EXPECT_TRUE(std::filesystem::is_symlink(mark("first")));
    EXPECT_TRUE(std::filesystem::is_directory(mark("second")));
    EXPECT_EQ(std::filesystem::file_size(folder_.path() / "other"), 4U);
}

TEST_F(VideoEncoderMarksTest, AFolderThatOthersMayWriteInIsNotUsed)
{
    std::ofstream{mark("first")} << "1";
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0777), 0);
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
    EXPECT_TRUE(std::filesystem::exists(mark("first")));
}

TEST_F(VideoEncoderMarksTest, WithoutAFolderTheTrialsAreMadeAllTheSame)
{
    std::filesystem::remove_all(folder_.path());
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
    EXPECT_FALSE(std::filesystem::exists(folder_.path()));
}

TEST_F(VideoEncoderMarksTest, AFolderThatTakesNoFileKeepsNobodyFromItsEncoder)
{
    if (::geteuid() == 0) {
        // Nothing is read-only for the administrator; a name that is a folder stands for it.
        std::filesystem::create_directory(mark("first"));
    } else {
        ASSERT_EQ(::chmod(folder_.path().c_str(), 0500), 0);
    }
    EXPECT_EQ(selection().check(settingsFor(64, 64)), 0);
    EXPECT_EQ(opened_, (std::vector<std::string>{"first"}));
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0700), 0);
}

}  // namespace
}  // namespace velmora::linux_backend
