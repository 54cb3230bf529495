// What services of the desktop say over the bus, understood without a bus. Anybody in the session can say anything: what is not as it
// should be is left out or refused.
#pragma once

#include "base/Result.h"
#include "platform/UserNotificationCenter.h"

#include <QString>
#include <QVariantMap>

#include <filesystem>
#include <map>
#include <optional>

namespace velmora::linux_backend {

/// The absolute path that a file: URI names, of any bytes but 0 (RFC 8089); none for any other text.
[[nodiscard]] std::optional<std::filesystem::path> localPath(const QString& uri);

/// What org.freedesktop.portal.Request::Response says of a folder dialog: the folder, none where the user cancelled or closed it, or an
/// error of code FolderChooser::unusableChoice.
[[nodiscard]] Result<std::optional<std::filesystem::path>> folderAnswer(uint response, const QVariantMap& results);

/// The error for a folder dialog that is not available.
[[nodiscard]] tl::unexpected<Error> folderDialogError(const char* why);

/// Whether the desktop wants less motion, by what its settings portal says of GNOME's and KDE's settings.
class DesktopMotion {
public:
    static constexpr const char* interfaceGroup = "org.gnome.desktop.interface";
    static constexpr const char* animationsKey = "enable-animations";
    static constexpr const char* kdeGroup = "org.kde.kdeglobals.KDE";
    static constexpr const char* durationKey = "AnimationDurationFactor";

    /// `value` may be wrapped in variants: the signal's is wrapped once, that of Read twice.
    void take(const QString& group, const QString& key, const QVariant& value);

    [[nodiscard]] bool isReduced() const { return !hasAnimations_ || !hasDuration_; }

private:
    bool hasAnimations_ = true;
    bool hasDuration_ = true;
};

/// Notifications that are on the screen, by the number that their service gave them.
class ShownNotifications {
public:
    static constexpr uint closedByUser = 2;  ///< a reason of NotificationClosed (Desktop Notifications, "Signals")

    void add(uint id, platform::NotificationContent content) { shown_.insert_or_assign(id, std::move(content)); }

    /// Another service counts from the beginning: its numbers do not mean what the last one's did.
    void clear() { shown_.clear(); }

    /// What the user has done; none where the signal is about somebody else's notification, or about a close that was not the user's.
    [[nodiscard]] std::optional<platform::NotificationResponse> actionInvoked(uint id, const QString& action) const;
    [[nodiscard]] std::optional<platform::NotificationResponse> closed(uint id, uint reason);

private:
    std::map<uint, platform::NotificationContent> shown_;
};

}  // namespace velmora::linux_backend
