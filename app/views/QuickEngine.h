// The engine that all our windows are made with.
#pragma once

#include <QQmlEngine>

namespace velmora {

/// Created when the first window is needed, with the icon that all windows show: without a window the program needs neither. Main
/// thread.
QQmlEngine& quickEngine();

/// What the desktop asks for, for the windows that exist and for those to come. Creates no engine. Main thread.
void setReducesMotion(bool reducesMotion);
[[nodiscard]] bool reducesMotion();

}  // namespace velmora
