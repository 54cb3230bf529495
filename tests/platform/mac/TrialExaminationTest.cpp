#include "app/mac/TrialExamination.h"

#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeUserNotificationCenter.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Severity = TrialFinding::Severity;

class TrialExaminationTest : public testing::Test {
protected:
    TrialExaminationTest()
    {
        services_.screenCaptureAccess = access_;
        services_.compressionSessions = sessions_;
        services_.fileManager = files_;
        services_.userNotificationCenter = notifications_;
        files_->movies = {folder_.path()};
        notifications_->status = platform::AuthorizationStatus::authorized;
    }

    TrialFinding finding(const std::string& topic)
    {
        std::vector<TrialFinding> found;
        examineForTrial(services_, [&found](std::vector<TrialFinding> findings) { found = std::move(findings); });
        notifications_->answerSettings();
        EXPECT_THAT(found, SizeIs(4));
        for (const auto& each : found) {
            if (each.topic == topic)
                return each;
        }
        ADD_FAILURE() << "nothing is said of " << topic;
        return {};
    }

    const TemporaryDirectory folder_;
    const std::shared_ptr<fake::FakeScreenCaptureAccess> access_ = std::make_shared<fake::FakeScreenCaptureAccess>();
    const std::shared_ptr<fake::FakeCompressionSessions> sessions_ = std::make_shared<fake::FakeCompressionSessions>();
    const std::shared_ptr<fake::FakeFileManager> files_ = std::make_shared<fake::FakeFileManager>();
    const std::shared_ptr<fake::FakeUserNotificationCenter> notifications_ = std::make_shared<fake::FakeUserNotificationCenter>();
    platform::PlatformServices services_;
};

TEST_F(TrialExaminationTest, PermissionIsLookedAtAndNotAskedFor)
{
    EXPECT_EQ(finding("permission").severity, Severity::good);
    access_->isGranted = false;
    access_->reason = "It has to be started again.";
    const auto refused = finding("permission");
    EXPECT_EQ(refused.severity, Severity::fault);
    EXPECT_THAT(refused.text, EndsWith(": It has to be started again."));
    EXPECT_EQ(access_->requestCount, 0);
}

TEST_F(TrialExaminationTest, TheEncoderIsTriedOnMovingPictures)
{
    EXPECT_EQ(finding("encoder").severity, Severity::good);
    ASSERT_THAT(sessions_->records, SizeIs(1));
    const auto& record = *sessions_->records[0];
    ASSERT_THAT(record.frames, SizeIs(4));
    EXPECT_EQ(record.width, 1280);
    EXPECT_EQ(record.height, 720);
    EXPECT_NE(*record.frames[0].pixelBuffer->baseAddress, *record.frames[1].pixelBuffer->baseAddress);
    EXPECT_TRUE(record.completed);
    EXPECT_TRUE(record.invalidated);
}

TEST_F(TrialExaminationTest, AnEncoderThatIsSlowIsWaitedFor)
{
    sessions_->encodesAtOnce = false;
    EXPECT_EQ(finding("encoder").severity, Severity::good);
}

TEST_F(TrialExaminationTest, WithoutAnEncoderNothingCanBeRecorded)
{
    sessions_->createStatus = -12908;
    const auto missing = finding("encoder");
    EXPECT_EQ(missing.severity, Severity::fault);
    EXPECT_THAT(missing.text, HasSubstr("-12908"));
}

TEST_F(TrialExaminationTest, TheDiskIsThatOfTheMoviesAndItsRoomIsInMinutes)
{
    const auto disk = finding("disk");
    EXPECT_THAT(disk.text, StartsWith((folder_.path() / "Velmora").native() + ": room for "));
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "Velmora"));
    files_->writeError = Error{"POSIX", 13, "Permission denied", nullptr};
    const auto refused = finding("disk");
    EXPECT_EQ(refused.severity, Severity::fault);
    EXPECT_THAT(refused.text, EndsWith("Permission denied"));
}

TEST_F(TrialExaminationTest, NotificationsThatAreNotShownKeepNobodyFromRecording)
{
    EXPECT_EQ(finding("notifications").severity, Severity::good);
    notifications_->status = platform::AuthorizationStatus::denied;
    EXPECT_EQ(finding("notifications").severity, Severity::warning);
    notifications_->status = platform::AuthorizationStatus::notDetermined;
    EXPECT_EQ(finding("notifications").severity, Severity::note);
}

TEST(TrialFinding, IsALineInColumns)
{
    EXPECT_EQ((TrialFinding{"disk", Severity::warning, "Room for 3 minutes"}).line(), "warning  disk           Room for 3 minutes");
}

}  // namespace
}  // namespace velmora::test
