// The engine that all our windows are made with.
#pragma once

#include <QQmlEngine>

namespace velmora {

/// Created when the first window is needed: without a window the program does without it. Main thread.
QQmlEngine& quickEngine();

}  // namespace velmora
