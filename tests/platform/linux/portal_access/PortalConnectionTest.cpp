#include "platform/linux/portal_access/PortalConnection.h"

#include "platform/linux/desktop/PortalDisplayOptions.h"
#include "platform/linux/desktop/PortalFolderChooser.h"
#include "tests/platform/linux/desktop/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusPendingReply>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::linux_backend {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

/// A portal that writes down what it is asked, and answers everything with nothing.
class WritingPortal final : public QDBusVirtualObject {
public:
    WritingPortal(const test::PrivateBus& bus, const char* name) : connection_(bus.connect(name))
    {
        connection_.registerVirtualObject(QLatin1String{portal::path}, this);
        const auto reply = connection_.interface()->registerService(
            QLatin1String{portal::service}, QDBusConnectionInterface::ReplaceExistingService, QDBusConnectionInterface::AllowReplacement);
        EXPECT_EQ(reply.value(), QDBusConnectionInterface::ServiceRegistered);
    }
    ~WritingPortal() override { QDBusConnection::disconnectFromBus(connection_.name()); }

    [[nodiscard]] QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        std::string said = message.member().toStdString();
        const bool isIntroduction = said == "Register";
        if (isIntroduction)
            said += " " + message.arguments().value(0).toString().toStdString();
        heard.push_back(said);
        if (isIntroduction && knowsNoPrograms)
            connection.send(message.createErrorReply(QDBusError::UnknownInterface, QStringLiteral("No such interface")));
        else if (!isIntroduction || !thinks)
            connection.send(message.createReply(QVariant::fromValue(QVariantMap{})));
        return true;
    }

    std::vector<std::string> heard;
    bool knowsNoPrograms = false;  ///< like those before 1.19.4
    bool thinks = false;  ///< about whom it speaks to

private:
    QDBusConnection connection_;
};

constexpr const char* introduction = "Register com.velmora.Velmora";

class PortalConnectionTest : public testing::Test {
protected:
    PortalConnection& connection() { return PortalConnection::of(bus.address()); }

    QDBusPendingReply<QVariantMap> ask() { return connection().call(portal::propertiesCall("org.example.Anything")); }

    [[nodiscard]] static bool isHeard(const WritingPortal& portal, std::size_t count)
    {
        return test::PrivateBus::runUntil([&] { return portal.heard.size() >= count; });
    }

    test::PrivateBus bus;
};

TEST_F(PortalConnectionTest, APortalHearsOnceAndFirstWhichProgramThisIs)
{
    WritingPortal portal{bus, "portal"};
    ask();
    ask();
    ASSERT_TRUE(isHeard(portal, 3));
    ask();
    ASSERT_TRUE(isHeard(portal, 4));
    EXPECT_THAT(portal.heard, ElementsAre(introduction, "GetAll", "GetAll", "GetAll"));
}

TEST_F(PortalConnectionTest, TheFolderDialogAndTheDisplayOptionsOfTheDesktopSpeakThroughIt)
{
    WritingPortal portal{bus, "portal"};
    const PortalDisplayOptions options{bus.address(), [] {}};
    ASSERT_TRUE(isHeard(portal, 6));
    const auto chooser = makePortalFolderChooser({.busAddress = bus.address()});
    chooser->chooseFolder({"Choose Folder", "Choose", "/", 0}, [](const auto&) {});
    ASSERT_TRUE(isHeard(portal, 7));
    EXPECT_THAT(portal.heard, ElementsAre(introduction, "Read", "Read", "Read", "Read", "Read", "Get"));
}

TEST_F(PortalConnectionTest, APortalThatThinksLongAboutTheProgramIsNotToldAgain)
{
    WritingPortal portal{bus, "portal"};
    portal.thinks = true;
    ask();
    ASSERT_TRUE(isHeard(portal, 2));
    ask();
    ASSERT_TRUE(isHeard(portal, 3));
    EXPECT_THAT(portal.heard, ElementsAre(introduction, "GetAll", "GetAll"));
}

TEST_F(PortalConnectionTest, AnOldPortalThatDoesNotUnderstandAnswersTheRestAndIsNotToldAgain)
{
    WritingPortal portal{bus, "portal"};
    portal.knowsNoPrograms = true;
    for (int i = 0; i < 2; ++i) {
        const auto reply = ask();
        ASSERT_TRUE(test::PrivateBus::runUntil([&] { return reply.isFinished(); }));
        EXPECT_TRUE(reply.isValid());
    }
    EXPECT_THAT(portal.heard, ElementsAre(introduction, "GetAll", "GetAll"));
}

TEST_F(PortalConnectionTest, APortalThatWasStartedAnewHearsItBeforeAnythingElse)
{
    std::optional<WritingPortal> portal{std::in_place, bus, "first"};
    // Whoever listens for a portal asks it at once.
    int appearances = 0;
    int ends = 0;
    QObject::connect(&connection(), &PortalConnection::appeared, &connection(), [&] {
        ++appearances;
        ask();
    });
    QObject::connect(&connection(), &PortalConnection::ended, &connection(), [&] { ++ends; });
    ask();
    ASSERT_TRUE(isHeard(*portal, 2));
    portal.reset();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return ends == 1; }));
    portal.emplace(bus, "second");
    ASSERT_TRUE(isHeard(*portal, 2));
    EXPECT_THAT(portal->heard, ElementsAre(introduction, "GetAll"));
    EXPECT_EQ(appearances, 1);
    EXPECT_EQ(ends, 1);
}

TEST_F(PortalConnectionTest, APortalThatTakesTheOthersPlaceHearsItTooAndTheOthersEndIsTold)
{
    WritingPortal first{bus, "first"};
    first.thinks = true;
    std::vector<std::string> told;
    QObject::connect(&connection(), &PortalConnection::ended, &connection(), [&] { told.emplace_back("ended"); });
    QObject::connect(&connection(), &PortalConnection::appeared, &connection(), [&] { told.emplace_back("appeared"); });
    ask();
    ASSERT_TRUE(isHeard(first, 2));
    const WritingPortal second{bus, "second"};
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return told.size() == 2; }));
    EXPECT_THAT(told, ElementsAre("ended", "appeared"));
    ask();
    ASSERT_TRUE(isHeard(second, 2));
    EXPECT_THAT(second.heard, ElementsAre(introduction, "GetAll"));
    EXPECT_THAT(first.heard, SizeIs(2));
}

TEST_F(PortalConnectionTest, AQuestionThatMayNotStartAPortalLeavesTheNextToIntroduceTheProgram)
{
    auto quiet = portal::propertiesCall("org.example.Anything");
    quiet.setAutoStartService(false);
    const QDBusPendingReply<QVariantMap> reply = connection().call(quiet);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return reply.isFinished(); }));
    EXPECT_TRUE(reply.isError());
    WritingPortal portal{bus, "portal"};
    ask();
    ASSERT_TRUE(isHeard(portal, 2));
    EXPECT_THAT(portal.heard, ElementsAre(introduction, "GetAll"));
}

TEST_F(PortalConnectionTest, WhatMayHaveBeenToldToNobodyIsToldAgainByAQuestionThatMayStartAPortal)
{
    auto quiet = portal::propertiesCall("org.example.Anything");
    quiet.setAutoStartService(false);
    connection().call(quiet);
    WritingPortal portal{bus, "portal"};
    ask();
    ASSERT_TRUE(isHeard(portal, 2));
    EXPECT_THAT(portal.heard, ElementsAre(introduction, "GetAll")) << "before any answer has come to the first question";
}

TEST_F(PortalConnectionTest, WithoutABusItIsNotConnected)
{
    EXPECT_FALSE(PortalConnection::of("unix:path=/nonexistent/bus").isConnected());
}

}  // namespace
}  // namespace velmora::linux_backend
