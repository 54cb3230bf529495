// The engine that all our windows are made with.
#pragma once

#include <QQmlEngine>
#include <QUrl>

namespace velmora {

/// Created when the first window is needed, with the icon that all windows show: without a window the program needs neither. Main
/// thread.
QQmlEngine& quickEngine();

/// Has a view and what it is built from read and compiled while the main thread goes on, so that a window that shows it soon opens at
/// once. Takes memory until the end: for when a window is likely to come. Main thread.
void prepareView(const QUrl& view);

/// What the desktop asks for, for the windows that exist and for those to come. Creates no engine. Main thread.
void setReducesMotion(bool reducesMotion);
[[nodiscard]] bool reducesMotion();

}  // namespace velmora
