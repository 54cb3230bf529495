#include "system/PermissionManager.h"

#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeUserNotificationCenter.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"

#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using platform::AuthorizationStatus;
using ::testing::ElementsAre;

class PermissionManagerTest : public testing::Test {
protected:
    PermissionManager& manager()
    {
        if (!manager_)
            manager_ = std::make_unique<PermissionManager>(PermissionManager::Services{access, centre, workspace, executor});
        return *manager_;
    }

    void settle()
    {
        centre->answerSettings();
        executor->runAll();
    }

    test::CapturedLog log;
    std::shared_ptr<fake::FakeScreenCaptureAccess> access = std::make_shared<fake::FakeScreenCaptureAccess>();
    std::shared_ptr<fake::FakeUserNotificationCenter> centre = std::make_shared<fake::FakeUserNotificationCenter>();
    std::shared_ptr<fake::FakeWorkspace> workspace = std::make_shared<fake::FakeWorkspace>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::unique_ptr<PermissionManager> manager_;
};

TEST_F(PermissionManagerTest, ScreenRecordingIsKnownAtOnceAndNotificationsFollow)
{
    EXPECT_TRUE(manager().hasScreenRecordingPermission());
    EXPECT_FALSE(manager().hasNotificationPermission());
    centre->answerSettings();
    EXPECT_FALSE(manager().hasNotificationPermission()) << "not before the main thread is free";
    executor->runAll();
    EXPECT_TRUE(manager().hasNotificationPermission());
    access->isGranted = false;
    centre->status = AuthorizationStatus::denied;
    manager().checkPermissions();
    EXPECT_FALSE(manager().hasScreenRecordingPermission());
    EXPECT_TRUE(manager().hasNotificationPermission()) << "still what was known before";
    settle();
    EXPECT_FALSE(manager().hasNotificationPermission());
}

TEST_F(PermissionManagerTest, OnlyFullAuthorisationCounts)
{
    for (const auto status : {AuthorizationStatus::notDetermined, AuthorizationStatus::denied, AuthorizationStatus::provisional,
             AuthorizationStatus::ephemeral}) {
        centre->status = status;
        manager().checkPermissions();
        settle();
        EXPECT_FALSE(manager().hasNotificationPermission()) << static_cast<int>(status);
    }
}

TEST_F(PermissionManagerTest, ARequestStoresTheSystemsAnswer)
{
    EXPECT_TRUE(manager().requestScreenRecordingPermission());
    access->answer = false;
    EXPECT_FALSE(manager().requestScreenRecordingPermission());
    EXPECT_FALSE(manager().hasScreenRecordingPermission());
    EXPECT_EQ(access->requestCount, 2);
}

TEST_F(PermissionManagerTest, AnAnswerThatComesLateIsFollowed)
{
    EXPECT_TRUE(manager().hasScreenRecordingPermission());
    access->isGranted = false;
    access->changed();
    EXPECT_FALSE(manager().hasScreenRecordingPermission());
    access->isGranted = true;
    access->changed();
    EXPECT_TRUE(manager().hasScreenRecordingPermission());
}

TEST_F(PermissionManagerTest, OpensTheSettingsOfScreenRecording)
{
    manager().openScreenRecordingSystemPreferences();
    EXPECT_THAT(workspace->openedURLs, ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture"));
}

TEST_F(PermissionManagerTest, NotificationsAreRequestedWithAlertAndSound)
{
    std::optional<bool> answer;
    manager().requestNotificationPermission([&](bool isGranted) { answer = isGranted; });
    executor->runAll();
    EXPECT_EQ(centre->requestedOptions, 6U);
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(manager().hasNotificationPermission());
}

TEST_F(PermissionManagerTest, ARequestThatFailsIsLoggedAndCountsAsRefused)
{
    settle();
    centre->authorization = fail("Test", 1, "no bus");
    std::optional<bool> answer;
    manager().requestNotificationPermission([&](bool isGranted) { answer = isGranted; });
    executor->runAll();
    EXPECT_EQ(answer, false);
    EXPECT_FALSE(manager().hasNotificationPermission());
    EXPECT_EQ(log->messages().back(), "Notification permission error: <private>");
}

TEST_F(PermissionManagerTest, AnAnswerThatComesTooLateFindsNobody)
{
    manager();
    centre->answerSettings();
    std::optional<bool> answer;
    manager().requestNotificationPermission([&](bool isGranted) { answer = isGranted; });
    int changes = 0;
    QObject::connect(&manager(), &PermissionManager::hasNotificationPermissionChanged, [&] { ++changes; });
    manager_.reset();
    ASSERT_EQ(executor->pendingCount(), 2U) << "both answers are on their way";
    executor->runAll();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(answer, true) << "whoever asked is answered all the same";
    EXPECT_FALSE(access->changed) << "nobody listens any more";
}

TEST_F(PermissionManagerTest, ObserversHearOfEachChangeOnceItHasTakenEffect)
{
    manager();
    using Seen = std::pair<bool, bool>;
    const auto now = [&] { return Seen{manager().hasScreenRecordingPermission(), manager().hasNotificationPermission()}; };
    std::vector<Seen> after;
    QObject::connect(&manager(), &PermissionManager::hasScreenRecordingPermissionChanged, [&] { after.push_back(now()); });
    QObject::connect(&manager(), &PermissionManager::hasNotificationPermissionChanged, [&] { after.push_back(now()); });
    access->answer = false;
    manager().requestScreenRecordingPermission();
    settle();
    EXPECT_THAT(after, ElementsAre(Seen{false, false}, Seen{false, true}));
}

}  // namespace
}  // namespace velmora
