// The instances that the whole program shares.
#pragma once

#include "capture/CaptureCoordinator.h"
#include "library/ClipLibrary.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

namespace velmora {

/// They live as long as the process, so whoever gets one refers to it and owns nothing.
struct SharedInstances {
    CaptureCoordinator& coordinator = CaptureCoordinator::shared();
    ClipLibrary& library = ClipLibrary::shared();
    PermissionManager& permissionManager = PermissionManager::shared();
    KeyboardShortcutManager& shortcutManager = KeyboardShortcutManager::shared();
};

}  // namespace velmora
