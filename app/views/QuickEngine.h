// The engine that all our windows are made with.
#pragma once

#include <QQmlEngine>

namespace velmora {

/// Created when the first window is needed, with the icon that all windows show: without a window the program does without both. Main
/// thread.
QQmlEngine& quickEngine();

/// What the desktop asks for, of the windows that there are and of those to come. Creates no engine. Main thread.
void setReducesMotion(bool reducesMotion);
[[nodiscard]] bool reducesMotion();

}  // namespace velmora
