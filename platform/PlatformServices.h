// Seam: all platform services of this process.
#pragma once

#include "platform/Asset.h"
#include "platform/AssetRepairer.h"
#include "platform/AssetWriter.h"
#include "platform/CaptureStream.h"
#include "platform/ClipTranscoder.h"
#include "platform/CompressionSession.h"
#include "platform/DiscardedRecordings.h"
#include "platform/ExportSession.h"
#include "platform/FileDrags.h"
#include "platform/FileManager.h"
#include "platform/FileMover.h"
#include "platform/FloatingWindows.h"
#include "platform/FolderChooser.h"
#include "platform/HotKeyCenter.h"
#include "platform/LogSink.h"
#include "platform/LoginItem.h"
#include "platform/Player.h"
#include "platform/ScreenCaptureAccess.h"
#include "platform/Screens.h"
#include "platform/ShareableContent.h"
#include "platform/SharingServices.h"
#include "platform/Thumbnails.h"
#include "platform/TrayAppearance.h"
#include "platform/UserDefaults.h"
#include "platform/UserNotificationCenter.h"
#include "platform/WindowActivation.h"
#include "platform/Workspace.h"

#include <memory>

namespace velmora::platform {

/// Every member is set. In place of a service that this desktop cannot provide there is one that says why when it is used.
struct PlatformServices {
    std::shared_ptr<LogSink> logSink;
    std::shared_ptr<FileManager> fileManager;
    std::shared_ptr<FileMover> fileMover;
    std::shared_ptr<Screens> screens;
    std::shared_ptr<ShareableContentProvider> shareableContent;
    std::shared_ptr<CaptureStreamFactory> captureStreams;
    std::shared_ptr<CompressionSessionFactory> compressionSessions;
    std::shared_ptr<AssetWriterFactory> assetWriters;

    /// For clips whose samples are all there already: what they write is no recording, and nobody counts it.
    std::shared_ptr<AssetWriterFactory> exportWriters;
    std::shared_ptr<DiscardedRecordings> discardedRecordings;
    std::shared_ptr<AssetRepairer> assetRepairer;
    std::shared_ptr<AssetReader> assetReader;
    std::shared_ptr<Thumbnails> thumbnails;
    std::shared_ptr<ExportSessionFactory> exportSessions;
    std::shared_ptr<ClipTranscoder> clipTranscoder;
    std::shared_ptr<PlayerFactory> players;
    std::shared_ptr<HotKeyCenter> hotKeyCenter;
    std::shared_ptr<ScreenCaptureAccess> screenCaptureAccess;
    std::shared_ptr<UserNotificationCenter> userNotificationCenter;

    /// For what is worth knowing but not worth an interruption. It has categories and a delegate of its own.
    std::shared_ptr<UserNotificationCenter> quietNotificationCenter;
    std::shared_ptr<Workspace> workspace;
    std::shared_ptr<UserDefaults> userDefaults;
    std::shared_ptr<SharingServices> sharingServices;
    std::shared_ptr<FileDrags> fileDrags;
    std::shared_ptr<WindowActivation> windowActivation;
    std::shared_ptr<FloatingWindows> floatingWindows;
    std::shared_ptr<TrayAppearance> trayAppearance;
    std::shared_ptr<FolderChooser> folderChooser;
    std::shared_ptr<LoginItem> loginItem;
};

}  // namespace velmora::platform
