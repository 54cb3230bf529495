// A coordinator on top of fakes, for tests of what stands above it.
#pragma once

#include "capture/CaptureCoordinator.h"
#include "platform/fake/FakeAssetReader.h"
#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCaptureStream.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeCompressionSession.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeHotKeyCenter.h"
#include "platform/fake/FakeScreens.h"
#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/FakeUserNotificationCenter.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/TemporaryDirectory.h"

#include <memory>

namespace velmora::test {

struct CoordinatorFixture {
    /// What is not to be a fake.
    struct Parts {
        std::shared_ptr<platform::AssetWriterFactory> assetWriters = nullptr;
        std::shared_ptr<platform::CompressionSessionFactory> compressionSessions = nullptr;
    };

    CoordinatorFixture() : CoordinatorFixture(Parts{}) { }

    explicit CoordinatorFixture(const Parts& parts)
        : assetWriters(parts.assetWriters ? parts.assetWriters : writers)
        , compressionSessions(parts.compressionSessions ? parts.compressionSessions : std::make_shared<fake::FakeCompressionSessions>())
    {
        fileManager->movies = {folder.path()};
        content->content.displays = {{1, {0, 0, 1920, 1080}}};
    }

    /// A window that can be captured, at the place and size that `window` says.
    void addLiveWindow(const CapturedWindowInfo& window)
    {
        content->content.windows.push_back({
            .windowID = window.id,
            .title = window.title,
            .frame = window.frame,
            .windowLayer = 0,
            .isOnScreen = true,
            .owningApplication = platform::RunningApplication{window.bundleID, window.appName, 4242},
        });
    }

    TemporaryDirectory folder;
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::shared_ptr<fake::FakeAssetReader> assetReader = std::make_shared<fake::FakeAssetReader>();
    std::shared_ptr<fake::FakeWorkspace> workspace = std::make_shared<fake::FakeWorkspace>();
    std::shared_ptr<fake::FakeScreenCaptureAccess> access = std::make_shared<fake::FakeScreenCaptureAccess>();
    std::shared_ptr<fake::FakeUserNotificationCenter> notificationCenter = std::make_shared<fake::FakeUserNotificationCenter>();
    std::shared_ptr<fake::FakeHotKeyCenter> hotKeyCenter = std::make_shared<fake::FakeHotKeyCenter>();
    std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    std::shared_ptr<fake::FakeCaptureStreams> streams = std::make_shared<fake::FakeCaptureStreams>();
    std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    const std::shared_ptr<platform::AssetWriterFactory> assetWriters;
    const std::shared_ptr<platform::CompressionSessionFactory> compressionSessions;

    std::shared_ptr<ClipLibrary> library =
        std::make_shared<ClipLibrary>(ClipLibrary::Services{{fileManager, assetReader, clock, executor}, workspace});
    std::shared_ptr<PermissionManager> permissionManager =
        std::make_shared<PermissionManager>(PermissionManager::Services{access, notificationCenter, workspace, executor});
    std::shared_ptr<KeyboardShortcutManager> shortcutManager =
        std::make_shared<KeyboardShortcutManager>(KeyboardShortcutManager::Services{hotKeyCenter, clock, executor});
    std::shared_ptr<ScreenCaptureKitService> captureService = ScreenCaptureKitService::create(
        {content, streams, compressionSessions, assetWriters, fileManager, std::make_shared<fake::FakeScreens>(), executor});
    std::shared_ptr<CaptureCoordinator> coordinator = CaptureCoordinator::create(
        {*library, *permissionManager, *shortcutManager, captureService, assetWriters, fileManager, workspace, clock, executor});
};

}  // namespace velmora::test
