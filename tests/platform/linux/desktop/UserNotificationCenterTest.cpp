#include "platform/linux/desktop/LinuxUserNotificationCenter.h"

#include "tests/brand/OddTexts.h"
#include "tests/platform/linux/desktop/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <gmock/gmock.h>

namespace velmora::linux_backend {
namespace {

using platform::AuthorizationStatus;
using platform::NotificationContent;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The notification service, played by the test.
class ScriptedService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit ScriptedService(QDBusConnection connection) : connection_(std::move(connection))
    {
        connection_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this, QDBusConnection::ExportAllContents);
        connection_.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    ~ScriptedService() override
    {
        connection_.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        QDBusConnection::disconnectFromBus(connection_.name());
    }

    struct Shown {
        QString program;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int timeout = 0;
    };

    QStringList capabilities{QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("body-markup"), QStringLiteral("sound")};
    std::vector<Shown> shown;

public slots:
    QStringList GetCapabilities() { return capabilities; }

    uint Notify(const QString& program, uint, const QString&, const QString& summary, const QString& body, const QStringList& actions,
        const QVariantMap& hints, int timeout)
    {
        shown.push_back({program, summary, body, actions, hints, timeout});
        return static_cast<uint>(shown.size());
    }

signals:
    void ActionInvoked(uint id, const QString& action);
    void NotificationClosed(uint id, uint reason);

private:
    QDBusConnection connection_;
};

class LoggedResponses final : public platform::UserNotificationCenterDelegate {
public:
    void willPresent(const NotificationContent&, UniqueFunction<void(unsigned)> completion) override { completion(0); }
    void didReceive(const platform::NotificationResponse& response, UniqueFunction<void()> completion) override
    {
        responses.push_back(response.actionIdentifier + " " + response.content.title);
        completion();
    }

    std::vector<std::string> responses;
};

class UserNotificationCenterTest : public testing::Test {
protected:
    void SetUp() override
    {
        centre = makeUserNotificationCenter({.makeIcon =
                                                 [] {
                                                     return platform::ApplicationIcon{1, {255, 59, 48, 128}};
                                                 },
            .busAddress = bus.address()});
        centre->setDelegate(delegate);
        centre->setNotificationCategories({{"SAVED", {{"OPEN", "Open", true}, {"SHOW", "Show in Folder", false}}}});
    }

    void TearDown() override
    {
        centre.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("velmora-notifications"));
    }

    void startService(const char* name = "service") { service = std::make_unique<ScriptedService>(bus.connect(name)); }

    void show(const std::string& title, const std::string& body = "body")
    {
        const auto before = service->shown.size();
        centre->add({"id", {title, body, true, "SAVED", {}}});
        ASSERT_TRUE(test::PrivateBus::runUntil([&] { return service->shown.size() == before + 1; }));
        settle();
    }

    /// Until everything that was on the bus has arrived.
    void settle() { static_cast<void>(status()); }

    AuthorizationStatus status()
    {
        std::optional<AuthorizationStatus> answer;
        centre->getAuthorizationStatus([&](AuthorizationStatus found) { answer = found; });
        EXPECT_TRUE(test::PrivateBus::runUntil([&] { return answer.has_value(); }));
        return answer.value_or(AuthorizationStatus::notDetermined);
    }

    test::PrivateBus bus;
    std::shared_ptr<LoggedResponses> delegate = std::make_shared<LoggedResponses>();
    std::shared_ptr<platform::UserNotificationCenter> centre;
    std::unique_ptr<ScriptedService> service;
};

TEST_F(UserNotificationCenterTest, IsAuthorisedWhenAServiceCanShowActions)
{
    startService();
    EXPECT_EQ(status(), AuthorizationStatus::authorized);
    service->capabilities.removeAll(QStringLiteral("actions"));
    EXPECT_EQ(status(), AuthorizationStatus::denied);
}

TEST_F(UserNotificationCenterTest, IsDeniedWithoutAService)
{
    EXPECT_EQ(status(), AuthorizationStatus::denied);
    std::optional<Result<bool>> answer;
    centre->requestAuthorization(6, [&](Result<bool> result) { answer = std::move(result); });
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return answer.has_value(); }));
    ASSERT_TRUE(answer->has_value());
    EXPECT_FALSE(**answer);
    std::optional<Result<void>> shown;
    centre->add({"id", {"nobody sees this", "", false, "SAVED", {}}}, [&](Result<void> outcome) { shown = std::move(outcome); });
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return shown.has_value(); }));
    EXPECT_EQ(shown->error().localizedDescription, "There is no notification service.");
}

TEST_F(UserNotificationCenterTest, ShowsTitleBodyAndTheActionsOfTheCategory)
{
    startService();
    show("Saved & <done>", "a<b>.mp4 & more");
    const auto& shown = service->shown.at(0);
    EXPECT_EQ(shown.program, QStringLiteral("Velmora"));
    EXPECT_EQ(shown.summary, QStringLiteral("Saved & <done>"));
    EXPECT_EQ(shown.body, QStringLiteral("a&lt;b&gt;.mp4 &amp; more"));
    EXPECT_EQ(shown.actions,
        (QStringList{QStringLiteral("default"), QString{}, QStringLiteral("OPEN"), QStringLiteral("Open"), QStringLiteral("SHOW"),
            QStringLiteral("Show in Folder")}));
    EXPECT_EQ(shown.hints.value(QStringLiteral("urgency")).toInt(), 1);
    EXPECT_EQ(shown.hints.value(QStringLiteral("desktop-entry")), QStringLiteral("com.velmora.Velmora"));
    EXPECT_TRUE(shown.hints.contains(QStringLiteral("sound-name")));
}

TEST_F(UserNotificationCenterTest, AsksForTheTimeOnTheScreenThatItsContentWants)
{
    startService();
    show("as usual");
    EXPECT_EQ(service->shown.at(0).timeout, -1) << "the service decides";
    platform::NotificationContent content{"longer", "", false, "SAVED", {}};
    content.leastTimeOnScreen = std::chrono::milliseconds{12345};
    std::optional<Result<void>> shown;
    centre->add({"id", content}, [&](Result<void> outcome) { shown = std::move(outcome); });
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return shown.has_value(); }));
    EXPECT_TRUE(*shown) << "a completion hears that it was shown";
    EXPECT_EQ(service->shown.at(1).timeout, 12345);
}

TEST_F(UserNotificationCenterTest, AQuietOneBesideItHasLowUrgencyAndActionsAndResponsesOfItsOwn)
{
    startService();
    show("saved");
    const auto quietDelegate = std::make_shared<LoggedResponses>();
    auto quiet = makeUserNotificationCenter({.makeIcon = {}, .busAddress = bus.address(), .isQuiet = true});
    quiet->setDelegate(quietDelegate);
    quiet->setNotificationCategories({{"DISCARDED", {{"RESTORE", "Restore", false}}}});
    platform::NotificationContent content{"not saved", "", false, "DISCARDED", {}};
    quiet->add({"id", content});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return service->shown.size() == 2; }));
    const auto& shown = service->shown.at(1);
    EXPECT_EQ(shown.hints.value(QStringLiteral("urgency")).toInt(), 0);
    EXPECT_EQ(shown.hints.value(QStringLiteral("category")), QStringLiteral("transfer"));
    EXPECT_FALSE(shown.hints.contains(QStringLiteral("sound-name")));
    EXPECT_EQ(shown.actions, (QStringList{QStringLiteral("default"), QString{}, QStringLiteral("RESTORE"), QStringLiteral("Restore")}));
    show("saved again");
    EXPECT_EQ(service->shown.at(2).hints.value(QStringLiteral("urgency")).toInt(), 1);
    EXPECT_EQ(service->shown.at(2).actions.size(), 6);

    std::optional<AuthorizationStatus> answered;
    quiet->getAuthorizationStatus([&](AuthorizationStatus found) { answered = found; });
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return answered.has_value(); }));
    emit service->ActionInvoked(2, QStringLiteral("RESTORE"));
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !quietDelegate->responses.empty(); }));
    EXPECT_THAT(quietDelegate->responses, ElementsAre("RESTORE not saved"));
    EXPECT_TRUE(delegate->responses.empty());
    quiet.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("velmora-quiet-notifications"));
}

TEST_F(UserNotificationCenterTest, TheIconTravelsWithTheNotification)
{
    startService();
    show("Saved");
    const auto image = service->shown.at(0).hints.value(QStringLiteral("image-data")).value<QDBusArgument>();
    int width = 0;
    int height = 0;
    int rowBytes = 0;
    bool hasAlpha = false;
    int bitsInSample = 0;
    int channels = 0;
    QByteArray samples;
    image.beginStructure();
    image >> width >> height >> rowBytes >> hasAlpha >> bitsInSample >> channels >> samples;
    image.endStructure();
    EXPECT_THAT((std::vector<int>{width, height, rowBytes, hasAlpha, bitsInSample, channels}), ElementsAre(1, 1, 4, 1, 8, 4));
    EXPECT_EQ(samples, QByteArray::fromHex("ff3b3080"));
}

TEST_F(UserNotificationCenterTest, AServiceWithoutMarkupGetsTheTextAsItIs)
{
    startService();
    service->capabilities = QStringList{QStringLiteral("body")};
    show("Saved", "a & b");
    EXPECT_EQ(service->shown.at(0).body, QStringLiteral("a & b"));
    EXPECT_TRUE(service->shown.at(0).actions.isEmpty());
    EXPECT_FALSE(service->shown.at(0).hints.contains(QStringLiteral("sound-name")));
}

TEST_F(UserNotificationCenterTest, EveryKindOfNameReachesTheServiceWholeAndAsText)
{
    startService();
    for (const auto& [kind, name] : test::oddNames()) {
        SCOPED_TRACE(kind);
        show("Clip Saved", name + ".mp4 has been saved to your library.");
        auto expected = QString::fromStdString(name + ".mp4 has been saved to your library.");
        EXPECT_EQ(service->shown.back().body, expected.toHtmlEscaped());
        EXPECT_FALSE(service->shown.back().body.contains(QLatin1Char('<')));
    }
}

TEST_F(UserNotificationCenterTest, WhatTheUserDoesReachesTheDelegateWithItsNotification)
{
    startService();
    show("first");
    show("second");
    emit service->ActionInvoked(2, QStringLiteral("SHOW"));
    emit service->ActionInvoked(1, QStringLiteral("default"));
    emit service->NotificationClosed(2, 2);
    EXPECT_TRUE(test::PrivateBus::runUntil([&] { return delegate->responses.size() == 3; }));
    EXPECT_THAT(delegate->responses, ElementsAre("SHOW second", "default first", "dismiss second"));
}

TEST_F(UserNotificationCenterTest, NotificationsOfOthersAndThoseThatExpireAreNoResponses)
{
    startService();
    show("first");
    emit service->ActionInvoked(77, QStringLiteral("OPEN"));
    emit service->NotificationClosed(1, 1);
    emit service->ActionInvoked(1, QStringLiteral("OPEN"));
    settle();
    EXPECT_THAT(delegate->responses, IsEmpty());
}

TEST_F(UserNotificationCenterTest, NumbersOfAServiceThatEndedMeanNothingAnyMore)
{
    startService();
    show("old");
    service.reset();
    startService("another service");
    EXPECT_EQ(status(), AuthorizationStatus::authorized);
    emit service->ActionInvoked(1, QStringLiteral("OPEN"));
    settle();
    EXPECT_THAT(delegate->responses, IsEmpty());
    show("new");
    emit service->ActionInvoked(1, QStringLiteral("OPEN"));
    EXPECT_TRUE(test::PrivateBus::runUntil([&] { return !delegate->responses.empty(); }));
    EXPECT_THAT(delegate->responses, ElementsAre("OPEN new"));
}

}  // namespace
}  // namespace velmora::linux_backend

#include "UserNotificationCenterTest.moc"
