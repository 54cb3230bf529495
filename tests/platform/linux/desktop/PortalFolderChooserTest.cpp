#include "platform/linux/desktop/PortalFolderChooser.h"

#include "tests/platform/linux/desktop/PrivateBus.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>

#include <gmock/gmock.h>

namespace velmora::linux_backend {
namespace {

using ::testing::HasSubstr;
using Answer = Result<std::optional<std::filesystem::path>>;

/// The portal, played by the test.
class ScriptedPortal final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")
    Q_PROPERTY(uint version READ version CONSTANT)

public:
    ScriptedPortal(QDBusConnection connection, uint version) : connection_(std::move(connection)), version_(version)
    {
        connection_.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
        connection_.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    ~ScriptedPortal() override { QDBusConnection::disconnectFromBus(connection_.name()); }

    [[nodiscard]] uint version() const { return version_; }

    void answer(uint response, const QVariantMap& results)
    {
        auto signal = QDBusMessage::createTargetedSignal(
            client, handle, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal.setArguments({response, results});
        connection_.send(signal);
    }

    void choose(const char* uri) { answer(0, {{QStringLiteral("uris"), QStringList{QLatin1String(uri)}}}); }

    int asked = 0;
    bool refuses = false;
    bool answersBeforeItReturns = false;
    bool makesItsOwnHandles = false;
    QString parent;
    QString title;
    QVariantMap options;
    QString client;
    QString handle;

public slots:
    QDBusObjectPath OpenFile(const QString& parentWindow, const QString& newTitle, const QVariantMap& newOptions)
    {
        ++asked;
        parent = parentWindow;
        title = newTitle;
        options = newOptions;
        client = message().service();
        handle = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                     .arg(client.mid(1).replace(u'.', u'_'),
                         makesItsOwnHandles ? QStringLiteral("t17") : newOptions.value(QStringLiteral("handle_token")).toString());
        if (refuses)
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("no"));
        if (answersBeforeItReturns)
            choose("file:///early");
        return QDBusObjectPath{handle};
    }

private:
    QDBusConnection connection_;
    const uint version_;
};

class PortalFolderChooserTest : public testing::Test {
protected:
    void startPortal(uint version = 3) { portal = std::make_unique<ScriptedPortal>(bus.connect("portal"), version); }

    void ask(std::uint64_t parentWindow = 0)
    {
        chooser->chooseFolder({"Choose Folder", "Choose", "/media/films", parentWindow}, [this](Answer folder) {
            ++completions;
            answer = std::move(folder);
        });
    }

    void awaitDialog()
    {
        ASSERT_TRUE(test::PrivateBus::runUntil([this] { return portal->asked == 1; }));
    }

    [[nodiscard]] bool isAnswered()
    {
        return test::PrivateBus::runUntil([this] { return completions == 1; });
    }

    test::PrivateBus bus;
    std::unique_ptr<ScriptedPortal> portal;
    std::shared_ptr<platform::FolderChooser> chooser = makePortalFolderChooser({.busAddress = bus.address()});
    int completions = 0;
    std::optional<Answer> answer;
};

TEST_F(PortalFolderChooserTest, AsksForOneFolderAboveTheGivenWindow)
{
    startPortal();
    ask(0x1a00007);
    awaitDialog();
    EXPECT_EQ(portal->parent, QStringLiteral("x11:1a00007"));
    EXPECT_EQ(portal->title, QStringLiteral("Choose Folder"));
    EXPECT_EQ(portal->options.value(QStringLiteral("accept_label")), QStringLiteral("Choose"));
    EXPECT_TRUE(portal->options.value(QStringLiteral("directory")).toBool());
    EXPECT_FALSE(portal->options.value(QStringLiteral("multiple")).toBool());
    EXPECT_TRUE(portal->options.value(QStringLiteral("modal")).toBool());
    EXPECT_EQ(portal->options.value(QStringLiteral("current_folder")).toByteArray(), QByteArray("/media/films\0", 13));
    EXPECT_EQ(completions, 0);
}

TEST_F(PortalFolderChooserTest, TheChosenFolderIsTheAnswerWithEveryByteOfItsName)
{
    startPortal();
    ask();
    awaitDialog();
    EXPECT_EQ(portal->parent, QString{});
    portal->choose("file:///media/My%20films%20%23%FF");
    ASSERT_TRUE(isAnswered());
    ASSERT_TRUE(answer->has_value());
    EXPECT_EQ(**answer, std::filesystem::path{"/media/My films #\xFF"});
}

TEST_F(PortalFolderChooserTest, ADialogThatIsCancelledOrClosedIsNoError)
{
    startPortal();
    // 1: Cancel; 2: Escape and the close button of the window; 3: what a future portal may say.
    const QVariantMap leftOver{{QStringLiteral("uris"), QStringList{QStringLiteral("file:///not/chosen")}}};
    for (const uint response : {1U, 2U, 3U}) {
        completions = portal->asked = 0;
        ask();
        awaitDialog();
        portal->answer(response, leftOver);
        ASSERT_TRUE(isAnswered());
        ASSERT_TRUE(answer->has_value()) << response;
        EXPECT_EQ(**answer, std::nullopt) << response;
    }
}

TEST_F(PortalFolderChooserTest, AnAnswerThatComesBeforeTheCallReturnsCounts)
{
    startPortal();
    portal->answersBeforeItReturns = true;
    ask();
    ASSERT_TRUE(isAnswered());
    EXPECT_EQ(**answer, std::filesystem::path{"/early"});
}

TEST_F(PortalFolderChooserTest, APortalThatNamesItsRequestsItselfIsHeardToo)
{
    startPortal();
    portal->makesItsOwnHandles = true;
    ask();
    awaitDialog();
    // The client is told again until it has heard the name.
    ASSERT_TRUE(test::PrivateBus::runUntil([this] {
        portal->choose("file:///later");
        return completions > 0;
    }));
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(**answer, std::filesystem::path{"/later"});
}

TEST_F(PortalFolderChooserTest, WithoutAPortalThereIsAnError)
{
    ask();
    ASSERT_TRUE(isAnswered());
    ASSERT_FALSE(answer->has_value());
    EXPECT_THAT(answer->error().localizedDescription, HasSubstr("there is no portal"));
}

TEST_F(PortalFolderChooserTest, APortalThatCannotChooseFoldersIsNotAskedForOne)
{
    startPortal(2);
    ask();
    ASSERT_TRUE(isAnswered());
    EXPECT_FALSE(answer->has_value());
    EXPECT_EQ(portal->asked, 0);
}

TEST_F(PortalFolderChooserTest, APortalThatRefusesIsAnError)
{
    startPortal();
    portal->refuses = true;
    ask();
    ASSERT_TRUE(isAnswered());
    ASSERT_FALSE(answer->has_value());
    EXPECT_NE(answer->error().code, platform::FolderChooser::unusableChoice);
}

TEST_F(PortalFolderChooserTest, AFolderOfAnotherComputerAndAChoiceOfNothingAreErrorsThatNoOtherDialogMends)
{
    startPortal();
    for (const auto& uris : {QStringList{QStringLiteral("sftp://server/films")}, QStringList{},
             QStringList{QStringLiteral("file:///one"), QStringLiteral("file:///two")}}) {
        completions = portal->asked = 0;
        ask();
        awaitDialog();
        portal->answer(0, {{QStringLiteral("uris"), uris}});
        ASSERT_TRUE(isAnswered());
        ASSERT_FALSE(answer->has_value());
        EXPECT_EQ(answer->error().code, platform::FolderChooser::unusableChoice);
    }
}

TEST_F(PortalFolderChooserTest, APortalThatEndsWhileTheDialogIsOpenIsAnError)
{
    startPortal();
    ask();
    awaitDialog();
    portal.reset();
    ASSERT_TRUE(isAnswered());
    EXPECT_FALSE(answer->has_value());
}

TEST_F(PortalFolderChooserTest, NobodyIsToldAfterTheChooserIsGone)
{
    startPortal();
    ask();
    awaitDialog();
    chooser.reset();
    portal->choose("file:///late");
    chooser = makePortalFolderChooser({.busAddress = bus.address()});
    ask();
    ASSERT_TRUE(test::PrivateBus::runUntil([this] { return portal->asked == 2; }));
    EXPECT_EQ(completions, 0);
}

TEST_F(PortalFolderChooserTest, WithoutABusThereIsAnErrorAtOnce)
{
    bool failed = false;
    chooser = makePortalFolderChooser({.busAddress = "unix:path=/nonexistent/bus"});
    chooser->chooseFolder({}, [&](const Answer& folder) { failed = !folder.has_value(); });
    EXPECT_TRUE(failed);
}

}  // namespace
}  // namespace velmora::linux_backend

#include "PortalFolderChooserTest.moc"
