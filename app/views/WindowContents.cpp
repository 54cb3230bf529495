#include "app/views/WindowContents.h"

#include "app/FocusedFolderChooser.h"
#include "app/menu/ShareMenu.h"
#include "app/menu/TrayStatusItem.h"
#include "app/views/FolderChooserWindow.h"
#include "app/views/QuickEngine.h"
#include "library/views/ClipPreviewModel.h"
#include "onboarding/OnboardingModel.h"
#include "settings/SettingsModel.h"
#include "windows/views/WindowPickerModel.h"

#include <QGuiApplication>
#include <QWindow>

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
    auto model = std::make_shared<WindowPickerModel>(
        std::make_shared<WindowSelectionService>(parts.services.platform.shareableContent, parts.services.mainExecutor),
        parts.instances.coordinator);
    auto* picker = model.get();
    auto content = contentOf(pickerView, std::move(model));
    content.didDisappear = [picker] { picker->viewDidDisappear(); };
    return content;
}

QuickContent makePreview(const std::filesystem::path& clip, const WindowContentParts& parts)
{
    const auto& platform = parts.services.platform;
    auto model = std::make_shared<ClipPreviewModel>(clip,
        ClipPreviewModel::Services{
            .players = platform.players,
            .assetReader = platform.assetReader,
            .exportSessions = platform.exportSessions,
            .fileManager = platform.fileManager,
            .library = parts.instances.library,
            .mainExecutor = parts.services.mainExecutor,
            .runningExports = parts.runningExports,
            .share = [sharing = platform.sharingServices](
                         const std::filesystem::path& file, const QPoint& position) { popUpShareMenu(sharing, file, position); },
            .reveal = [workspace = platform.workspace](
                          const std::filesystem::path& file) { workspace->activateFileViewerSelecting({file}); },
            .copy = [sharing = platform.sharingServices](
                        const std::filesystem::path& file) { sharing->perform(platform::copyFileService, file); },
            .play =
                [windows = parts.windows](const std::filesystem::path& file) {
                    if (const auto presenting = windows())
                        presenting->presentClipPreview(file);
                },
        });
    auto* preview = model.get();
    return {
        .view = QUrl{QLatin1String{previewView}},
        .model = std::move(model),
        .willAppear = {},
        // The first one loads the player's library.
        .didAppear = [preview] { preview->setupPlayer(); },
        .didDisappear = [preview] { preview->tearDown(); },
        .onDismiss =
            [preview](std::function<void()> close) { QObject::connect(preview, &ClipPreviewModel::dismissed, preview, std::move(close)); },
    };
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
            .hasTray = hasTray,
        }));
}

QuickContent makeOnboarding(const WindowContentParts& parts)
{
    return contentOf("qrc:/Velmora/Onboarding/OnboardingView.qml",
        std::make_shared<OnboardingModel>(OnboardingModel::Services{
            .coordinator = parts.instances.coordinator,
            .permissionManager = parts.instances.permissionManager,
            .shortcutManager = parts.instances.shortcutManager,
            .userDefaults = parts.services.platform.userDefaults,
            .presentWindowPicker =
                [windows = parts.windows] {
                    if (const auto presenting = windows())
                        presenting->presentWindowPicker();
                },
            .hasTray = hasTray,
        }));
}

}  // namespace

void prepareWindowContents()
{
    prepareView(QUrl{QLatin1String{pickerView}});
    prepareView(QUrl{QLatin1String{previewView}});
}

QuickContent makeWindowContent(const WindowDescription& description, const WindowContentParts& parts)
{
    switch (description.content) {
    case WindowContent::windowPicker:
        return makePicker(parts);
    case WindowContent::clipPreview:
        return makePreview(description.clip, parts);
    case WindowContent::settings:
        return makeSettings(parts);
    case WindowContent::onboarding:
        break;
    }
    return makeOnboarding(parts);
}

}  // namespace velmora
