// What is found out about a Mac, from services that do without, refuse, hang and answer late.
#include "platform/mac/MacDesktopInspection.h"

#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeHotKeyCenter.h"
#include "platform/fake/FakeUserNotificationCenter.h"
#include "tests/support/TemporaryDirectory.h"

#include <future>
#include <gmock/gmock.h>
#include <thread>
#include <utility>

namespace velmora::test {
namespace {

using platform::AuthorizationStatus;
using platform::DesktopFacts;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using Outcome = DesktopFacts::Encoder::Outcome;
using State = DesktopFacts::Shortcut::State;

constexpr std::chrono::seconds patience{60};

/// Answers at once, later on another thread, or never.
class Notifications final : public platform::UserNotificationCenter {
public:
    enum class Answer { atOnce, onAThread, never };

    void setDelegate(std::weak_ptr<platform::UserNotificationCenterDelegate>) override { }
    void setNotificationCategories(std::vector<platform::NotificationCategory>) override { }
    void requestAuthorization(unsigned, UniqueFunction<void(Result<bool>)>) override { ADD_FAILURE() << "the user was asked"; }
    using UserNotificationCenter::add;
    void add(const platform::NotificationRequest&, UniqueFunction<void(Result<void>)>) override { ADD_FAILURE() << "something was posted"; }
    void getAuthorizationStatus(UniqueFunction<void(AuthorizationStatus)> completion) override
    {
        if (answer == Answer::atOnce)
            completion(status);
        else if (answer == Answer::onAThread)
            thread_ = std::jthread{[status = status, completion = std::move(completion)]() mutable { completion(status); }};
    }

    Answer answer = Answer::onAThread;
    AuthorizationStatus status = AuthorizationStatus::authorized;

private:
    std::jthread thread_;
};

class MacDesktopInspectionTest : public testing::Test {
protected:
    /// Once a trial that nobody waits for any more has ended too.
    ~MacDesktopInspectionTest() override
    {
        sessions_.reset();
        EXPECT_EQ(gone_.get_future().wait_for(std::chrono::seconds{60}), std::future_status::ready);
    }

    DesktopFacts inspect(std::chrono::milliseconds time = patience)
    {
        platform::DesktopInspection::Questions questions;
        questions.keyCode = 8;
        questions.modifiers = 0x900;
        questions.clipsFolder = folder_.path() / "Movies" / "Velmora";
        return mac_backend::makeDesktopInspection({.system = "macOS 14",
                                                      .screenCaptureAccess = access_,
                                                      .compressionSessions = sessions_,
                                                      .hotKeyCenter = keys_,
                                                      .userNotificationCenter = notifications_,
                                                      .fileManager = files_})
            ->inspect(questions, time);
    }

    const TemporaryDirectory folder_;
    const std::shared_ptr<fake::FakeScreenCaptureAccess> access_ = std::make_shared<fake::FakeScreenCaptureAccess>();
    std::promise<void> gone_;
    std::shared_ptr<fake::FakeCompressionSessions> sessions_{
        new fake::FakeCompressionSessions, [this](fake::FakeCompressionSessions* sessions) {
            delete sessions;
            gone_.set_value();
        }};
    const std::shared_ptr<fake::FakeHotKeyCenter> keys_ = std::make_shared<fake::FakeHotKeyCenter>();
    const std::shared_ptr<Notifications> notifications_ = std::make_shared<Notifications>();
    const std::shared_ptr<fake::FakeFileManager> files_ = std::make_shared<fake::FakeFileManager>();
};

TEST_F(MacDesktopInspectionTest, AMacThatHasEverything)
{
    const auto facts = inspect();
    EXPECT_EQ(facts.system, "macOS 14");
    EXPECT_EQ(facts.display.kind, DesktopFacts::DisplayKind::mac);
    EXPECT_THAT(facts.display.failure, IsEmpty());
    ASSERT_THAT(facts.encoders.tried, SizeIs(1));
    EXPECT_EQ(facts.encoders.tried[0].outcome, Outcome::works);
    EXPECT_EQ(facts.shortcut.state, State::free);
    EXPECT_THAT(keys_->registrations, IsEmpty());
    EXPECT_EQ(facts.notifications.service, "The system");
    EXPECT_THAT(facts.disk.failure + facts.disk.refusal, IsEmpty());
    EXPECT_FALSE(facts.program.failure.empty()) << "it was not asked";
}

TEST_F(MacDesktopInspectionTest, PermissionIsLookedAtAndNotAskedFor)
{
    access_->isGranted = false;
    access_->reason = "It has to be started again.";
    EXPECT_THAT(inspect().display.failure, EndsWith(": It has to be started again."));
    EXPECT_EQ(access_->requestCount, 0);
}

TEST_F(MacDesktopInspectionTest, TheEncoderIsTriedOnMovingPictures)
{
    sessions_->encodesAtOnce = false;
    EXPECT_EQ(inspect().encoders.tried.at(0).outcome, Outcome::works);
    ASSERT_THAT(sessions_->records, SizeIs(1));
    const auto& record = *sessions_->records[0];
    ASSERT_THAT(record.frames, SizeIs(4));
    EXPECT_EQ(record.width, 1280);
    EXPECT_EQ(record.height, 720);
    EXPECT_NE(*record.frames[0].pixelBuffer->baseAddress, *record.frames[1].pixelBuffer->baseAddress);
    EXPECT_TRUE(record.completed);
    EXPECT_TRUE(record.invalidated);
}

TEST_F(MacDesktopInspectionTest, AnEncoderThatIsNotThereIsNamedWithItsStatus)
{
    sessions_->createStatus = -12908;
    const auto encoder = inspect().encoders.tried.at(0);
    EXPECT_EQ(encoder.outcome, Outcome::fails);
    EXPECT_THAT(encoder.reason, HasSubstr("-12908"));
}

TEST_F(MacDesktopInspectionTest, AShortcutOfAnotherProgramIsTakenAndOneThatFailsOtherwiseUnknown)
{
    keys_->registerStatus = -9878;
    EXPECT_EQ(inspect().shortcut.state, State::taken);
    keys_->registerStatus = -50;
    EXPECT_EQ(inspect().shortcut.state, State::unknown);
}

TEST_F(MacDesktopInspectionTest, WhatTheUserHasSaidOfNotificationsIsTold)
{
    notifications_->answer = Notifications::Answer::atOnce;
    notifications_->status = AuthorizationStatus::notDetermined;
    EXPECT_TRUE(inspect().notifications.canBeStarted);
    notifications_->status = AuthorizationStatus::denied;
    const auto denied = inspect().notifications;
    EXPECT_FALSE(denied.canBeStarted);
    EXPECT_THAT(denied.service + denied.failure, IsEmpty());
}

TEST_F(MacDesktopInspectionTest, TheDiskIsThatOfTheNearestFolderThatIsThere)
{
    const auto disk = inspect().disk;
    EXPECT_EQ(disk.folder, folder_.path() / "Movies" / "Velmora");
    EXPECT_FALSE(disk.exists);
    EXPECT_TRUE(disk.freeBytes);
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "Movies"));
    files_->writeError = Error{"POSIX", 13, "Permission denied", nullptr};
    EXPECT_EQ(inspect().disk.refusal, "Permission denied");
}

TEST_F(MacDesktopInspectionTest, ACentreThatNeverAnswersIsAFailureAndTheRestIsTold)
{
    notifications_->answer = Notifications::Answer::never;
    const auto facts = inspect(std::chrono::milliseconds{50});
    EXPECT_THAT(facts.notifications.failure, HasSubstr("no answer"));
    EXPECT_EQ(facts.shortcut.state, State::free);
}

/// Its sessions are never made until it is let go; says when nobody holds it any more.
class HangingSessions final : public platform::CompressionSessionFactory {
public:
    HangingSessions(std::shared_future<void> go, std::promise<void> gone) : go_(std::move(go)), gone_(std::move(gone)) { }
    ~HangingSessions() override { gone_.set_value(); }
    HangingSessions(const HangingSessions&) = delete;
    HangingSessions& operator=(const HangingSessions&) = delete;

    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t, std::int32_t, FourCharacterCode, platform::CompressionSession::OutputCallback) override
    {
        go_.wait();
        return tl::unexpected(-1);
    }

private:
    const std::shared_future<void> go_;
    std::promise<void> gone_;
};

TEST_F(MacDesktopInspectionTest, AnEncoderThatHangsIsAFailureAndIsLeftBehind)
{
    std::promise<void> go;
    std::promise<void> gone;
    auto ended = gone.get_future();
    DesktopFacts facts;
    {
        platform::DesktopInspection::Questions questions;
        questions.clipsFolder = folder_.path();
        facts = mac_backend::makeDesktopInspection(
            {.system = {},
                .screenCaptureAccess = access_,
                .compressionSessions = std::make_shared<HangingSessions>(go.get_future().share(), std::move(gone)),
                .hotKeyCenter = keys_,
                .userNotificationCenter = notifications_,
                .fileManager = files_})
                    ->inspect(questions, std::chrono::milliseconds{50});
    }
    EXPECT_THAT(facts.encoders.failure, HasSubstr("no answer"));
    EXPECT_THAT(facts.encoders.tried, IsEmpty());
    go.set_value();
    EXPECT_EQ(ended.wait_for(std::chrono::seconds{60}), std::future_status::ready);
}

}  // namespace
}  // namespace velmora::test
