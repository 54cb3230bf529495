// All of a Mac's services, put together.
#include "platform/PlatformFactory.h"

#include "engine/files/AssetReader.h"
#include "engine/files/AssetRepairer.h"
#include "engine/files/AssetWriter.h"
#include "engine/files/DiscardedRecordings.h"
#include "engine/files/ExportSessions.h"
#include "engine/files/FileMover.h"
#include "engine/sharing/ClipTranscoder.h"
#include "platform/mac/MacAudioEncoder.h"
#include "platform/mac/MacCompressionSession.h"
#include "platform/mac/MacDesktopInspection.h"
#include "platform/mac/MacFileDrags.h"
#include "platform/mac/MacFileManager.h"
#include "platform/mac/MacFloatingWindows.h"
#include "platform/mac/MacFolderChooser.h"
#include "platform/mac/MacHotKeyCenter.h"
#include "platform/mac/MacLogSink.h"
#include "platform/mac/MacLoginItem.h"
#include "platform/mac/MacPictureDecoder.h"
#include "platform/mac/MacPlayers.h"
#include "platform/mac/MacScreenCaptureAccess.h"
#include "platform/mac/MacScreens.h"
#include "platform/mac/MacSharingServices.h"
#include "platform/mac/MacThumbnails.h"
#include "platform/mac/MacTrash.h"
#include "platform/mac/MacTrayAppearance.h"
#include "platform/mac/MacUserDefaults.h"
#include "platform/mac/MacUserNotificationCenter.h"
#include "platform/mac/MacWindowActivation.h"
#include "platform/mac/MacWorkspace.h"
#include "platform/mac/ScreenCapture.h"
#include "platform/mac/SystemVersion.h"
#include "platform/mac/TrashFolder.h"

#include <csignal>
#include <utility>

namespace velmora::platform {

namespace {

/// Where the account has no folder for it, nothing is remembered of what was discarded.
std::filesystem::path recordsFolder()
{
    const auto folder = mac_backend::supportFolder();
    return folder ? *folder / "Discarded" : std::filesystem::path{};
}

}  // namespace

void prepareProcess()
{
    // A file that may not grow any further is an error like any other, not the end of the program.
    std::signal(SIGXFSZ, SIG_IGN);
}

void giveBackUnusedMemory() { }

std::unique_ptr<DesktopInspection> makeDesktopInspection()
{
    using namespace mac_backend;
    return mac_backend::makeDesktopInspection({.system = "macOS " + systemVersion(),
        .screenCaptureAccess = makeScreenCaptureAccess(),
        .compressionSessions = makeCompressionSessions(engine::KeyFrameRequests{}),
        .hotKeyCenter = makeHotKeyCenter(),
        .userNotificationCenter = makeUserNotificationCenters().ordinary,
        .fileManager = mac_backend::makeFileManager()});
}

std::shared_ptr<FileManager> makeFileManager()
{
    return mac_backend::makeFileManager();
}

PlatformServices makePlatformServices(const std::shared_ptr<Executor>& mainExecutor, MakeApplicationIcon, WhenTheDisplayGoes)
{
    using namespace mac_backend;
    PlatformServices services;
    services.logSink = makeLogSink();
    services.fileManager = mac_backend::makeFileManager();
    services.screens = makeScreens();
    const engine::KeyFrameRequests keyFrameRequests;
    auto capture = makeScreenCapture(keyFrameRequests);
    services.shareableContent = std::move(capture.shareableContent);
    services.captureStreams = std::move(capture.captureStreams);
    services.screenCaptureAccess = makeScreenCaptureAccess();
    services.compressionSessions = makeCompressionSessions(keyFrameRequests);
    const auto trash = makeTrash({.trashFor = trashFolderFor, .records = recordsFolder()});
    services.fileMover = engine::makeFileMover(trash);
    const auto discarded = std::make_shared<engine::DiscardedRecordings>(trash);
    services.discardedRecordings = discarded;
    services.assetWriters = std::make_shared<engine::AssetWriterFactory>(makeAudioEncoder,
        engine::CancelledRecordings{.trash = trash, .kept = [discarded](const auto& trashed) { discarded->wasKept(trashed); }},
        keyFrameRequests);
    services.exportWriters = std::make_shared<engine::AssetWriterFactory>(makeAudioEncoder, engine::CancelledRecordings{});
    services.assetRepairer = engine::makeAssetRepairer();
    services.assetReader = std::make_shared<engine::AssetReader>(makePictureDecoder);
    services.thumbnails = makeThumbnails(services.assetReader);
    // Without a decoder of sound and an encoder of single pictures a cut begins at the picture that can be decoded by itself.
    services.exportSessions =
        engine::makeExportSessions({.makeAudioEncoder = makeAudioEncoder, .makePacketDecoder = {}, .makePictureReencoder = {}});
    const auto notYet = [] {
        return fail(std::string{transcodingErrorDomain}, static_cast<int>(TranscodingErrorCode::unsupported),
            "Clips cannot be made smaller on a Mac yet.");
    };
    services.clipTranscoder = engine::makeClipTranscoder(notYet, notYet);
    services.players = makePlayers(mainExecutor);
    services.hotKeyCenter = makeHotKeyCenter();
    auto notifications = makeUserNotificationCenters();
    services.userNotificationCenter = std::move(notifications.ordinary);
    services.quietNotificationCenter = std::move(notifications.quiet);
    services.workspace = makeWorkspace();
    services.userDefaults = makeUserDefaults();
    services.sharingServices = makeSharingServices();
    services.fileDrags = makeFileDrags();
    services.windowActivation = makeWindowActivation();
    services.floatingWindows = makeFloatingWindows();
    services.trayAppearance = makeTrayAppearance();
    services.folderChooser = makeFolderChooser();
    services.loginItem = makeLoginItem();
    return services;
}

}  // namespace velmora::platform
