// Writes the program's icons as an icon theme has them:
//
//     export_icons DIRECTORY
//     export_icons --iconset DIRECTORY
//
// where DIRECTORY is the theme's folder, such as share/icons/hicolor, or with --iconset the folder that iconutil makes a Mac's icon of.
#include "brand/BrandIcons.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>
#include <cstring>

int main(int count, char* arguments[])
{
    const bool isIconSet = count == 3 && std::strcmp(arguments[1], "--iconset") == 0;
    if (count != 2 && !isIconSet) {
        std::fprintf(stderr, "usage: export_icons [--iconset] DIRECTORY\n");
        return 2;
    }
    const QDir directory{QString::fromLocal8Bit(arguments[count - 1])};
    for (const auto& icon : isIconSet ? velmora::BrandIcons::macIconSet() : velmora::BrandIcons::files()) {
        const QString path = directory.filePath(icon.path);
        QSaveFile file{path};
        if (!QDir{}.mkpath(QFileInfo{path}.path()) || !file.open(QIODevice::WriteOnly) || file.write(icon.content) != icon.content.size()
            || !file.commit()) {
            std::fprintf(stderr, "export_icons: %s: %s\n", qPrintable(path), qPrintable(file.errorString()));
            return 1;
        }
    }
    return 0;
}
