#include "app/views/WindowContents.h"

#include "app/AppDelegate.h"
#include "app/FocusedFolderChooser.h"
#include "app/menu/ShareMenu.h"
#include "app/menu/TrayStatusItem.h"
#include "app/views/FolderChooserWindow.h"
#include "library/views/ClipPreviewModel.h"
#include "onboarding/OnboardingModel.h"
#include "settings/SettingsModel.h"
#include "windows/views/WindowPickerModel.h"

#include <QGuiApplication>
#include <QWindow>

namespace velmora {

namespace {

template <typename Model>
QuickContent contentOf(const char* view, std::shared_ptr<Model> model)
{
    auto* shown = model.get();
    return {
        .view = QUrl{QLatin1String{view}},
        .model = std::move(model),
        .willAppear = [shown] { shown->viewWillAppear(); },
        .didDisappear = {},
        .onDismiss = [shown](std::function<void()> close) { QObject::connect(shown, &Model::dismissed, shown, std::move(close)); },
    };
}

std::uint64_t focusedX11Window()
{
    const auto* focused = QGuiApplication::focusWindow();
    return focused && qGuiApp->nativeInterface<QNativeInterface::QX11Application>() ? focused->winId() : 0;
}

QString placeCaption()
{
    if (hasTray())
        return QStringLiteral("On this desktop the menu bar is your panel's tray, and the Dock is its task bar or launcher.");
    return QStringLiteral("This desktop has no tray: Velmora's menu is open in a small window of its own. Start Velmora again to bring it "
                          "back. The icon appears as soon as there is a tray.");
}

QuickContent makePicker(const SharedServices& services)
{
    auto model = std::make_shared<WindowPickerModel>(
        std::make_shared<WindowSelectionService>(services.platform.shareableContent, services.mainExecutor), CaptureCoordinator::shared());
    auto* picker = model.get();
    auto content = contentOf("qrc:/Velmora/Windows/WindowPickerView.qml", std::move(model));
    content.didDisappear = [picker] { picker->viewDidDisappear(); };
    return content;
}

QuickContent makePreview(
    const std::filesystem::path& clip, const SharedServices& services, const std::shared_ptr<RunningExports>& runningExports)
{
    const auto& platform = services.platform;
    auto model = std::make_shared<ClipPreviewModel>(clip,
        ClipPreviewModel::Services{
            .players = platform.players,
            .assetReader = platform.assetReader,
            .exportSessions = platform.exportSessions,
            .fileManager = platform.fileManager,
            .library = ClipLibrary::shared(),
            .mainExecutor = services.mainExecutor,
            .runningExports = runningExports,
            .share = [sharing = platform.sharingServices, clip](const QPoint& position) { popUpShareMenu(sharing, clip, position); },
            .reveal = [workspace = platform.workspace, clip] { workspace->activateFileViewerSelecting({clip}); },
        });
    auto* preview = model.get();
    return {
        .view = QUrl{QStringLiteral("qrc:/Velmora/Library/ClipPreviewView.qml")},
        .model = std::move(model),
        .willAppear = [preview] { preview->setupPlayer(); },
        .didDisappear = [preview] { preview->tearDown(); },
        .onDismiss =
            [preview](std::function<void()> close) { QObject::connect(preview, &ClipPreviewModel::dismissed, preview, std::move(close)); },
    };
}

QuickContent makeSettings(const SharedServices& services)
{
    const auto& platform = services.platform;
    return contentOf("qrc:/Velmora/Settings/SettingsView.qml",
        std::make_shared<SettingsModel>(SettingsModel::Services{
            .library = ClipLibrary::shared(),
            .permissionManager = PermissionManager::shared(),
            .shortcutManager = KeyboardShortcutManager::shared(),
            .workspace = platform.workspace,
            .fileManager = platform.fileManager,
            .folderChooser = std::make_shared<FocusedFolderChooser>(
                platform.folderChooser, makeFolderChooserWindow(platform.fileManager, platform.windowActivation), focusedX11Window),
            .presentOnboarding =
                [] {
                    if (const auto delegate = AppDelegate::shared())
                        delegate->presentOnboarding();
                },
            .hasTray = hasTray,
        }));
}

QuickContent makeOnboarding(const SharedServices& services)
{
    return contentOf("qrc:/Velmora/Onboarding/OnboardingView.qml",
        std::make_shared<OnboardingModel>(OnboardingModel::Services{
            .coordinator = CaptureCoordinator::shared(),
            .permissionManager = PermissionManager::shared(),
            .shortcutManager = KeyboardShortcutManager::shared(),
            .userDefaults = services.platform.userDefaults,
            .presentWindowPicker =
                [] {
                    if (const auto delegate = AppDelegate::shared())
                        delegate->presentWindowPicker();
                },
            .placeCaption = placeCaption,
            .hasTray = hasTray,
        }));
}

}  // namespace

QuickContent makeWindowContent(
    const WindowDescription& description, const SharedServices& services, const std::shared_ptr<RunningExports>& runningExports)
{
    switch (description.content) {
    case WindowContent::windowPicker:
        return makePicker(services);
    case WindowContent::clipPreview:
        return makePreview(description.clip, services, runningExports);
    case WindowContent::settings:
        return makeSettings(services);
    case WindowContent::onboarding:
        break;
    }
    return makeOnboarding(services);
}

}  // namespace velmora
