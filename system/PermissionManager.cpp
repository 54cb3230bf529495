#include "system/PermissionManager.h"

#include "system/Log.h"
#include "system/SharedServices.h"

#include <utility>

namespace velmora {

namespace {

constexpr std::string_view screenRecordingSettings = "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

}  // namespace

PermissionManager& PermissionManager::shared()
{
    static auto& instance = *[] {
        const auto& shared = SharedServices::current();
        return new PermissionManager{
            {shared.platform.screenCaptureAccess, shared.platform.userNotificationCenter, shared.platform.workspace, shared.mainExecutor}};
    }();
    return instance;
}

PermissionManager::PermissionManager(Services services) : services_(std::move(services))
{
    if (auto* lateAccess = services_.screenCaptureAccess->lateAccess()) {
        lateAccess->observeAccess(
            [this] { setHasScreenRecordingPermission(services_.screenCaptureAccess->preflightScreenCaptureAccess()); });
    }
    checkPermissions();
}

PermissionManager::~PermissionManager()
{
    if (auto* lateAccess = services_.screenCaptureAccess->lateAccess())
        lateAccess->observeAccess(nullptr);
}

void PermissionManager::checkPermissions()
{
    setHasScreenRecordingPermission(services_.screenCaptureAccess->preflightScreenCaptureAccess());
    services_.notificationCenter->getAuthorizationStatus(
        [weak = self_.weak(), mainExecutor = services_.mainExecutor](platform::AuthorizationStatus status) {
            mainExecutor->async([weak, status] {
                if (const auto self = weak.lock())
                    self->setHasNotificationPermission(status == platform::AuthorizationStatus::authorized);
            });
        });
}

bool PermissionManager::requestScreenRecordingPermission()
{
    setHasScreenRecordingPermission(services_.screenCaptureAccess->requestScreenCaptureAccess());
    return hasScreenRecordingPermission_;
}

void PermissionManager::openScreenRecordingSystemPreferences()
{
    services_.workspace->openURL(screenRecordingSettings);
}

void PermissionManager::requestNotificationPermission(UniqueFunction<void(bool)> completion)
{
    constexpr unsigned options = platform::authorization_option::alert | platform::authorization_option::sound;
    services_.notificationCenter->requestAuthorization(options,
        [weak = self_.weak(), mainExecutor = services_.mainExecutor, completion = std::move(completion)](Result<bool> answer) mutable {
            mainExecutor->async([weak, completion = std::move(completion), answer = std::move(answer)]() mutable {
                if (!answer)
                    Log::permissions().error(log_line::notificationPermissionError, answer.error().localizedDescription);
                const bool isGranted = answer.value_or(false);
                if (const auto self = weak.lock())
                    self->setHasNotificationPermission(isGranted);
                completion(isGranted);
            });
        });
}

void PermissionManager::setHasScreenRecordingPermission(bool isGranted)
{
    hasScreenRecordingPermission_ = isGranted;
    emit hasScreenRecordingPermissionChanged();
}

void PermissionManager::setHasNotificationPermission(bool isGranted)
{
    hasNotificationPermission_ = isGranted;
    emit hasNotificationPermissionChanged();
}

}  // namespace velmora
