#include "platform/linux/desktop/LinuxWorkspace.h"

#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/support/TemporaryDirectory.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QMap>
#include <QStringList>

#include <cmath>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// logind, played by the test: it sees when the last copy of an inhibitor is closed.
class ScriptedLogind final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
    explicit ScriptedLogind(QDBusConnection connection) : connection_(std::move(connection))
    {
        connection_.registerObject(QStringLiteral("/org/freedesktop/login1"), this, QDBusConnection::ExportAllContents);
        connection_.registerService(QStringLiteral("org.freedesktop.login1"));
    }
    ~ScriptedLogind() override
    {
        if (watched_ >= 0)
            ::close(watched_);
    }

    /// Whether somebody still holds the inhibitor last given out.
    [[nodiscard]] bool isInhibited() const
    {
        pollfd watched{watched_, 0, 0};
        return watched_ >= 0 && ::poll(&watched, 1, 0) == 0;
    }

    QStringList asked;

public slots:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString&, const QString&, const QString& mode)
    {
        asked.append(what + QLatin1Char(' ') + mode);
        if (watched_ >= 0)
            ::close(watched_);
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0)
            return {};
        // The write end is theirs: our read end hears when the last copy of it is closed.
        watched_ = ends[0];
        const QDBusUnixFileDescriptor theirs{ends[1]};
        ::close(ends[1]);
        return theirs;
    }

signals:
    void PrepareForSleep(bool begins);

private:
    QDBusConnection connection_;
    int watched_ = -1;
};

class FileBrowser final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    explicit FileBrowser(QDBusConnection connection) : connection_(std::move(connection))
    {
        connection_.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), this, QDBusConnection::ExportAllContents);
        connection_.registerService(QStringLiteral("org.freedesktop.FileManager1"));
    }

    QStringList shown;

public slots:
    void ShowItems(const QStringList& uris, const QString&) { shown = uris; }

private:
    QDBusConnection connection_;
};

/// The settings of a portal, played by the test, under names of the form "group key".
class ScriptedSettingsPortal final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit ScriptedSettingsPortal(QDBusConnection connection, QMap<QString, QVariant> settings)
        : connection_(std::move(connection))
        , settings_(std::move(settings))
    {
        connection_.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this, QDBusConnection::ExportAllContents);
        connection_.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }

    int answered = 0;

public slots:
    QDBusVariant Read(const QString& group, const QString& key, const QDBusMessage& message)
    {
        ++answered;
        const auto found = settings_.constFind(group + QLatin1Char(' ') + key);
        if (found == settings_.constEnd()) {
            message.setDelayedReply(true);
            connection_.send(message.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"), key));
            return {};
        }
        return QDBusVariant{QVariant::fromValue(QDBusVariant{*found})};
    }

signals:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    QDBusConnection connection_;
    const QMap<QString, QVariant> settings_;
};

const QString gnome = QStringLiteral("org.gnome.desktop.interface");
const QString animations = QStringLiteral("enable-animations");
const QString kde = QStringLiteral("org.kde.kdeglobals.KDE");
const QString duration = QStringLiteral("AnimationDurationFactor");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString contrast = QStringLiteral("contrast");
const QString gnomeAccess = QStringLiteral("org.gnome.desktop.a11y.interface");
const QString highContrast = QStringLiteral("high-contrast");
const QString scaling = QStringLiteral("text-scaling-factor");

class WorkspaceTest : public testing::Test {
protected:
    void SetUp() override
    {
        workspace = makeWorkspace({
            .observeDisplays = [this](std::function<void()> changed) { displaysChanged = std::move(changed); },
            .sessionBusAddress = bus.address(),
            .systemBusAddress = bus.address(),
            .startDetached =
                [this](const std::string& program, const std::vector<std::string>& arguments) {
                    started.push_back(program);
                    started.insert(started.end(), arguments.begin(), arguments.end());
                },
            .hasProgram = [this](
                              const std::string& program) { return std::find(missing.begin(), missing.end(), program) == missing.end(); },
        });
    }

    void TearDown() override
    {
        workspace.reset();
        for (const auto* name : {"velmora-workspace-session", "velmora-workspace-system", "logind", "browser", "portal"})
            QDBusConnection::disconnectFromBus(QString::fromLatin1(name));
    }

    void observe()
    {
        workspace->addObserver({
            .willSleep =
                [this](UniqueFunction<void()> ready) {
                    events.emplace_back("sleep");
                    readyToSleep = std::move(ready);
                },
            .didWake = [this] { events.emplace_back("wake"); },
            .screenParametersDidChange = [this] { events.emplace_back("screens"); },
            .accessibilityDisplayOptionsDidChange =
                [this] {
                    const auto options = workspace->accessibilityDisplayOptions();
                    if (options.increasesContrast != knownContrast)
                        events.emplace_back(options.increasesContrast ? "more contrast" : "contrast");
                    else if (options.textScale != knownScale)
                        events.push_back("text " + std::to_string(std::lround(options.textScale * 100)));
                    else
                        events.emplace_back(options.reducesMotion ? "less motion" : "motion");
                    knownContrast = options.increasesContrast;
                    knownScale = options.textScale;
                },
            .fileBrowserDidChange =
                [this] {
                    // This machine may have one too.
                    if (followsFileBrowser)
                        events.push_back("files in " + workspace->fileBrowserName());
                },
        });
    }

    test::PrivateBus bus;
    std::shared_ptr<platform::Workspace> workspace;
    std::vector<std::string> started;
    std::vector<std::string> missing;
    std::vector<std::string> events;
    bool followsFileBrowser = false;
    bool knownContrast = false;
    double knownScale = 1;
    std::function<void()> displaysChanged;
    UniqueFunction<void()> readyToSleep;
};

TEST_F(WorkspaceTest, FilesAndLinksOpenWithTheDesktopsHandler)
{
    workspace->open("/clips/a b;$(c).mp4");
    workspace->openURL("https://example.org/?a=b&c");
    EXPECT_THAT(started, ElementsAre("xdg-open", "/clips/a b;$(c).mp4", "xdg-open", "https://example.org/?a=b&c"));
}

TEST_F(WorkspaceTest, TheSettingsLinkOpensTheDesktopsOwnPage)
{
    constexpr const char* link = "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
    ::setenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME", 1);
    workspace->openURL(link);
    ::setenv("XDG_CURRENT_DESKTOP", "KDE", 1);
    workspace->openURL(link);
    ::setenv("XDG_CURRENT_DESKTOP", "XFCE", 1);
    workspace->openURL(link);
    ::unsetenv("XDG_CURRENT_DESKTOP");
    workspace->openURL(link);
    EXPECT_THAT(started, ElementsAre("gnome-control-center", "privacy", "systemsettings", "xfce4-settings-manager"));
}

TEST_F(WorkspaceTest, TheDesktopsPageOfKeysIsKnownAndOpensWhereItsProgramIsThere)
{
    EXPECT_FALSE(workspace->keySettings());
    workspace->openKeySettings();
    EXPECT_THAT(started, IsEmpty());
    for (const auto* desktop : {"ubuntu:GNOME", "KDE", "XFCE"}) {
        ::setenv("XDG_CURRENT_DESKTOP", desktop, 1);
        ASSERT_TRUE(workspace->keySettings());
        EXPECT_TRUE(workspace->keySettings()->canBeOpened);
        EXPECT_THAT(workspace->keySettings()->place, testing::HasSubstr("Settings, "));
        workspace->openKeySettings();
    }
    missing = {"xfce4-keyboard-settings"};
    EXPECT_FALSE(workspace->keySettings()->canBeOpened);
    workspace->openKeySettings();
    EXPECT_THAT(started, ElementsAre("gnome-control-center", "keyboard", "systemsettings", "kcm_keys", "xfce4-keyboard-settings"));
    ::setenv("XDG_CURRENT_DESKTOP", "openbox", 1);
    EXPECT_FALSE(workspace->keySettings());
    ::unsetenv("XDG_CURRENT_DESKTOP");
}

TEST_F(WorkspaceTest, AFileIsShownSelectedInTheFileBrowser)
{
    FileBrowser browser{bus.connect("browser")};
    workspace->activateFileViewerSelecting({"/clips/ü & 100%.mp4"});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !browser.shown.isEmpty(); }));
    EXPECT_EQ(browser.shown, QStringList{QStringLiteral("file:///clips/%C3%BC%20&%20100%25.mp4")});
    EXPECT_THAT(started, IsEmpty());
}

TEST_F(WorkspaceTest, AFileWhoseNameIsNoTextIsShownByEveryByteOfIt)
{
    FileBrowser browser{bus.connect("browser")};
    workspace->activateFileViewerSelecting({"/caf\xE9 \xFF/a%20#.mp4"});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !browser.shown.isEmpty(); }));
    EXPECT_EQ(browser.shown, QStringList{QStringLiteral("file:///caf%E9%20%FF/a%2520%23.mp4")});
    workspace->open("/caf\xE9 \xFF");
    EXPECT_THAT(started, ElementsAre("xdg-open", "file:///caf%E9%20%FF"));
}

TEST_F(WorkspaceTest, WithoutAFileBrowserThatCanSelectTheFolderIsOpened)
{
    workspace->activateFileViewerSelecting({"/clips/a.mp4"});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !started.empty(); }));
    EXPECT_THAT(started, ElementsAre("xdg-open", "/clips"));
}

TEST_F(WorkspaceTest, TheMachineSleepsWhenTheObserverIsReadyAndIsHeldAgainAfterWaking)
{
    ScriptedLogind logind{bus.connect("logind")};
    observe();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return logind.isInhibited(); }));
    emit logind.PrepareForSleep(true);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    EXPECT_TRUE(logind.isInhibited());
    readyToSleep();
    EXPECT_TRUE(test::PrivateBus::runUntil([&] { return !logind.isInhibited(); }));
    emit logind.PrepareForSleep(false);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return logind.isInhibited(); }));
    EXPECT_THAT(events, ElementsAre("sleep", "wake"));
    EXPECT_EQ(logind.asked, (QStringList{QStringLiteral("sleep delay"), QStringLiteral("sleep delay")}));
}

TEST_F(WorkspaceTest, WithoutLogindNothingIsWaitedFor)
{
    observe();
    test::PrivateBus::runUntil([] { return true; });
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(WorkspaceTest, ChangesOfTheDisplaysArePassedOn)
{
    observe();
    displaysChanged();
    EXPECT_THAT(events, ElementsAre("screens"));
}

TEST_F(WorkspaceTest, ADesktopThatSwitchedAnimationsOffWantsLessMotionAndItsChangesAreHeard)
{
    ScriptedSettingsPortal portal{bus.connect("portal"), {{gnome + QLatin1Char(' ') + animations, false}}};
    observe();
    EXPECT_FALSE(workspace->accessibilityDisplayOptions().reducesMotion) << "nobody has answered yet";
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    emit portal.SettingChanged(gnome, animations, QDBusVariant{true});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 2; }));
    emit portal.SettingChanged(gnome, animations, QDBusVariant{false});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 3; }));
    EXPECT_THAT(events, ElementsAre("less motion", "motion", "less motion"));
}

TEST_F(WorkspaceTest, AnAnimationDurationOfZeroIsLessMotionAndAShortOneIsNot)
{
    ScriptedSettingsPortal portal{bus.connect("portal"), {{kde + QLatin1Char(' ') + duration, QStringLiteral("0.5")}}};
    observe();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return portal.answered == 5; }));
    emit portal.SettingChanged(kde, duration, QDBusVariant{QStringLiteral("0")});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    emit portal.SettingChanged(kde, duration, QDBusVariant{1.0});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 2; }));
    EXPECT_THAT(events, ElementsAre("less motion", "motion"));
}

TEST_F(WorkspaceTest, OtherSettingsAndValuesOfAnotherTypeChangeNothing)
{
    ScriptedSettingsPortal portal{bus.connect("portal"), {{gnome + QLatin1Char(' ') + animations, QStringLiteral("false")}}};
    observe();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return portal.answered == 5; }));
    emit portal.SettingChanged(gnome, QStringLiteral("cursor-blink"), QDBusVariant{false});
    emit portal.SettingChanged(kde, animations, QDBusVariant{false});
    emit portal.SettingChanged(kde, duration, QDBusVariant{QStringLiteral("none")});
    emit portal.SettingChanged(gnome, animations, QDBusVariant{false});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    EXPECT_THAT(events, ElementsAre("less motion")) << "of the last alone";
}

TEST_F(WorkspaceTest, MoreContrastIsWantedByThePortalsOwnSettingAndItsChangesAreHeard)
{
    ScriptedSettingsPortal portal{bus.connect("portal"), {{appearance + QLatin1Char(' ') + contrast, 1U}}};
    observe();
    EXPECT_FALSE(workspace->accessibilityDisplayOptions().increasesContrast) << "nobody has answered yet";
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    emit portal.SettingChanged(appearance, contrast, QDBusVariant{0U});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 2; }));
    emit portal.SettingChanged(appearance, contrast, QDBusVariant{7U});
    emit portal.SettingChanged(appearance, contrast, QDBusVariant{QStringLiteral("1")});
    emit portal.SettingChanged(gnome, animations, QDBusVariant{false});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 3; }));
    EXPECT_THAT(events, ElementsAre("more contrast", "contrast", "less motion")) << "what is not known is no wish";
}

TEST_F(WorkspaceTest, WhereThePortalHasNoSuchSettingTheOneOfGnomeCountsAndWhereItHasItAlone)
{
    ScriptedSettingsPortal portal{bus.connect("portal"), {{gnomeAccess + QLatin1Char(' ') + highContrast, true}}};
    observe();
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    EXPECT_TRUE(workspace->accessibilityDisplayOptions().increasesContrast);
    emit portal.SettingChanged(appearance, contrast, QDBusVariant{0U});
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 2; }));
    EXPECT_FALSE(workspace->accessibilityDisplayOptions().increasesContrast);
    EXPECT_THAT(events, ElementsAre("more contrast", "contrast"));
}

TEST_F(WorkspaceTest, TextIsAsLargeAsThePortalSaysAndOfItsOwnSizeForAFactorThatIsNone)
{
    ScriptedSettingsPortal portal{bus.connect("portal"), {{gnome + QLatin1Char(' ') + scaling, 1.25}}};
    observe();
    EXPECT_EQ(workspace->accessibilityDisplayOptions().textScale, 1);
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    for (const double factor : {0.0, std::nan(""), 40.0, -1.0, 0.75}) {
        emit portal.SettingChanged(gnome, scaling, QDBusVariant{2.0});
        emit portal.SettingChanged(gnome, scaling, QDBusVariant{factor});
    }
    ASSERT_TRUE(test::PrivateBus::runUntil([&] { return events.size() == 11; }));
    EXPECT_THAT(events,
        ElementsAre("text 125", "text 200", "text 100", "text 200", "text 100", "text 200", "text 100", "text 200", "text 100", "text 200",
            "text 75"));
}

TEST_F(WorkspaceTest, TheNameOfTheFileBrowserIsFoundOnceSomebodyObserves)
{
    const test::TemporaryDirectory home;
    std::filesystem::create_directories(home.path() / "applications");
    std::ofstream{home.path() / "applications" / "mimeapps.list"} << "[Default Applications]\ninode/directory=drawers.desktop\n";
    std::ofstream{home.path() / "applications" / "drawers.desktop"} << "[Desktop Entry]\nName=Drawers\n";
    const auto before = qgetenv("XDG_DATA_HOME");
    const auto configuration = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString(home.path().string()));
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(home.path().string()));
    EXPECT_EQ(workspace->fileBrowserName(), "");
    followsFileBrowser = true;
    observe();
    EXPECT_EQ(workspace->fileBrowserName(), "") << "it is not waited for";
    EXPECT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    EXPECT_THAT(events, ElementsAre("files in Drawers"));
    for (const auto& [name, value] : {std::pair{"XDG_DATA_HOME", before}, std::pair{"XDG_CONFIG_HOME", configuration}})
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
}

TEST_F(WorkspaceTest, APortalThatStartsLaterIsAskedThenAndKeepsItsWordWhenItIsGone)
{
    observe();
    {
        const ScriptedSettingsPortal portal{bus.connect("portal"), {{gnome + QLatin1Char(' ') + animations, false}}};
        ASSERT_TRUE(test::PrivateBus::runUntil([&] { return !events.empty(); }));
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
    const auto isGone = [probe = bus.connect("logind").interface()] {
        return !probe->isServiceRegistered(QStringLiteral("org.freedesktop.portal.Desktop")).value();
    };
    ASSERT_TRUE(test::PrivateBus::runUntil(isGone));
    EXPECT_THAT(events, ElementsAre("less motion"));
    EXPECT_TRUE(workspace->accessibilityDisplayOptions().reducesMotion);
}

}  // namespace
}  // namespace velmora::linux_backend

#include "WorkspaceTest.moc"
