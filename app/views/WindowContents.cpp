#include "app/views/WindowContents.h"

#include "app/FocusedFolderChooser.h"
#include "app/FolderWatch.h"
#include "app/menu/ShareMenu.h"
#include "app/views/ClipDrags.h"
#include "app/views/FolderChooserWindow.h"
#include "app/views/QuickEngine.h"
#include "base/SerialQueue.h"
#include "capture/replay/ClipAudioSettings.h"
#include "library/views/ClipPreviewModel.h"
#include "library/views/ClipsModel.h"
#include "onboarding/OnboardingModel.h"
#include "settings/SettingsModel.h"
#include "windows/views/WindowPickerModel.h"

#include <QGuiApplication>
#include <QWindow>

#include <memory>
#include <utility>

namespace velmora {

namespace {

constexpr const char* pickerView = "qrc:/Velmora/Windows/WindowPickerView.qml";
constexpr const char* previewView = "qrc:/Velmora/Library/ClipPreviewView.qml";

template <typename Model>
QuickContent contentOf(const char* view, std::shared_ptr<Model> model)
{
    auto* shown = model.get();
    return {
        .view = QUrl{QLatin1String{view}},
        .model = std::move(model),
        .willAppear = [shown] { shown->viewWillAppear(); },
        .didAppear = {},
        .didDisappear = {},
        .onDismiss = [shown](std::function<void()> close) { QObject::connect(shown, &Model::dismissed, shown, std::move(close)); },
    };
}

std::uint64_t focusedX11Window()
{
    const auto* focused = QGuiApplication::focusWindow();
    return focused && qGuiApp->nativeInterface<QNativeInterface::QX11Application>() ? focused->winId() : 0;
}

QuickContent makePicker(const WindowContentParts& parts)
{
    const auto service = std::make_shared<WindowSelectionService>(parts.services.platform.shareableContent, parts.services.mainExecutor);
    auto model = std::make_shared<WindowPickerModel>(service, parts.instances.coordinator);
    auto* picker = model.get();
    auto content = contentOf(pickerView, std::move(model));
    // Once it is listed a capture is likely to come, and what that loads is dear.
    QObject::connect(
        service.get(), &WindowSelectionService::availableWindowsChanged, picker,
        [writers = parts.services.platform.assetWriters] {
            if (auto* preparation = writers->soundPreparation())
                preparation->prepareSound(clipAudioSettings);
        },
        Qt::QueuedConnection);
    content.didDisappear = [picker] { picker->viewDidDisappear(); };
    return content;
}

std::function<void(const std::filesystem::path&, const QPoint&)> shareMenuOf(const WindowContentParts& parts)
{
    return [sharing = parts.services.platform.sharingServices, smallFiles = parts.smallFiles](
               const std::filesystem::path& file, const QPoint& position) { popUpShareMenu(sharing, smallFiles, file, position); };
}

QuickContent makePreview(const WindowDescription& description, const WindowContentParts& parts)
{
    const auto& platform = parts.services.platform;
    auto model = std::make_shared<ClipPreviewModel>(description.clip,
        ClipPreviewModel::Services{
            .players = platform.players,
            .assetReader = platform.assetReader,
            .exportSessions = platform.exportSessions,
            .fileManager = platform.fileManager,
            .library = parts.instances.library,
            .mainExecutor = parts.services.mainExecutor,
            .runningExports = parts.runningExports,
            .share = shareMenuOf(parts),
            .reveal = [workspace = platform.workspace](
                          const std::filesystem::path& file) { workspace->activateFileViewerSelecting({file}); },
            .fileBrowserName = [workspace = platform.workspace] { return workspace->fileBrowserName(); },
            .copy = [sharing = platform.sharingServices](
                        const std::filesystem::path& file) { sharing->perform(platform::copyFileService, file); },
            .play =
                [windows = parts.windows](const std::filesystem::path& file) {
                    if (const auto presenting = windows())
                        presenting->presentPlayingClip(file);
                },
            .drag = makeClipDrags(parts.services),
            .smallFiles = parts.smallFiles,
        });
    auto* preview = model.get();
    if (description.playsAtOnce)
        preview->playOnceLoaded();
    return {
        .view = QUrl{QLatin1String{previewView}},
        .model = std::move(model),
        .willAppear = {},
        // What its picture needs is loaded behind the first frame: beside it, that waits for the same memory map and processors.
        .didAppear = [preview] { preview->setupPlayer(); },
        .didDisappear = [preview] { preview->tearDown(); },
        .onDismiss =
            [preview](std::function<void()> close) { QObject::connect(preview, &ClipPreviewModel::dismissed, preview, std::move(close)); },
    };
}

QuickContent makeClips(const WindowContentParts& parts)
{
    const auto& platform = parts.services.platform;
    auto model = std::make_shared<ClipsModel>(ClipsModel::Services{
        .library = parts.instances.library,
        .folder =
            {
                .fileManager = platform.fileManager,
                .fileMover = platform.fileMover,
                .assetReader = platform.assetReader,
                .mainExecutor = parts.services.mainExecutor,
                .worker = std::make_shared<SerialQueue>("com.velmora.clips", SerialQueue::QualityOfService::userInitiated),
            },
        .thumbnails = platform.thumbnails,
        .clock = parts.services.clock,
        .open =
            [windows = parts.windows](const std::filesystem::path& file) {
                if (const auto presenting = windows())
                    presenting->presentClipPreview(file);
            },
        .share = shareMenuOf(parts),
        .copy = [sharing = platform.sharingServices](
                    const std::filesystem::path& file) { sharing->perform(platform::copyFileService, file); },
        .reveal = [workspace = platform.workspace](
                      const std::vector<std::filesystem::path>& files) { workspace->activateFileViewerSelecting(files); },
        .drag = makeClipDrags(parts.services),
        .fileBrowserName = [workspace = platform.workspace] { return workspace->fileBrowserName(); },
        .smallFiles = parts.smallFiles,
    });
    auto* clips = model.get();
    auto content = contentOf("qrc:/Velmora/Library/ClipsView.qml", std::move(model));
    const auto watch = std::make_shared<std::unique_ptr<FolderWatch>>();  // none while nobody looks
    content.willAppear = [clips, watch] {
        *watch = std::make_unique<FolderWatch>([clips] { clips->reload(); });
        // One that is gone is found again where it was.
        QObject::connect(clips, &ClipsModel::clipsChanged, watch->get(), [clips, watch = watch->get()] { watch->watch(clips->folder()); });
        (*watch)->watch(clips->folder());
        clips->viewWillAppear();
    };
    content.didDisappear = [clips, watch] {
        watch->reset();
        clips->viewDidDisappear();
    };
    return content;
}

QuickContent makeSettings(const WindowContentParts& parts)
{
    const auto& platform = parts.services.platform;
    return contentOf("qrc:/Velmora/Settings/SettingsView.qml",
        std::make_shared<SettingsModel>(SettingsModel::Services{
            .library = parts.instances.library,
            .permissionManager = parts.instances.permissionManager,
            .shortcutManager = parts.instances.shortcutManager,
            .workspace = platform.workspace,
            .fileManager = platform.fileManager,
            .folderChooser = std::make_shared<FocusedFolderChooser>(
                platform.folderChooser, makeFolderChooserWindow(platform.fileManager, platform.windowActivation), focusedX11Window),
            .loginItem = platform.loginItem,
            .presentOnboarding =
                [windows = parts.windows] {
                    if (const auto presenting = windows())
                        presenting->presentOnboarding();
                },
            .hasTray = [&host = parts.trayHost] { return host.isThere(); },
        }));
}

QuickContent makeOnboarding(const WindowContentParts& parts)
{
    auto model = std::make_shared<OnboardingModel>(OnboardingModel::Services{
        .coordinator = parts.instances.coordinator,
        .permissionManager = parts.instances.permissionManager,
        .shortcutManager = parts.instances.shortcutManager,
        .userDefaults = parts.services.platform.userDefaults,
        .presentWindowPicker =
            [windows = parts.windows] {
                if (const auto presenting = windows())
                    presenting->presentWindowPicker();
            },
        .hasTray = [&host = parts.trayHost] { return host.isThere(); },
    });
    QObject::connect(&parts.trayHost, &TrayHost::answered, model.get(), &OnboardingModel::trayChanged);
    return contentOf("qrc:/Velmora/Onboarding/OnboardingView.qml", std::move(model));
}

}  // namespace

void prepareWindowContents()
{
    prepareView(QUrl{QLatin1String{pickerView}});
    prepareView(QUrl{QLatin1String{previewView}});
}

void preparePreview(platform::PlayerFactory& players)
{
    prepareView(QUrl{QLatin1String{previewView}});
    players.prepare([] {});
}

QuickContent makeWindowContent(const WindowDescription& description, const WindowContentParts& parts)
{
    switch (description.content) {
    case WindowContent::windowPicker:
        return makePicker(parts);
    case WindowContent::clipPreview:
        return makePreview(description, parts);
    case WindowContent::settings:
        return makeSettings(parts);
    case WindowContent::clips:
        return makeClips(parts);
    case WindowContent::onboarding:
        break;
    }
    return makeOnboarding(parts);
}

}  // namespace velmora
