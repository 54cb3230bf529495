#include "app/views/PlainContent.h"

#include "app/AppDelegate.h"
#include "library/ClipLibrary.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

#include <QPointer>

namespace velmora {

namespace {

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

QuickContent contentOf(std::shared_ptr<PlainModel> model, std::function<void()> willAppear = {})
{
    auto* plain = model.get();
    return {
        .view = QUrl{QStringLiteral("qrc:/Velmora/App/views/PlainView.qml")},
        .model = std::move(model),
        .willAppear = std::move(willAppear),
        .onDismiss = [plain](std::function<void()> close) { QObject::connect(plain, &PlainModel::dismissed, plain, std::move(close)); },
    };
}

QuickContent onboarding(const SharedServices& services)
{
    auto model = std::make_shared<PlainModel>(QStringLiteral("Welcome to Velmora"),
        std::vector<PlainModel::Button>{
            {QStringLiteral("Choose a Window"),
                [defaults = services.platform.userDefaults] {
                    defaults->setBoolean(hasCompletedWalkthroughKey, true);
                    if (const auto delegate = AppDelegate::shared())
                        delegate->presentWindowPicker();
                }},
        });
    model->setParagraphs({
        QStringLiteral("Choose the window that plays your video. Velmora then watches that one window, and hears that one program."),
        QStringLiteral("Press Alt+Super+C anywhere to start a recording, and again to save it. The clip is in your videos folder at once."),
        QStringLiteral("Everything else is in the menu of Velmora's icon."),
    });
    return contentOf(std::move(model));
}

QString shortcutText(const KeyboardShortcutManager& shortcuts)
{
    if (shortcuts.isRegistered())
        return QStringLiteral("The shortcut Alt+Super+C is active.");
    return text(shortcuts.registrationErrorMessage().value_or("The shortcut Alt+Super+C is not active."))
        + QStringLiteral(
            "\nAnother program uses these keys, or the desktop keeps them. Bind a key of your own to 'velmora toggle' instead.");
}

QString permissionText(const PermissionManager& permissions)
{
    return permissions.hasScreenRecordingPermission() ? QStringLiteral("Windows can be recorded.")
                                                      : text(permissions.screenRecordingExplanation());
}

QuickContent settings(const SharedServices& services)
{
    auto model = std::make_shared<PlainModel>(QStringLiteral("Settings"),
        std::vector<PlainModel::Button>{
            {QStringLiteral("Open Clips Folder"),
                [workspace = services.platform.workspace] { workspace->open(ClipLibrary::shared()->effectiveOutputDirectory()); }},
        });
    auto willAppear = [plain = QPointer{model.get()}] {
        if (plain)
            plain->setParagraphs({
                QStringLiteral("Clips are saved in %1.").arg(text(ClipLibrary::shared()->effectiveOutputDirectory().string())),
                shortcutText(*KeyboardShortcutManager::shared()),
                permissionText(*PermissionManager::shared()),
            });
    };
    return contentOf(std::move(model), std::move(willAppear));
}

QuickContent clipPreview(const std::filesystem::path& clip, const SharedServices& services)
{
    const auto workspace = services.platform.workspace;
    auto model = std::make_shared<PlainModel>(text(clip.filename().string()),
        std::vector<PlainModel::Button>{
            {QStringLiteral("Play"), [workspace, clip] { workspace->open(clip); }},
            {QStringLiteral("Reveal"), [workspace, clip] { workspace->activateFileViewerSelecting({clip}); }},
        });
    const auto& platform = services.platform;
    ClipItem::load(clip, {platform.fileManager, platform.assetReader, services.clock, services.mainExecutor},
        [plain = QPointer{model.get()}](const std::optional<ClipItem>& item) {
            if (plain)
                plain->setParagraphs({item ? text(item->formattedDuration() + "   " + item->formattedFileSize())
                                           : QStringLiteral("The file is not there any more.")});
        });
    return contentOf(std::move(model));
}

}  // namespace

PlainModel::PlainModel(QString heading, std::vector<Button> buttons) : heading_(std::move(heading)), buttons_(std::move(buttons)) { }

QStringList PlainModel::buttons() const
{
    QStringList titles;
    for (const auto& button : buttons_)
        titles.append(button.title);
    return titles;
}

void PlainModel::setParagraphs(QStringList paragraphs)
{
    paragraphs_ = std::move(paragraphs);
    emit paragraphsChanged();
}

void PlainModel::press(int button)
{
    if (button < 0 || static_cast<std::size_t>(button) >= buttons_.size())
        return;
    buttons_[static_cast<std::size_t>(button)].action();
    emit dismissed();
}

QuickContent makePlainContent(const WindowDescription& description, const SharedServices& services)
{
    switch (description.content) {
    case WindowContent::settings:
        return settings(services);
    case WindowContent::clipPreview:
        return clipPreview(description.clip, services);
    case WindowContent::onboarding:
    case WindowContent::windowPicker:
        break;
    }
    return onboarding(services);
}

}  // namespace velmora
