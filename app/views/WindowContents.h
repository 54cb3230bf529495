// What the settings window and the walkthrough's window show, over the real services.
#pragma once

#include "app/views/QuickWindows.h"
#include "system/SharedServices.h"

namespace velmora {

QuickContent makeSettingsContent(const SharedServices& services);
QuickContent makeOnboardingContent(const SharedServices& services);

}  // namespace velmora
