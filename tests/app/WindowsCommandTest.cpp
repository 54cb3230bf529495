#include "app/WindowsCommand.h"

#include "app/MainThreadExecutor.h"
#include "platform/fake/FakeShareableContent.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <gtest/gtest.h>

namespace velmora {
namespace {

const std::vector<CapturedWindowInfo> windows{
    {4'000'000'000U, "Big Buck Bunny", "Firefox", "firefox", {-20, 30.5, 1280, 720}, true},
    {17, "", "mpv", "mpv", {0, 0, 641, 479}, false},
};

TEST(WindowsCommand, WritesEachWindowAsAnObjectInTheCataloguesOrder)
{
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(windowsAsJson(windows)));
    ASSERT_TRUE(document.isArray());
    ASSERT_EQ(document.array().size(), 2);
    const QJsonObject expected{
        {"id", qint64{4'000'000'000}},
        {"title", "Big Buck Bunny"},
        {"appName", "Firefox"},
        {"bundleID", "firefox"},
        {"frame", QJsonObject{{"x", -20.0}, {"y", 30.5}, {"width", 1280.0}, {"height", 720.0}}},
        {"isOnScreen", true},
        {"displayName", "Firefox — Big Buck Bunny"},
    };
    EXPECT_EQ(document.array().at(0).toObject(), expected);
    EXPECT_EQ(document.array().at(1).toObject().value("displayName").toString().toStdString(), "mpv (Window #17)");
    EXPECT_FALSE(document.array().at(1).toObject().value("isOnScreen").toBool());
}

TEST(WindowsCommand, WritesAnEmptyCatalogueAsAnEmptyArrayOrASentence)
{
    EXPECT_EQ(QJsonDocument::fromJson(QByteArray::fromStdString(windowsAsJson({}))), QJsonDocument{QJsonArray{}});
    EXPECT_EQ(windowsAsTable({}), "No window can be recorded.\n");
}

TEST(WindowsCommand, WritesALineForPeople)
{
    EXPECT_EQ(windowsAsTable(windows),
        "4000000000  1280x720     on screen  Firefox — Big Buck Bunny\n"
        "        17  641x479      hidden     mpv (Window #17)\n");
}

TEST(WindowsCommand, ATitleCannotCommandTheTerminalOrFakeALine)
{
    const auto table = windowsAsTable({{1, "\x1B[2Jgone\nand\u202E more", "app", "app", {0, 0, 100, 100}, true}});
    EXPECT_EQ(table.find('\x1B'), std::string::npos);
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 1);
    EXPECT_EQ(table.find("\u202E"), std::string::npos);
    EXPECT_NE(table.find("gone"), std::string::npos);
}

TEST(WindowsCommand, ATitleOfPercentPlacesStaysAsItIs)
{
    EXPECT_NE(windowsAsTable({{1, "%1 %4", "app", "app", {0, 0, 100, 100}, true}}).find("app — %1 %4"), std::string::npos);
}

TEST(WindowsCommand, TheProgramsOwnWindowsAreNotListed)
{
    int argumentCount = 1;
    char name[8] = "velmora";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
    const auto content = std::make_shared<fake::FakeShareableContent>();
    for (const std::int32_t process : {4711, 4242}) {
        content->content.windows.push_back({
            .windowID = static_cast<std::uint32_t>(process),
            .title = "Window",
            .frame = {0, 0, 640, 480},
            .windowLayer = 0,
            .isOnScreen = true,
            .owningApplication = platform::RunningApplication{"app", "App", process},
        });
    }
    platform::PlatformServices services;
    services.shareableContent = content;
    testing::internal::CaptureStdout();
    const int status = runWindowsCommand({}, services, std::make_shared<MainThreadExecutor>(), 4711);
    std::fflush(stdout);
    const auto output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, command_line::succeeded);
    EXPECT_NE(output.find("4242"), std::string::npos);
    EXPECT_EQ(output.find("4711"), std::string::npos);
    const std::vector<fake::FakeShareableContent::Query> expected{{true, false}};
    EXPECT_EQ(content->queries, expected);
}

}  // namespace
}  // namespace velmora
