// What the settings show and do.
#pragma once

#include "base/SelfReference.h"
#include "library/ClipLibrary.h"
#include "platform/FileManager.h"
#include "platform/FolderChooser.h"
#include "platform/LoginItem.h"
#include "platform/Workspace.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include <filesystem>
#include <functional>
#include <memory>

namespace velmora {

/// The clips folder, the shortcut and the permission, always up to date. Main thread only.
class SettingsModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString savedClipsFolder READ savedClipsFolder NOTIFY savedClipsFolderChanged)
    Q_PROPERTY(QString folderError READ folderError NOTIFY folderErrorChanged)
    Q_PROPERTY(bool isShortcutRegistered READ isShortcutRegistered NOTIFY shortcutChanged)
    Q_PROPERTY(QString shortcutErrorMessage READ shortcutErrorMessage NOTIFY shortcutChanged)
    Q_PROPERTY(QString shortcutHelp READ shortcutHelp NOTIFY shortcutChanged)
    Q_PROPERTY(QString shortcutKeys READ shortcutKeys NOTIFY shortcutChanged)
    Q_PROPERTY(bool hasScreenRecordingPermission READ hasScreenRecordingPermission NOTIFY permissionChanged)
    Q_PROPERTY(bool hasTray READ hasTray NOTIFY appeared)
    Q_PROPERTY(bool startsAtLogIn READ startsAtLogIn NOTIFY logInChanged)
    Q_PROPERTY(bool canChangeLogIn READ canChangeLogIn NOTIFY logInChanged)
    Q_PROPERTY(QString logInRemark READ logInRemark NOTIFY logInChanged)
    Q_PROPERTY(QString keyAdvice READ keyAdvice NOTIFY appeared)
    Q_PROPERTY(bool canOpenKeySettings READ canOpenKeySettings NOTIFY appeared)
    Q_PROPERTY(QString permissionExplanation READ permissionExplanation NOTIFY permissionChanged)

public:
    struct Services {
        ClipLibrary& library;
        PermissionManager& permissionManager;
        KeyboardShortcutManager& shortcutManager;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<platform::FileManager> fileManager;
        std::shared_ptr<platform::FolderChooser> folderChooser;
        std::shared_ptr<platform::LoginItem> loginItem;
        std::function<void()> presentOnboarding;

        /// Whether this desktop has a tray, now. Asked each time the settings are shown.
        std::function<bool()> hasTray;
    };

    explicit SettingsModel(Services services);

    /// Where clips are saved, without a slash at the end. Plain text, like all that follow.
    [[nodiscard]] QString savedClipsFolder() const;

    /// Why the folder chosen last is not the clips folder now; empty when it is.
    [[nodiscard]] const QString& folderError() const { return folderError_; }

    [[nodiscard]] bool isShortcutRegistered() const { return services_.shortcutManager.isRegistered(); }

    /// Why the shortcut is not registered. Never empty while it is not.
    [[nodiscard]] QString shortcutErrorMessage() const;

    /// What to do about that; empty when the message says so itself.
    [[nodiscard]] QString shortcutHelp() const;

    /// The keys as this keyboard or this desktop names them, and which of the two.
    [[nodiscard]] QString shortcutKeys() const;

    [[nodiscard]] bool hasScreenRecordingPermission() const { return services_.permissionManager.hasScreenRecordingPermission(); }

    /// Whether the icon that the settings mention is in a tray; if not, there is a small window instead.
    [[nodiscard]] bool hasTray() const { return hasTray_; }

    /// Why the screen cannot be recorded; may be empty.
    [[nodiscard]] QString permissionExplanation() const;

    /// Whether the program starts with the user's session, as the desktop's list said last.
    [[nodiscard]] bool startsAtLogIn() const { return logIn_.isOn; }
    [[nodiscard]] bool canChangeLogIn() const { return logIn_.canBeChanged; }

    /// Why that could not be or cannot be changed; empty where there is nothing to say.
    [[nodiscard]] QString logInRemark() const;

    /// Asks the desktop's list for the change; what that says afterwards is shown.
    Q_INVOKABLE void setStartsAtLogIn(bool starts);

    /// How keys of the user's own reach the program.
    [[nodiscard]] QString keyAdvice() const;

    /// Whether the desktop has a page for that which can be shown.
    [[nodiscard]] bool canOpenKeySettings() const;
    Q_INVOKABLE void openKeySettings() { services_.workspace->openKeySettings(); }

    /// Called each time the settings are shown.
    Q_INVOKABLE void viewWillAppear();

    /// "Change...". Does nothing while the dialog of an earlier press is open.
    Q_INVOKABLE void chooseDestinationFolder();

    /// "Open".
    Q_INVOKABLE void openFolder();

    /// "Open First-Time Walkthrough...".
    Q_INVOKABLE void openWalkthrough() { services_.presentOnboarding(); }

    /// "Grant Access".
    Q_INVOKABLE void grantAccess() { services_.permissionManager.openScreenRecordingSystemPreferences(); }

    Q_INVOKABLE void close() { emit dismissed(); }

signals:
    void savedClipsFolderChanged();
    void folderErrorChanged();
    void shortcutChanged();
    void permissionChanged();
    void logInChanged();

    /// The settings are on the screen again.
    void appeared();

    /// The settings are to be closed.
    void dismissed();

private:
    void folderWasChosen(const Result<std::optional<std::filesystem::path>>& folder);
    void useFolder(const std::filesystem::path& folder);
    void setFolderError(const QString& error);
    void readLogIn(const QString& error);

    const Services services_;
    QString folderError_;
    bool isChoosingFolder_ = false;
    bool hasTray_ = true;
    platform::LoginItem::Status logIn_;
    QString logInError_;
    const SelfReference<SettingsModel> self_{*this};
};

}  // namespace velmora
