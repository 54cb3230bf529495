// The view of a preview, as the program shows it.
#pragma once

#include <QSize>
#include <QUrl>

// Generated. Referring to it brings the module into the program, where it registers its types before main.
extern void qml_register_types_Velmora_Library();

namespace velmora::test {

inline const QUrl clipPreviewView{QStringLiteral("qrc:/Velmora/Library/ClipPreviewView.qml")};
constexpr QSize clipPreviewSize{680, 600};

inline void linkPreviewView()
{
    static void (*volatile types)() = &qml_register_types_Velmora_Library;
    [[maybe_unused]] const auto linked = types;
}

}  // namespace velmora::test
