// What this program knows about its permissions.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "platform/ScreenCaptureAccess.h"
#include "platform/UserNotificationCenter.h"
#include "platform/Workspace.h"

#include <QObject>

#include <memory>
#include <string>

namespace velmora {

/// Main thread only. Nothing polls: the flags change only through the operations below and what follows from them. Every change is
/// followed by the property's own signal.
class PermissionManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasScreenRecordingPermission READ hasScreenRecordingPermission NOTIFY hasScreenRecordingPermissionChanged)
    Q_PROPERTY(bool hasNotificationPermission READ hasNotificationPermission NOTIFY hasNotificationPermissionChanged)

public:
    struct Services {
        std::shared_ptr<platform::ScreenCaptureAccess> screenCaptureAccess;
        std::shared_ptr<platform::UserNotificationCenter> notificationCenter;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<Executor> mainExecutor;
    };

    /// Checks both at once.
    explicit PermissionManager(Services services);
    ~PermissionManager() override;

    /// The one manager of the process.
    static PermissionManager& shared();

    [[nodiscard]] bool hasScreenRecordingPermission() const { return hasScreenRecordingPermission_; }
    [[nodiscard]] bool hasNotificationPermission() const { return hasNotificationPermission_; }

    /// Why the screen cannot be recorded, as far as the desktop says.
    [[nodiscard]] std::string screenRecordingExplanation() const { return services_.screenCaptureAccess->explanation(); }

    /// Asks for both without a prompt. The first flag is what is known when this returns, and follows what becomes known later; the second
    /// comes later.
    void checkPermissions();

    /// May show the system's prompt; stores and returns its answer.
    bool requestScreenRecordingPermission();

    void openScreenRecordingSystemPreferences();

    /// `completion` is called exactly once, on the main thread, with the answer that was stored.
    void requestNotificationPermission(UniqueFunction<void(bool)> completion);

signals:
    void hasScreenRecordingPermissionChanged();
    void hasNotificationPermissionChanged();

private:
    void setHasScreenRecordingPermission(bool isGranted);
    void setHasNotificationPermission(bool isGranted);

    const Services services_;
    bool hasScreenRecordingPermission_ = false;
    bool hasNotificationPermission_ = false;

    // Gone with the manager, so that a late answer finds nobody.
    const SelfReference<PermissionManager> self_{*this};
};

}  // namespace velmora
