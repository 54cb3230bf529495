#include "library/views/SmallFiles.h"

#include "library/views/SmallFileStatus.h"
#include "tests/library/views/SmallFilesFixture.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SmallFilesTest : public testing::Test, protected test::SmallFilesFixture {
protected:
    [[nodiscard]] std::unique_ptr<SmallFileStatus> statusOf(const std::filesystem::path& of)
    {
        return std::make_unique<SmallFileStatus>(files, [of] { return std::optional{of}; });
    }

    const std::filesystem::path clip = folder.path() / "a.mp4";
    const std::filesystem::path other = folder.path() / "b.mp4";
};

TEST_F(SmallFilesTest, TheCopyGoesBelowTheClipsAndToTheClipboardWhenItIsThere)
{
    files->start(clip, 10'000'000);
    ASSERT_EQ(transcoder->sessions.size(), 1U);
    EXPECT_EQ(session(0).steps.asset, clip);
    EXPECT_EQ(session(0).settings.limit, 10'000'000U);
    EXPECT_FALSE(session(0).settings.hasConstantRate);
    EXPECT_EQ(session(0).steps.output, shared("a-10MB.mp4"));
    EXPECT_THAT(copied, IsEmpty());
    complete(0);
    EXPECT_THAT(copied, ElementsAre(shared("a-10MB.mp4")));
    EXPECT_THAT(told, ElementsAre("Small File Copied: a-10MB.mp4 (9.6 MB) is on the clipboard."));
    EXPECT_FALSE(files->isBusyWith(clip));
}

TEST_F(SmallFilesTest, ANameThatIsTakenMeanwhileGivesWayToTheNext)
{
    files->start(clip, 10'000'000);
    EXPECT_TRUE(session(0).steps.takeOutputURL());
    complete(0);
    EXPECT_THAT(copied, ElementsAre(shared("a-10MB-1.mp4")));
}

TEST_F(SmallFilesTest, ShowsHowFarItIsAndWhatCameOfIt)
{
    const auto status = statusOf(clip);
    EXPECT_FALSE(status->isShown());
    files->start(clip, 10'000'000);
    EXPECT_EQ(status->text(), "Small file: 0 %");
    EXPECT_EQ(status->action(), "Cancel");
    session(0).steps.advance(0.437);
    clock->advance(std::chrono::milliseconds{250});
    EXPECT_EQ(status->text(), "Small file: 43 %");
    complete(0);
    EXPECT_EQ(status->text(), "On the clipboard: 9.6 MB");
    EXPECT_EQ(status->action(), "OK");
    status->act();
    EXPECT_FALSE(status->isShown());
    EXPECT_EQ(clock->pendingCount(), 0U) << "without work nothing wakes up";
}

TEST_F(SmallFilesTest, AClipThatFitsIsSaidToBeACopyAndIsNoNews)
{
    const auto status = statusOf(clip);
    files->start(clip, 10'000'000);
    session(0).result = {.isCopy = true, .size = 2'000'000};
    complete(0);
    EXPECT_EQ(status->text(), "It fits as it is, and is on the clipboard: 2 MB");
    EXPECT_THAT(copied, ElementsAre(shared("a-10MB.mp4")));
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SmallFilesTest, ACancelledOneLeavesTheClipboardAlone)
{
    const auto status = statusOf(clip);
    files->start(clip, 10'000'000);
    status->act();
    EXPECT_FALSE(status->isShown());
    EXPECT_EQ(session(0).steps.cancelCount, 1);
    executor->runAll();
    EXPECT_THAT(copied, IsEmpty());
    EXPECT_THAT(told, IsEmpty());
    EXPECT_FALSE(status->isShown());
}

TEST_F(SmallFilesTest, ACancelThatComesWithTheEndLeavesTheClipboardAlone)
{
    files->start(clip, 10'000'000);
    session(0).steps.complete();
    // What it tells is still on its way.
    files->dismiss(clip);
    executor->runAll();
    EXPECT_THAT(copied, IsEmpty());
    EXPECT_FALSE(files->status(clip));
}

TEST_F(SmallFilesTest, SaysWhyThereIsNone)
{
    const auto status = statusOf(clip);
    files->start(clip, 10'000'000);
    session(0).steps.fail(posixError(ENOSPC, "Shared"));
    executor->runAll();
    EXPECT_EQ(status->text(), "Shared: No space left on device");
    EXPECT_EQ(status->action(), "OK");
    EXPECT_THAT(told, ElementsAre("No Small File: Shared: No space left on device"));
    EXPECT_THAT(copied, IsEmpty());
}

TEST_F(SmallFilesTest, AFailureToBeginDoesNotHoldUpTheNext)
{
    transcoder->createError = posixError(ENOENT, clip.native());
    files->start(clip, 10'000'000);
    EXPECT_EQ(files->status(clip)->phase, SmallFiles::Phase::failed);
    transcoder->createError.reset();
    files->start(other, 10'000'000);
    EXPECT_EQ(files->status(other)->phase, SmallFiles::Phase::running);
}

TEST_F(SmallFilesTest, TheSecondWaitsForTheFirst)
{
    const auto status = statusOf(other);
    files->start(clip, 10'000'000);
    files->start(other, 25'000'000);
    EXPECT_EQ(transcoder->sessions.size(), 1U);
    EXPECT_EQ(status->text(), "Small file: waiting for another");
    EXPECT_TRUE(files->isBusyWith(other));
    EXPECT_EQ(files->newest(), other);
    complete(0);
    ASSERT_EQ(transcoder->sessions.size(), 2U);
    EXPECT_EQ(session(1).steps.output, shared("b-25MB.mp4"));
    complete(1);
    EXPECT_THAT(copied, ElementsAre(shared("a-10MB.mp4"), shared("b-25MB.mp4")));
}

TEST_F(SmallFilesTest, OneThatWaitsCanBeCancelledBeforeItBegins)
{
    files->start(clip, 10'000'000);
    files->start(other, 10'000'000);
    files->dismiss(other);
    complete(0);
    EXPECT_EQ(transcoder->sessions.size(), 1U);
}

TEST_F(SmallFilesTest, AskingAgainBeginsAnewWithTheOtherLimit)
{
    files->start(clip, 10'000'000);
    files->start(clip, 50'000'000);
    EXPECT_EQ(session(0).steps.cancelCount, 1);
    executor->runAll();
    ASSERT_EQ(transcoder->sessions.size(), 2U);
    EXPECT_EQ(session(1).settings.limit, 50'000'000U);
    complete(1);
    EXPECT_THAT(copied, ElementsAre(shared("a-50MB.mp4")));
}

TEST_F(SmallFilesTest, ALateEndFindsNobody)
{
    files->start(clip, 10'000'000);
    session(0).steps.complete();
    files.reset();
    executor->runAll();
    EXPECT_THAT(copied, IsEmpty());
}

TEST_F(SmallFilesTest, TheEndOfTheProgramCancelsWhatRuns)
{
    files->start(clip, 10'000'000);
    exports->cancelAll();
    EXPECT_EQ(session(0).status(), platform::ExportSession::Status::cancelled);
}

}  // namespace
}  // namespace velmora
