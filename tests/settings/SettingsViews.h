// The views of the settings, as the program shows them.
#pragma once

#include <QSize>
#include <QUrl>

// Generated. Referring to it brings the module into the program, where it registers its types before main.
extern void qml_register_types_Velmora_Settings();

namespace velmora::test {

inline const QUrl settingsView{QStringLiteral("qrc:/Velmora/Settings/SettingsView.qml")};
inline const QUrl folderBrowserView{QStringLiteral("qrc:/Velmora/Settings/FolderBrowserView.qml")};
constexpr QSize settingsSize{540, 500};
constexpr QSize folderBrowserSize{480, 460};

inline void linkSettingsViews()
{
    static void (*volatile types)() = &qml_register_types_Velmora_Settings;
    [[maybe_unused]] const auto linked = types;
}

}  // namespace velmora::test
