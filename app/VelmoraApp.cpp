#include "app/VelmoraApp.h"

#include "app/AppControl.h"
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/DiscardedRecordingOffers.h"
#include "app/FolderWatch.h"
#include "app/MainThreadClock.h"
#include "app/MainThreadExecutor.h"
#include "app/RecordingObserver.h"
#include "app/SharedInstances.h"
#include "app/TerminationSignals.h"
#include "app/UnheardSoundNotice.h"
#include "app/control/ControlCommands.h"
#include "app/control/InstanceBus.h"
#include "app/menu/MenuLook.h"
#include "app/menu/ShareMenu.h"
#include "app/menu/TrayHost.h"
#include "app/menu/TrayStatusItem.h"
#include "app/views/AlertWindows.h"
#include "app/views/ClipDrags.h"
#include "app/views/HudPanelWindow.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "app/views/QuickWindows.h"
#include "app/views/StatusWindow.h"
#include "app/views/WindowContents.h"
#include "brand/BrandPainting.h"
#include "library/InterruptedRecordings.h"
#include "platform/PlatformFactory.h"
#include "system/Log.h"
#include "system/SharedServices.h"
#include "windows/WindowSelectionService.h"

#include <QApplication>
#include <QEventLoop>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace velmora {

namespace {

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value;
}

/// Has Qt show the program's windows as an X11 program's wherever there is Xwayland. A Wayland compositor lets no program place a window,
/// show it above the others, or keep the focus from it, and the panel of a saved clip needs all three.
class PreferXwayland {
public:
    PreferXwayland()
    {
        if (isChosen_)
            setenv(variable, "xcb;wayland", 0);
    }
    /// Programs that this one starts choose for themselves.
    ~PreferXwayland()
    {
        if (isChosen_)
            unsetenv(variable);
    }
    PreferXwayland(const PreferXwayland&) = delete;
    PreferXwayland& operator=(const PreferXwayland&) = delete;

private:
    static constexpr const char* variable = "QT_QPA_PLATFORM";
    const bool isChosen_ = isSet("WAYLAND_DISPLAY") && isSet("DISPLAY") && !isSet(variable);
};

platform::ApplicationIcon applicationIcon()
{
    constexpr int side = 64;
    const auto image = appIconImage(side, 0, false, 1).convertToFormat(QImage::Format_RGBA8888);
    return {side, {image.constBits(), image.constBits() + image.sizeInBytes()}};
}

/// Everything that lives as long as the program, from the ground up.
class VelmoraApp {
public:
    explicit VelmoraApp(QApplication& application) : mainExecutor_(std::make_shared<MainThreadExecutor>()), services_(installServices())
    {
        followTheDesktopsDisplayOptions(*services_.platform.workspace);
        setMenusAreComposited([floating = services_.platform.floatingWindows] { return floating->areComposited(); });
        const auto alerts = makeAlertWindows(services_.platform.windowActivation);
        const auto windows = std::make_shared<QuickWindowFactory>(services_.platform.windowActivation,
            [parts = WindowContentParts{services_, instances_, runningExports_, presentingWindows, trayHost_, smallFiles_}](
                const WindowDescription& description) { return makeWindowContent(description, parts); });
        notificationController_ = makeNotificationController(services_, instances_.library, smallFiles_);
        appDelegate_ = AppDelegate::create({
            .coordinator = instances_.coordinator,
            .permissionManager = instances_.permissionManager,
            .shortcutManager = instances_.shortcutManager,
            .userDefaults = services_.platform.userDefaults,
            .windows = windows,
            .alerts = alerts,
            .notificationController = notificationController_,
            .workspace = services_.platform.workspace,
            .clock = services_.clock,
            .mainExecutor = mainExecutor_,
            .makeMenuBarController =
                [this, alerts](std::weak_ptr<WindowPresenting> presenting) {
                    return std::make_unique<MenuBarController>(
                        MenuBarController::Services{
                            .coordinator = instances_.coordinator,
                            .library = instances_.library,
                            .workspace = services_.platform.workspace,
                            .alerts = alerts,
                            .windows = std::move(presenting),
                            .terminate = [this] { terminate(); },
                            .togglePause = [this] { static_cast<void>(recordingObserver_->setPaused(std::nullopt)); },
                        },
                        makeTrayStatusItem(services_.platform.trayAppearance, trayHost_, prepareWindowContents));
                },
            .recordingObserver = recordingObserver_,
            .recordingGoesOn = [this] { unheardSound_.look(); },
        });
        QObject::connect(&application, &QCoreApplication::aboutToQuit, &application, [this] {
            discardedRecordings_->stop();
            appDelegate_->applicationWillTerminate();
        });
        QObject::connect(&signals_, &TerminationSignals::received, &application, [this] { terminate(); });
        // A session that is ending asks first, and gives more time for the answer than for the end.
        QObject::connect(
            &application, &QGuiApplication::commitDataRequest, &application, [this] { waitForSaves(); }, Qt::DirectConnection);
    }

    void launch(InstanceBus& bus)
    {
        appDelegate_->applicationDidFinishLaunching();
        auto* menuBar = appDelegate_->menuBarController();
        control_ = std::make_unique<AppControl>(AppControl::Services{
            .coordinator = instances_.coordinator,
            .permissionManager = instances_.permissionManager,
            .shortcutManager = instances_.shortcutManager,
            .windowService = std::make_shared<WindowSelectionService>(services_.platform.shareableContent, mainExecutor_),
            .windows = appDelegate_,
            .userDefaults = services_.platform.userDefaults,
            .showMenu = [this, menuBar] { showMenu(*menuBar); },
            .quit =
                [menuBar] {
                    MenuItem quit;
                    quit.action = MenuAction::quit;
                    menuBar->handle(quit);
                },
            .notice = [this] { return appDelegate_->notice(); },
            .recordingObserver = recordingObserver_,
            .copy = copyFile(),
        });
        bus.serve(*control_);
        interruptedRecordings_.emplace(services_.platform.fileManager, services_.platform.assetRepairer, mainExecutor_);
        interruptedRecordings_->follow(instances_.library);
        followTheClipsFolder();
        discardedRecordings_ = DiscardedRecordingOffers::create({
            .notificationCenter = services_.platform.quietNotificationCenter,
            .recordings = services_.platform.discardedRecordings,
            .fileManager = services_.platform.fileManager,
            .library = instances_.library,
            .mainExecutor = mainExecutor_,
            .wasRestored = [notifications = notificationController_](
                               const std::filesystem::path& clip) { notifications->showClipRestored(clip); },
        });
        trayHost_.whenKnown([this, menuBar] {
            if (!trayHost_.isThere())
                statusWindow(*menuBar).appear();
        });
    }

    /// Returns when nothing in this program is writing any more.
    void finish()
    {
        runningExports_->cancelAll();
        instances_.coordinator.drain();
    }

private:
    [[nodiscard]] const SharedServices& installServices() const
    {
        SharedServices::install({recordingObserver_->observed(platform::makePlatformServices(mainExecutor_, applicationIcon)),
            mainExecutor_, std::make_shared<MainThreadClock>()});
        const auto& services = SharedServices::current();
        Log::setSink(services.platform.logSink);
        return services;
    }

    static std::shared_ptr<WindowPresenting> presentingWindows() { return AppDelegate::shared(); }

    // Commands make clips there too, and people with a file browser.
    void followTheClipsFolder()
    {
        QObject::connect(&instances_.library, &ClipLibrary::recentClipsChanged, &folderWatch_, [this] { watchTheClipsFolder(); });
        watchTheClipsFolder();
    }

    void watchTheClipsFolder() { folderWatch_.watch(instances_.library.effectiveOutputDirectory()); }

    void reloadClips()
    {
        // A scan makes the folder; one that somebody deleted stays away until there is a clip for it.
        if (services_.platform.fileManager->fileExists(instances_.library.effectiveOutputDirectory()))
            instances_.library.reloadClips();
    }

    static void followTheDesktopsDisplayOptions(platform::Workspace& workspace)
    {
        const auto follow = [&workspace] {
            const auto options = workspace.accessibilityDisplayOptions();
            setReducesMotion(options.reducesMotion);
            setIncreasesContrast(options.increasesContrast);
            setMenusIncreaseContrast(options.increasesContrast);
            const double scale = remainingTextScale(options.textScale, qGuiApp->devicePixelRatio());
            setTextScale(scale);
            setMenuTextScale(scale);
        };
        workspace.addObserver(
            {.willSleep = {}, .didWake = {}, .screenParametersDidChange = {}, .accessibilityDisplayOptionsDidChange = follow});
        follow();
    }

    static std::shared_ptr<ClipSavedNotificationController> makeNotificationController(
        const SharedServices& services, const ClipLibrary& library, const std::shared_ptr<SmallFiles>& smallFiles)
    {
        const auto workspace = services.platform.workspace;
        const auto sharing = services.platform.sharingServices;
        return ClipSavedNotificationController::create({
            .notificationCenter = services.platform.userNotificationCenter,
            .workspace = workspace,
            .clock = services.clock,
            .mainExecutor = services.mainExecutor,
            .windows = presentingWindows,
            .makePanel =
                [workspace, sharing, smallFiles, drag = makeClipDrags(services), players = services.platform.players,
                    activation = services.platform.windowActivation, floating = services.platform.floatingWindows] {
                    return makeHudPanelWindow(
                        {
                            .preview =
                                [](const std::filesystem::path& clip) {
                                    if (const auto windows = presentingWindows())
                                        windows->presentClipPreview(clip);
                                },
                            .share = [sharing, smallFiles](const std::filesystem::path& clip,
                                         const QPoint& position) { popUpShareMenu(sharing, smallFiles, clip, position); },
                            .reveal = [workspace](const std::filesystem::path& clip) { workspace->activateFileViewerSelecting({clip}); },
                            .drag = [drag](const std::filesystem::path& clip) { drag({clip}); },
                            .preparePreview = [players] { preparePreview(*players); },
                            .smallFiles = smallFiles,
                        },
                        {activation, floating});
                },
            .describeClip = [&library](const std::filesystem::path& clip) { return savedClipCaption(library.recentClips(), clip); },
            .isBusyWith = [smallFiles](const std::filesystem::path& clip) { return smallFiles->isBusyWith(clip); },
        });
    }

    /// Onto the clipboard.
    [[nodiscard]] std::function<void(const std::filesystem::path&)> copyFile() const
    {
        return [sharing = services_.platform.sharingServices](
                   const std::filesystem::path& file) { sharing->perform(platform::copyFileService, file); };
    }

    [[nodiscard]] std::shared_ptr<SmallFiles> makeSmallFiles() const
    {
        const auto& platform = services_.platform;
        return std::make_shared<SmallFiles>(SmallFiles::Services{
            .transcoder = platform.clipTranscoder,
            .fileManager = platform.fileManager,
            .clock = services_.clock,
            .mainExecutor = mainExecutor_,
            .runningExports = runningExports_,
            .clipsFolder = [&library = instances_.library] { return library.effectiveOutputDirectory(); },
            .copy = copyFile(),
            .tell = [this](const std::string& title, const std::string& body,
                        const std::filesystem::path& file) { notificationController_->show(title, body, file); },
        });
    }

    void terminate()
    {
        appDelegate_->applicationShouldTerminate([] { QCoreApplication::quit(); });
    }

    /// Returns when every clip that is being saved is on the disk; the program goes on meanwhile.
    void waitForSaves()
    {
        const auto loop = std::make_shared<QEventLoop>();
        const auto isSaved = std::make_shared<bool>(false);
        appDelegate_->awaitSaves([loop, isSaved] {
            *isSaved = true;
            loop->quit();
        });
        if (!*isSaved)
            loop->exec();
    }

    // Without a tray the menu is open in a window of its own.
    void showMenu(MenuBarController& menuBar)
    {
        if (trayHost_.isThere())
            return menuBar.statusItem().popUpMenu();
        statusWindow(menuBar).makeKeyAndOrderFront();
    }

    StatusWindow& statusWindow(MenuBarController& menuBar)
    {
        if (!statusWindow_)
            statusWindow_ = makeStatusWindow(menuBar, instances_.coordinator, services_.platform.windowActivation, trayHost_);
        return *statusWindow_;
    }

    const std::shared_ptr<MainThreadExecutor> mainExecutor_;
    const std::shared_ptr<RecordingObserver> recordingObserver_ = RecordingObserver::create(mainExecutor_);
    const SharedServices& services_;
    const SharedInstances instances_{};
    const std::shared_ptr<RunningExports> runningExports_ = std::make_shared<RunningExports>();
    const std::shared_ptr<SmallFiles> smallFiles_ = makeSmallFiles();
    TrayHost trayHost_;
    TerminationSignals signals_;
    FolderWatch folderWatch_{[this] {
        watchTheClipsFolder();
        reloadClips();
    }};
    std::optional<InterruptedRecordings> interruptedRecordings_;
    std::shared_ptr<ClipSavedNotificationController> notificationController_;
    std::shared_ptr<DiscardedRecordingOffers> discardedRecordings_;
    UnheardSoundNotice unheardSound_{{
        .observer = recordingObserver_,
        .notificationCenter = services_.platform.quietNotificationCenter,
        .applicationName =
            [this] {
                const auto& window = instances_.coordinator.selectedWindow();
                return window ? window->appName : std::string{};
            },
    }};
    std::shared_ptr<AppDelegate> appDelegate_;
    std::unique_ptr<AppControl> control_;
    std::shared_ptr<StatusWindow> statusWindow_;
};

}  // namespace

int runVelmoraApp(int& argc, char** argv)
{
    if (!isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY")) {
        std::fputs("Velmora needs a desktop: neither DISPLAY nor WAYLAND_DISPLAY is set.\n", stderr);
        return command_line::failed;
    }
    std::optional<PreferXwayland> duringStart{std::in_place};
    QApplication application{argc, argv};
    duringStart.reset();
    // What the item in the tray gives as its identifier and its title.
    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    // Qt takes over the user's locale; the player's library knows only the numbers of "C".
    std::setlocale(LC_NUMERIC, "C");
    QApplication::setQuitOnLastWindowClosed(AppDelegate::applicationShouldTerminateAfterLastWindowClosed());
    QGuiApplication::setDesktopFileName(QString::fromLatin1(instance_bus::serviceName));

    InstanceBus bus;
    switch (bus.claim()) {
    case InstanceBus::Role::second:
        return activateRunningInstance();
    case InstanceBus::Role::alone:
        std::fputs("There is no session bus: commands such as 'velmora toggle' will not reach this program.\n", stderr);
        break;
    case InstanceBus::Role::first:
        break;
    }
    VelmoraApp app{application};
    app.launch(bus);
    const int status = QApplication::exec();
    app.finish();
    return status;
}

}  // namespace velmora
