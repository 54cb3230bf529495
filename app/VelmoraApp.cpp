#include "app/VelmoraApp.h"

#include "app/AppControl.h"
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/FolderWatch.h"
#include "app/MainThreadClock.h"
#include "app/MainThreadExecutor.h"
#include "app/RecordingObserver.h"
#include "app/TerminationSignals.h"
#include "app/control/ControlCommands.h"
#include "app/control/InstanceBus.h"
#include "app/menu/ShareMenu.h"
#include "app/menu/TrayStatusItem.h"
#include "app/views/AlertWindows.h"
#include "app/views/HudPanelWindow.h"
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

/// Everything that lives as long as the program runs, from the ground up.
class VelmoraApp {
public:
    explicit VelmoraApp(QApplication& application) : mainExecutor_(std::make_shared<MainThreadExecutor>())
    {
        SharedServices::install({recordingObserver_->observed(platform::makePlatformServices(mainExecutor_, applicationIcon)),
            mainExecutor_, std::make_shared<MainThreadClock>()});
        const auto& services = SharedServices::current();
        Log::setSink(services.platform.logSink);

        followTheDesktopsMotion(*services.platform.workspace);
        const auto alerts = makeAlertWindows(services.platform.windowActivation);
        const auto windows = std::make_shared<QuickWindowFactory>(
            services.platform.windowActivation, [runningExports = runningExports_](const WindowDescription& description) {
                return makeWindowContent(description, SharedServices::current(), runningExports);
            });
        appDelegate_ = AppDelegate::create({
            .coordinator = CaptureCoordinator::shared(),
            .permissionManager = PermissionManager::shared(),
            .userDefaults = services.platform.userDefaults,
            .windows = windows,
            .alerts = alerts,
            .notificationController = makeNotificationController(services),
            .mainExecutor = mainExecutor_,
            .makeMenuBarController =
                [this, alerts](std::weak_ptr<WindowPresenting> presenting) {
                    return std::make_unique<MenuBarController>(
                        MenuBarController::Services{
                            .coordinator = CaptureCoordinator::shared(),
                            .library = ClipLibrary::shared(),
                            .workspace = SharedServices::current().platform.workspace,
                            .alerts = alerts,
                            .windows = std::move(presenting),
                            .terminate = [this] { terminate(); },
                        },
                        makeTrayStatusItem(SharedServices::current().platform.trayAppearance));
                },
            .recordingObserver = recordingObserver_,
        });
        QObject::connect(&application, &QCoreApplication::aboutToQuit, &application, [this] { appDelegate_->applicationWillTerminate(); });
        QObject::connect(&signals_, &TerminationSignals::received, &application, [this] { terminate(); });
        // A session that ends asks first and gives more time for the answer than for the end.
        QObject::connect(
            &application, &QGuiApplication::commitDataRequest, &application, [this] { waitForSaves(); }, Qt::DirectConnection);
    }

    void launch(InstanceBus& bus)
    {
        appDelegate_->applicationDidFinishLaunching();
        auto* menuBar = appDelegate_->menuBarController();
        control_ = std::make_unique<AppControl>(AppControl::Services{
            .coordinator = CaptureCoordinator::shared(),
            .permissionManager = PermissionManager::shared(),
            .shortcutManager = KeyboardShortcutManager::shared(),
            .windowService = std::make_shared<WindowSelectionService>(
                SharedServices::current().platform.shareableContent, SharedServices::current().mainExecutor),
            .windows = appDelegate_,
            .userDefaults = SharedServices::current().platform.userDefaults,
            .showMenu = [this, menuBar] { showMenu(*menuBar); },
            .quit =
                [menuBar] {
                    MenuItem quit;
                    quit.action = MenuAction::quit;
                    menuBar->handle(quit);
                },
            .notice = [this] { return appDelegate_->notice(); },
            .recordingObserver = recordingObserver_,
        });
        bus.serve(*control_);
        const auto& platform = SharedServices::current().platform;
        interruptedRecordings_.emplace(platform.fileManager, platform.assetRepairer, mainExecutor_);
        interruptedRecordings_->follow(*ClipLibrary::shared());
        followTheClipsFolder();
        if (!hasTray())
            showMenu(*menuBar);
    }

    /// Returns when nothing of this program writes any more.
    void finish()
    {
        runningExports_->cancelAll();
        CaptureCoordinator::shared()->drain();
    }

private:
    // Commands make clips there too, and people with a file browser.
    void followTheClipsFolder()
    {
        const auto watch = [this] { folderWatch_.watch(ClipLibrary::shared()->effectiveOutputDirectory()); };
        QObject::connect(ClipLibrary::shared().get(), &ClipLibrary::recentClipsChanged, &folderWatch_, watch);
        watch();
    }

    static void reloadClips()
    {
        // A scan makes the folder; one that somebody deleted stays away until there is a clip for it.
        const auto library = ClipLibrary::shared();
        if (SharedServices::current().platform.fileManager->fileExists(library->effectiveOutputDirectory()))
            library->reloadClips();
    }

    static void followTheDesktopsMotion(platform::Workspace& workspace)
    {
        const auto follow = [&workspace] { setReducesMotion(workspace.accessibilityDisplayShouldReduceMotion()); };
        workspace.addObserver(
            {.willSleep = {}, .didWake = {}, .screenParametersDidChange = {}, .accessibilityDisplayOptionsDidChange = follow});
        follow();
    }

    static std::shared_ptr<ClipSavedNotificationController> makeNotificationController(const SharedServices& services)
    {
        const auto workspace = services.platform.workspace;
        const auto sharing = services.platform.sharingServices;
        return ClipSavedNotificationController::create({
            .notificationCenter = services.platform.userNotificationCenter,
            .workspace = workspace,
            .clock = services.clock,
            .mainExecutor = services.mainExecutor,
            .windows = [] { return AppDelegate::shared(); },
            .makePanel =
                [workspace, sharing, activation = services.platform.windowActivation, floating = services.platform.floatingWindows] {
                    return makeHudPanelWindow(
                        {
                            .preview =
                                [](const std::filesystem::path& clip) {
                                    if (const auto delegate = AppDelegate::shared())
                                        delegate->presentClipPreview(clip);
                                },
                            .share = [sharing](const std::filesystem::path& clip,
                                         const QPoint& position) { popUpShareMenu(sharing, clip, position); },
                            .reveal = [workspace](const std::filesystem::path& clip) { workspace->activateFileViewerSelecting({clip}); },
                        },
                        {activation, floating});
                },
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

    // Without a tray the menu lies open in a window of its own.
    void showMenu(MenuBarController& menuBar)
    {
        if (hasTray())
            return menuBar.statusItem().popUpMenu();
        if (!statusWindow_)
            statusWindow_ = makeStatusWindow(menuBar, *CaptureCoordinator::shared(), SharedServices::current().platform.windowActivation);
        statusWindow_->makeKeyAndOrderFront();
    }

    const std::shared_ptr<MainThreadExecutor> mainExecutor_;
    const std::shared_ptr<RecordingObserver> recordingObserver_ = RecordingObserver::create(mainExecutor_);
    const std::shared_ptr<RunningExports> runningExports_ = std::make_shared<RunningExports>();
    TerminationSignals signals_;
    FolderWatch folderWatch_{reloadClips};
    std::optional<InterruptedRecordings> interruptedRecordings_;
    std::shared_ptr<AppDelegate> appDelegate_;
    std::unique_ptr<AppControl> control_;
    std::shared_ptr<ApplicationWindow> statusWindow_;
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
    // What the item in the tray tells as its identifier and its title.
    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    // Qt takes the user's locale over; the player's library knows numbers of "C" only.
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
