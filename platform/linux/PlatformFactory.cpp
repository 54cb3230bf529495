// The one place that asks which desktop this is.

#include "platform/PlatformFactory.h"

#include "engine/capture/CaptureStreams.h"
#include "engine/files/AssetRepairer.h"
#include "engine/files/DiscardedRecordings.h"
#include "engine/files/ExportSessions.h"
#include "engine/files/FileMover.h"
#include "platform/linux/CodecModuleServices.h"
#include "platform/linux/JournalSink.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/MemoryAllocation.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/IconTheme.h"
#include "platform/linux/desktop/LinuxFileDrags.h"
#include "platform/linux/desktop/LinuxSharingServices.h"
#include "platform/linux/desktop/LinuxThumbnails.h"
#include "platform/linux/desktop/LinuxUserDefaults.h"
#include "platform/linux/desktop/LinuxUserNotificationCenter.h"
#include "platform/linux/desktop/LinuxWorkspace.h"
#include "platform/linux/desktop/PortalFolderChooser.h"
#include "platform/linux/desktop/Trash.h"
#include "platform/linux/kernel/ProcessRecords.h"
#include "platform/linux/mpv/LinuxPlayers.h"
#include "platform/linux/portal/PortalHotKeyCenter.h"
#include "platform/linux/portal/PortalScreenCaptureAccess.h"
#include "platform/linux/portal/PortalShareableContent.h"
#include "platform/linux/sound/ApplicationAudio.h"
#include "platform/linux/sound/PlayingProcesses.h"
#include "platform/linux/x11/X11DisplayChanges.h"
#include "platform/linux/x11/X11EventThread.h"
#include "platform/linux/x11/X11FloatingWindows.h"
#include "platform/linux/x11/X11HotKeyCenter.h"
#include "platform/linux/x11/X11ScreenCaptureAccess.h"
#include "platform/linux/x11/X11ShareableContent.h"
#include "platform/linux/x11/X11TrayAppearance.h"
#include "platform/linux/x11/X11VideoSource.h"
#include "platform/linux/x11/X11WindowActivation.h"
#include "platform/null/NullServices.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace velmora::platform {

namespace {

// On X11 a point is a pixel.
class PixelScreens final : public Screens {
public:
    [[nodiscard]] std::optional<float> mainScreenBackingScaleFactor() const override { return 1.0F; }
};

std::string_view environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// To the program in the tray, a stream without its display would be one that stopped with an error, whose recording is discarded. The
// program ends anyway, like every client of a server that is gone; so it ends at once, and the next start makes whole what it recorded.
void endWithTheDisplay()
{
    std::fputs("The X display is gone.\n", stderr);
    std::_Exit(EXIT_FAILURE);
}

void useX11(PlatformServices& services, const std::shared_ptr<Executor>& mainExecutor, WhenTheDisplayGoes whenTheDisplayGoes,
    const engine::KeyFrameRequests& keyFrameRequests)
{
    using namespace linux_backend;
    const auto events = std::make_shared<X11EventThread>();
    services.hotKeyCenter = std::make_shared<X11HotKeyCenter>(events, mainExecutor);
    services.screenCaptureAccess = std::make_shared<X11ScreenCaptureAccess>();
    services.shareableContent = std::make_shared<X11ShareableContent>(
        "", DesktopEntries::fromEnvironment(),
        [theme = IconTheme::fromEnvironment()](
            const std::string& icon, const std::string& name, int side) mutable { return theme.draw(icon, name, side); },
        makeSoundActivity());
    services.captureStreams = engine::makeCaptureStreams({
        .makeVideoSource =
            [whenTheDisplayGoes](const ContentFilter& filter, const StreamConfiguration& configuration) {
                X11VideoSource::Options options;
                if (whenTheDisplayGoes == WhenTheDisplayGoes::theProgramEnds)
                    options.displayIsGone = endWithTheDisplay;
                return std::make_unique<X11VideoSource>(filter.window().windowID, configuration, makePictureScaler, std::move(options));
            },
        .makeAudioSource = makeApplicationAudioSource,
        .shareableContent = services.shareableContent,
        .listSoundStreams = listEverySoundStream,
        .processes = systemProcesses(),
        .keyFrameRequests = keyFrameRequests,
    });
    services.windowActivation = std::make_shared<X11WindowActivation>();
    services.floatingWindows = std::make_shared<X11FloatingWindows>(events);
    services.trayAppearance = std::make_shared<X11TrayAppearance>();
    services.workspace = makeWorkspace({.observeDisplays =
                                            [events, mainExecutor](std::function<void()> changed) {
                                                // For the rest of the process, like the workspace itself.
                                                static std::unique_ptr<X11DisplayChanges> displays;
                                                if (auto observed = X11DisplayChanges::observe(events, mainExecutor, std::move(changed)))
                                                    displays = std::move(*observed);
                                            },
        .sessionBusAddress = {},
        .systemBusAddress = {},
        .startDetached = {}});
}

void usePortal(PlatformServices& services, const std::shared_ptr<Executor>& mainExecutor, const engine::KeyFrameRequests& keyFrameRequests)
{
    using namespace linux_backend;
    const auto content =
        std::make_shared<PortalShareableContent>(mainExecutor, PortalShareableContentOptions{.listSoundStreams = listSoundStreams});
    services.shareableContent = content;
    services.captureStreams = engine::makeCaptureStreams({
        .makeVideoSource =
            [content](const ContentFilter& filter, const StreamConfiguration& configuration) {
                return content->makeVideoSource(filter.window().windowID, configuration, makePictureScaler);
            },
        .makeAudioSource = makeApplicationAudioSource,
        .audioTarget = [content](const ContentFilter& filter) { return content->audioTarget(filter.window().windowID); },
        .shareableContent = content,
        .listSoundStreams = listEverySoundStream,
        .processes = systemProcesses(),
        .keyFrameRequests = keyFrameRequests,
    });
    services.screenCaptureAccess = std::make_shared<PortalScreenCaptureAccess>();
    services.hotKeyCenter = std::make_shared<PortalHotKeyCenter>();
    services.windowActivation = null_backend::makeWindowActivation();
    services.floatingWindows = null_backend::makeFloatingWindows();
    services.trayAppearance = null_backend::makeTrayAppearance();
    services.workspace = makeWorkspace({});
}

void useNothing(PlatformServices& services, const char* reason)
{
    services.shareableContent = null_backend::makeShareableContent(reason);
    services.captureStreams = null_backend::makeCaptureStreams(reason);
    services.hotKeyCenter = null_backend::makeHotKeyCenter();
    services.screenCaptureAccess = null_backend::makeScreenCaptureAccess(reason);
    services.windowActivation = null_backend::makeWindowActivation();
    services.floatingWindows = null_backend::makeFloatingWindows();
    services.trayAppearance = null_backend::makeTrayAppearance();
    services.workspace = linux_backend::makeWorkspace({});
}

}  // namespace

void prepareProcess()
{
    linux_backend::limitRetainedMemory();
    // A file that may not grow any further is an error like any other, not the end of the program.
    ::signal(SIGXFSZ, SIG_IGN);
}

void giveBackUnusedMemory()
{
    linux_backend::giveBackUnusedMemory();
}

std::shared_ptr<FileManager> makeFileManager()
{
    return linux_backend::makeFileManager();
}

PlatformServices makePlatformServices(
    const std::shared_ptr<Executor>& mainExecutor, MakeApplicationIcon makeIcon, WhenTheDisplayGoes whenTheDisplayGoes)
{
    using namespace linux_backend;
    PlatformServices services;
    services.logSink = makeLogSink();
    services.fileManager = linux_backend::makeFileManager();
    services.screens = std::make_shared<PixelScreens>();
    const engine::KeyFrameRequests keyFrameRequests;
    services.compressionSessions = makeCompressionSessions(keyFrameRequests);
    services.exportWriters = makeAssetWriters({});
    const auto trash = std::make_shared<Trash>(Trash::placesOfUser(services.fileManager->homeDirectory()));
    services.fileMover = engine::makeFileMover(trash);
    const auto discarded = std::make_shared<engine::DiscardedRecordings>(trash);
    services.discardedRecordings = discarded;
    services.assetWriters =
        makeAssetWriters({.trash = trash, .kept = [discarded](const auto& trashed) { discarded->wasKept(trashed); }}, keyFrameRequests);
    services.assetRepairer = engine::makeAssetRepairer();
    services.assetReader = makeAssetReader();
    services.thumbnails = makeThumbnails(services.assetReader, thumbnailsFolder(services.fileManager->homeDirectory()));
    services.exportSessions = engine::makeExportSessions(makeSeamCodecs());
    services.clipTranscoder = makeClipTranscoder();
    services.players = makePlayers(services.assetReader, mainExecutor);
    services.quietNotificationCenter = makeUserNotificationCenter({.makeIcon = makeIcon, .isQuiet = true});
    services.userNotificationCenter = makeUserNotificationCenter({.makeIcon = std::move(makeIcon)});
    services.userDefaults = makeUserDefaults();
    services.sharingServices = makeSharingServices();
    services.fileDrags = makeFileDrags();
    services.folderChooser = makePortalFolderChooser();
    services.loginItem = makeLoginItem(AutostartOptions::fromEnvironment(services.fileManager->homeDirectory()));
    // Xwayland would answer too, but shows only some of the windows, and those not whole.
    if (!environment("WAYLAND_DISPLAY").empty() || environment("XDG_SESSION_TYPE") == "wayland")
        usePortal(services, mainExecutor, keyFrameRequests);
    else if (!environment("DISPLAY").empty())
        useX11(services, mainExecutor, whenTheDisplayGoes, keyFrameRequests);
    else
        useNothing(services, "There is no display: neither DISPLAY nor WAYLAND_DISPLAY is set.");
    return services;
}

}  // namespace velmora::platform
