// The QML module Velmora.Brand.
#pragma once

class QQmlEngine;

namespace velmora {

/// Lets the engine's views `import Velmora.Brand`, which is at qrc:/Velmora/Brand, and show `image://symbol/…`. Main thread.
void installBrandModule(QQmlEngine& engine);

/// What the desktop asks for, for Theme; nothing until told. After installBrandModule. Main thread.
void setReducesMotion(QQmlEngine& engine, bool reducesMotion);
void setIncreasesContrast(QQmlEngine& engine, bool increasesContrast);
void setTextScale(QQmlEngine& engine, double scale);

}  // namespace velmora
