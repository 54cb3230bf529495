#include "app/menu/TrayHost.h"
#include "tests/brand/QuickTestWindow.h"
#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/support/sound/ChildProcess.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QStringList>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace velmora {
namespace {

const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");

/// The part of a panel that knows items; it answers when it is told to.
class HungPanel final : public QDBusVirtualObject {
public:
    explicit HungPanel(QDBusConnection connection) : connection_(std::move(connection))
    {
        connection_.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
        connection_.registerService(watcher);
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) override
    {
        questions.push_back(message);
        return true;
    }

    void answer(bool isHost)
    {
        for (const auto& question : std::exchange(questions, {}))
            connection_.send(question.createReply(QVariant::fromValue(QDBusVariant{isHost})));
    }

    void fail(QDBusError::ErrorType type)
    {
        for (const auto& question : std::exchange(questions, {}))
            connection_.send(question.createErrorReply(type, QStringLiteral("no")));
    }

    void announceHost()
    {
        connection_.send(
            QDBusMessage::createSignal(QStringLiteral("/StatusNotifierWatcher"), watcher, QStringLiteral("StatusNotifierHostRegistered")));
    }

    void leave() { connection_.unregisterService(watcher); }

    std::vector<QDBusMessage> questions;

private:
    QDBusConnection connection_;
};

class TrayHostTest : public testing::Test {
protected:
    ~TrayHostTest() override
    {
        for (const auto& name : names)
            QDBusConnection::disconnectFromBus(name);
    }

    /// One of this bus, and of this test alone.
    QDBusConnection connect(const char* client)
    {
        const auto name = QStringLiteral("%1 of %2").arg(QLatin1String{client}, address);
        names.append(name);
        return QDBusConnection::connectToBus(address, name);
    }

    /// Until that many questions have come; the panel's connection is on this thread too.
    void awaitQuestions(std::size_t count)
    {
        ASSERT_TRUE(test::PrivateBus::runUntil([&] { return panel.questions.size() >= count; }));
    }

    QGuiApplication& application = test::application();
    test::ChildProcess daemon{{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"}};
    QStringList names;
    QString address = QString::fromStdString(daemon.readLine().value_or(""));
    HungPanel panel{connect("panel")};
    int answers = 0;
    int known = 0;

    void follow(TrayHost& host)
    {
        host.whenAnswered([this] { ++answers; });
        host.whenKnown([this] { ++known; });
    }
};

TEST_F(TrayHostTest, APanelThatHangsIsAskedWithoutWaitingAndIsNoneUntilItAnswers)
{
    TrayHost host{connect("program")};
    follow(host);
    EXPECT_EQ(answers, 0);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return known == 1; }));
    EXPECT_EQ(answers, 0);
    EXPECT_FALSE(host.isThere());
    awaitQuestions(1);
    panel.answer(true);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return answers == 1; }));
    EXPECT_TRUE(host.isThere());
    EXPECT_TRUE(host.drawsTheMenu());
    EXPECT_EQ(known, 1);
    follow(host);
    EXPECT_EQ(answers, 2);
    EXPECT_EQ(known, 2);
}

TEST_F(TrayHostTest, AQuestionThatWasGivenUpIsAskedAgain)
{
    TrayHost host{connect("program")};
    follow(host);
    for (const auto type : {QDBusError::NoReply, QDBusError::Timeout}) {
        awaitQuestions(1);
        panel.fail(type);
    }
    awaitQuestions(1);
    EXPECT_EQ(answers, 0);
    panel.answer(true);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return answers == 1; }));
    EXPECT_TRUE(host.isThere());
}

TEST_F(TrayHostTest, OneThatCannotAnswerIsNone)
{
    TrayHost host{connect("program")};
    follow(host);
    awaitQuestions(1);
    panel.fail(QDBusError::UnknownMethod);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return answers == 1; }));
    EXPECT_FALSE(host.drawsTheMenu());
    EXPECT_EQ(known, 1);
}

TEST_F(TrayHostTest, WithoutAPanelTheAnswerIsNoneAtOnce)
{
    panel.leave();
    TrayHost host{connect("program")};
    follow(host);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return answers == 1; }));
    EXPECT_EQ(known, 1);
    EXPECT_FALSE(host.drawsTheMenu());
    EXPECT_TRUE(panel.questions.empty());
}

TEST_F(TrayHostTest, APanelThatGoesIsNoPlaceAndOneThatComesBackIsAgain)
{
    TrayHost host{connect("program")};
    follow(host);
    awaitQuestions(1);
    panel.answer(true);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return host.isThere(); }));
    panel.leave();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !host.isThere(); }));
    EXPECT_TRUE(host.drawsTheMenu()) << "Qt has decided, for good";
    bool isThereWhenTold = false;
    QObject::connect(&host, &TrayHost::answered, &host, [&] { isThereWhenTold = host.isThere(); });
    HungPanel next{connect("the next panel")};
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !next.questions.empty(); }));
    next.answer(false);
    next.announceHost();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !next.questions.empty(); }));
    EXPECT_FALSE(host.isThere());
    EXPECT_FALSE(isThereWhenTold);
    next.answer(true);
    EXPECT_TRUE(test::PrivateBus::runUntil([&] { return isThereWhenTold; }));
}

}  // namespace
}  // namespace velmora
