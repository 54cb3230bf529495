#include "settings/SettingsModel.h"

#include <utility>

namespace velmora {

namespace {

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

}  // namespace

SettingsModel::SettingsModel(Services services) : services_(std::move(services)), logIn_(services_.loginItem->status())
{
    connect(&services_.library, &ClipLibrary::customOutputDirectoryChanged, this, &SettingsModel::savedClipsFolderChanged);
    const auto* shortcuts = &services_.shortcutManager;
    connect(shortcuts, &KeyboardShortcutManager::isRegisteredChanged, this, &SettingsModel::shortcutChanged);
    connect(shortcuts, &KeyboardShortcutManager::registrationErrorMessageChanged, this, &SettingsModel::shortcutChanged);
    connect(shortcuts, &KeyboardShortcutManager::keyTextChanged, this, &SettingsModel::shortcutChanged);
    connect(&services_.permissionManager, &PermissionManager::hasScreenRecordingPermissionChanged, this, &SettingsModel::permissionChanged);
}

QString SettingsModel::savedClipsFolder() const
{
    const auto folder = services_.library.effectiveOutputDirectory();
    return text((folder.has_filename() || !folder.has_relative_path() ? folder : folder.parent_path()).string());
}

QString SettingsModel::shortcutErrorMessage() const
{
    if (isShortcutRegistered())
        return {};
    return text(services_.shortcutManager.registrationErrorMessage().value_or("The shortcut is not active."));
}

QString SettingsModel::shortcutHelp() const
{
    if (!services_.shortcutManager.isRefused() || services_.shortcutManager.isRegistrationErrorExplained())
        return {};
    return QStringLiteral("Another program uses these keys, or the desktop keeps them. Bind keys of your own to the command "
                          "'velmora toggle' instead.");
}

QString SettingsModel::shortcutKeys() const
{
    const auto bound = services_.shortcutManager.boundKeys();
    return bound.empty() ? QStringLiteral("On this keyboard: Alt + Super + ") + text(services_.shortcutManager.keyText())
                         : QStringLiteral("On this desktop: ") + text(bound);
}

QString SettingsModel::permissionExplanation() const
{
    return text(services_.permissionManager.screenRecordingExplanation());
}

QString SettingsModel::logInRemark() const
{
    return logInError_.isEmpty() ? text(logIn_.remark) : logInError_;
}

void SettingsModel::setStartsAtLogIn(bool starts)
{
    const auto changed = services_.loginItem->setOn(starts);
    readLogIn(changed ? QString{} : text(changed.error().localizedDescription));
}

void SettingsModel::readLogIn(const QString& error)
{
    logIn_ = services_.loginItem->status();
    logInError_ = error;
    emit logInChanged();
}

QString SettingsModel::keyAdvice() const
{
    const auto keys = services_.workspace->keySettings();
    return QStringLiteral("Keys of your own start and stop a recording when they are bound to the command 'velmora toggle' in ")
        + (keys ? QStringLiteral("the desktop's settings: ") + text(keys->place) : QStringLiteral("your desktop's keyboard settings"))
        + QLatin1Char('.');
}

bool SettingsModel::canOpenKeySettings() const
{
    const auto keys = services_.workspace->keySettings();
    return keys && keys->canBeOpened;
}

void SettingsModel::viewWillAppear()
{
    services_.permissionManager.checkPermissions();
    // The folder of the user's videos may be another one by now.
    emit savedClipsFolderChanged();
    // So may the keyboard's layout.
    emit shortcutChanged();
    setFolderError({});
    hasTray_ = services_.hasTray();
    readLogIn({});
    emit appeared();
}

void SettingsModel::chooseDestinationFolder()
{
    if (std::exchange(isChoosingFolder_, true))
        return;
    setFolderError({});
    services_.folderChooser->chooseFolder(
        {.title = "Choose Folder", .prompt = "Choose Folder", .directory = services_.library.effectiveOutputDirectory()},
        [weak = self_.weak()](const Result<std::optional<std::filesystem::path>>& folder) {
            if (const auto self = weak.lock())
                self->folderWasChosen(folder);
        });
}

void SettingsModel::openFolder()
{
    services_.workspace->open(services_.library.effectiveOutputDirectory());
}

void SettingsModel::folderWasChosen(const Result<std::optional<std::filesystem::path>>& folder)
{
    isChoosingFolder_ = false;
    if (!folder)
        setFolderError(text(folder.error().localizedDescription));
    else if (*folder)
        useFolder(**folder);
}

void SettingsModel::useFolder(const std::filesystem::path& folder)
{
    // The library takes any folder and finds out at the next recording, which is too late for the clip.
    auto usable = services_.fileManager->createDirectory(folder);
    if (usable)
        usable = services_.fileManager->checkWritable(folder);
    if (usable)
        services_.library.setOutputDirectory(folder);
    else
        setFolderError(text(usable.error().localizedDescription));
}

void SettingsModel::setFolderError(const QString& error)
{
    if (folderError_ == error)
        return;
    folderError_ = error;
    emit folderErrorChanged();
}

}  // namespace velmora
