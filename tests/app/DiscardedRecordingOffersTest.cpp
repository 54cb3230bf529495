#include "app/DiscardedRecordingOffers.h"

#include "platform/fake/FakeDiscardedRecordings.h"
#include "tests/support/CoordinatorFixture.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::DiscardedRecording;
using platform::NotificationResponse;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

DiscardedRecording recording(const std::string& name)
{
    DiscardedRecording made;
    made.file = "/trash/files/" + name;
    made.record = "/trash/info/" + name;
    made.origin = "/clips/" + name;
    made.duration = 65;
    return made;
}

class DiscardedRecordingOffersTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    void create()
    {
        offers = DiscardedRecordingOffers::create({
            .notificationCenter = centre,
            .recordings = recordings,
            .fileManager = fileManager,
            .library = *library,
            .mainExecutor = executor,
            .wasRestored = [this](const auto& clip) { restored.push_back(clip); },
        });
        settle();
    }

    /// Until nothing is left to do.
    void settle()
    {
        for (int i = 0; i < 4; ++i) {
            executor->runAll();
            centre->answerRequests(shown);
            offers->drain();
        }
        executor->runAll();
    }

    void respond(std::size_t request, const std::string& action)
    {
        EXPECT_TRUE(centre->respond(action, centre->requests.at(request).content));
        settle();
    }

    [[nodiscard]] std::vector<std::filesystem::path> listedClips() const
    {
        std::vector<std::filesystem::path> clips;
        for (const auto& clip : library->recentClips())
            clips.push_back(clip.url);
        return clips;
    }

    const std::shared_ptr<fake::FakeUserNotificationCenter> centre = std::make_shared<fake::FakeUserNotificationCenter>();
    const std::shared_ptr<fake::FakeDiscardedRecordings> recordings = std::make_shared<fake::FakeDiscardedRecordings>();
    Result<void> shown;  // what becomes of notifications
    std::vector<std::filesystem::path> restored;
    std::shared_ptr<DiscardedRecordingOffers> offers;
};

TEST_F(DiscardedRecordingOffersTest, SayQuietlyThatARecordingIsInTheTrashAndOfferToRestoreIt)
{
    create();
    EXPECT_THAT(centre->categories,
        ElementsAre(platform::NotificationCategory{"RECORDING_DISCARDED_CATEGORY", {{"RESTORE_ACTION", "Restore", false}}}));
    recordings->discard(recording("a.mp4"));
    settle();
    ASSERT_EQ(centre->requests.size(), 1U);
    const auto& offer = centre->requests[0].content;
    EXPECT_EQ(offer.title, "Recording Not Saved");
    EXPECT_EQ(offer.body, "The recording of 1:05 is in the trash. It can be put back among your clips.");
    EXPECT_EQ(offer.categoryIdentifier, "RECORDING_DISCARDED_CATEGORY");
    EXPECT_FALSE(offer.playsDefaultSound);
    EXPECT_TRUE(recordings->recordings.at(0).wasOffered);
}

TEST_F(DiscardedRecordingOffersTest, PutARecordingIntoTheClipsFolderAndTheList)
{
    create();
    recordings->discard(recording("a.mp4"));
    settle();
    respond(0, "RESTORE_ACTION");
    const auto clip = library->effectiveOutputDirectory() / "a.mp4";
    EXPECT_TRUE(std::filesystem::exists(clip));
    EXPECT_THAT(restored, ElementsAre(clip));
    EXPECT_THAT(listedClips(), ElementsAre(clip));
    EXPECT_EQ(centre->requests.size(), 1U);
}

TEST_F(DiscardedRecordingOffersTest, UseTheFolderThatIsChosenWhenTheUserAsks)
{
    create();
    recordings->discard(recording("a.mp4"));
    settle();
    library->setOutputDirectory(folder.path() / "another");
    std::filesystem::remove(folder.path() / "another");
    respond(0, "RESTORE_ACTION");
    EXPECT_THAT(restored, ElementsAre(folder.path() / "another/a.mp4")) << "a folder that is gone is made again";
}

TEST_F(DiscardedRecordingOffersTest, DoNothingForAnyOtherResponse)
{
    create();
    recordings->discard(recording("a.mp4"));
    settle();
    for (const auto action : {NotificationResponse::defaultActionIdentifier, NotificationResponse::dismissActionIdentifier})
        respond(0, std::string{action});
    EXPECT_TRUE(centre->respond("RESTORE_ACTION", {}));
    settle();
    EXPECT_THAT(restored, IsEmpty());
    EXPECT_EQ(recordings->recordings.size(), 1U);
}

TEST_F(DiscardedRecordingOffersTest, OfferWhatAnEarlierRunLeftOnceAndNeverAgain)
{
    recordings->recordings = {recording("new.mp4"), recording("old.mp4")};
    recordings->recordings[1].wasOffered = true;
    create();
    ASSERT_EQ(centre->requests.size(), 1U);
    respond(0, "RESTORE_ACTION");
    EXPECT_EQ(restored.at(0).filename(), "new.mp4");
    recordings->recordings = {recording("again.mp4")};
    create();
    EXPECT_EQ(centre->requests.size(), 2U);
    create();
    EXPECT_EQ(centre->requests.size(), 2U) << "it was offered by the run before";
}

TEST_F(DiscardedRecordingOffersTest, OfARecordingThatIsDiscardedAsTheProgramEndsAreLeftToTheNextStart)
{
    create();
    recordings->discard(recording("a.mp4"));
    offers->drain();  // the main loop has ended
    EXPECT_FALSE(recordings->recordings.at(0).wasOffered);
    EXPECT_THAT(centre->requests, IsEmpty());
    offers.reset();
    executor->runAll();
    EXPECT_THAT(centre->requests, IsEmpty());
    create();
    EXPECT_EQ(centre->requests.size(), 1U);
}

TEST_F(DiscardedRecordingOffersTest, ThatNobodyShowedAreMadeAgainByTheNextStart)
{
    shown = fail("service", 2, "There is no notification service.");
    create();
    recordings->discard(recording("a.mp4"));
    settle();
    EXPECT_EQ(centre->requests.size(), 1U);
    EXPECT_FALSE(recordings->recordings.at(0).wasOffered);
    shown = {};
    create();
    EXPECT_EQ(centre->requests.size(), 2U);
    EXPECT_TRUE(recordings->recordings.at(0).wasOffered);
}

TEST_F(DiscardedRecordingOffersTest, AreLeftToTheNextStartOnceTheProgramIsEndingThoughItsMainLoopStillRuns)
{
    create();
    offers->stop();
    recordings->discard(recording("a.mp4"));
    settle();
    EXPECT_THAT(centre->requests, IsEmpty());
    EXPECT_FALSE(recordings->recordings.at(0).wasOffered);
    create();
    EXPECT_EQ(centre->requests.size(), 1U);
}

TEST_F(DiscardedRecordingOffersTest, SayWhyARecordingStaysInTheTrash)
{
    create();
    recordings->discard(recording("a.mp4"));
    settle();
    const struct {
        Error error;
        const char* said;
    } cases[]{
        {posixError(EBUSY, "a.mp4"), "a.mp4 is still being finished. Try again in a moment."},
        {posixError(ENOENT, "a.mp4"), "a.mp4 is no longer in the trash."},
        {posixError(EROFS, "a.mp4"), "a.mp4 stays in the trash: "},
    };
    for (const auto& [error, said] : cases) {
        recordings->restoreError = error;
        respond(0, "RESTORE_ACTION");
        const auto& offer = centre->requests.back().content;
        EXPECT_EQ(offer.title, "Recording Not Restored");
        EXPECT_THAT(offer.body, HasSubstr(said));
        EXPECT_EQ(offer.categoryIdentifier, "");
    }
    EXPECT_THAT(restored, IsEmpty());
    recordings->restoreError.reset();
    respond(0, "RESTORE_ACTION");
    EXPECT_EQ(restored.size(), 1U) << "asked again, it comes back";
}

TEST_F(DiscardedRecordingOffersTest, SayWhereTheFolderCannotBeMade)
{
    create();
    recordings->discard(recording("a.mp4"));
    settle();
    library->setOutputDirectory(folder.path() / "gone");
    std::filesystem::remove(folder.path() / "gone");
    fileManager->createError = posixError(EROFS, "gone");
    respond(0, "RESTORE_ACTION");
    EXPECT_EQ(centre->requests.back().content.title, "Recording Not Restored");
    EXPECT_EQ(recordings->recordings.size(), 1U);
}

}  // namespace
}  // namespace velmora
