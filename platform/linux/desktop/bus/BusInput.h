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

/// How the user wants everything on display, by what the desktop's settings portal says of its own, GNOME's and KDE's settings.
class DesktopDisplay {
public:
    struct Setting {
        const char* group;
        const char* key;
    };

    /// `enable-animations` is answered by other desktops too; an `AnimationDurationFactor` of 0 is none. `contrast` is 1 where more of it is
    /// wanted, and decides wherever it is known: back ends before it have GNOME's key instead.
    static constexpr Setting animations{"org.gnome.desktop.interface", "enable-animations"};
    static constexpr Setting animationDuration{"org.kde.kdeglobals.KDE", "AnimationDurationFactor"};
    static constexpr Setting contrast{"org.freedesktop.appearance", "contrast"};
    static constexpr Setting highContrast{"org.gnome.desktop.a11y.interface", "high-contrast"};
    static constexpr Setting textScaling{"org.gnome.desktop.interface", "text-scaling-factor"};
    static constexpr Setting settings[] = {animations, animationDuration, contrast, highContrast, textScaling};

    /// `value` may be wrapped in variants: the signal's is wrapped once, that of Read twice. Whether what is wanted has changed.
    bool take(const QString& group, const QString& key, const QVariant& value);

    [[nodiscard]] bool reducesMotion() const { return !hasAnimations_ || !hasDuration_; }
    [[nodiscard]] bool increasesContrast() const { return contrast_.value_or(hasHighContrast_); }

    /// Of the size of text; 1 where it is not known. Between 0.5 and 3, as the setting is.
    [[nodiscard]] double textScale() const { return textScale_; }

private:
    void set(const QString& group, const QString& key, const QVariant& value);

    bool hasAnimations_ = true;
    bool hasDuration_ = true;
    std::optional<bool> contrast_;
    bool hasHighContrast_ = false;
    double textScale_ = 1;
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
