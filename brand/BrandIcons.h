// The icons that a desktop keeps for the program, as files.
#pragma once

#include "brand/BrandAssets.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace velmora {

class BrandIcons {
public:
    struct File {
        QString path;  ///< within an icon theme's folder, such as "48x48/apps/com.velmora.Velmora.png"
        QByteArray content;
    };

    /// The application icon as SVG 1.1, as it is drawn at 256 pixels.
    [[nodiscard]] static QByteArray appIconSvg();

    /// What the program's item shows. A template's colour is the theme's: by GTK's rule any fill is replaced, by KDE's that of the class
    /// ColorScheme-Text.
    [[nodiscard]] static QByteArray menuBarSvg(const MenuBarImage& image);

    /// As freedesktop.org lays out icon themes: the application icon "com.velmora.Velmora" from 16 to 512 pixels, scalable and symbolic,
    /// and, named after it, "-symbolic", "-capturing-symbolic" and "-recording" for the program's item.
    [[nodiscard]] static std::vector<File> files();

    /// The application icon as a Mac wants its sizes in an ".iconset" folder, whose files' names say points and scale (iconutil(1)).
    [[nodiscard]] static std::vector<File> macIconSet();

    /// The name of the one that shows this.
    [[nodiscard]] static QString menuBarIconName(const MenuBarImage& image);
};

}  // namespace velmora
