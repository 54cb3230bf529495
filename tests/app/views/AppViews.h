// The views of the program in the tray.
#pragma once

#include <QUrl>

// Generated. Referring to it brings the module into the program, where it registers its types before main.
extern void qml_register_types_Velmora_App();

namespace velmora::test {

inline QUrl appView(const char* name)
{
    static void (*volatile types)() = &qml_register_types_Velmora_App;
    [[maybe_unused]] const auto linked = types;
    return QUrl{QStringLiteral("qrc:/Velmora/App/views/%1.qml").arg(QLatin1String(name))};
}

}  // namespace velmora::test
