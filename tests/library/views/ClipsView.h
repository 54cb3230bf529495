// The clips window, as the program shows it.
#pragma once

#include "tests/library/views/PreviewView.h"

#include <QSize>
#include <QUrl>

namespace velmora::test {

inline const QUrl clipsView{QStringLiteral("qrc:/Velmora/Library/ClipsView.qml")};
constexpr QSize clipsViewSize{760, 600};

}  // namespace velmora::test
