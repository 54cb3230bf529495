// Writes the program's icons as an icon theme has them:
//
//     export_icons DIRECTORY
//
// where DIRECTORY is the theme's folder, such as share/icons/hicolor.
#include "brand/BrandIcons.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>

int main(int count, char* arguments[])
{
    if (count != 2) {
        std::fprintf(stderr, "usage: export_icons DIRECTORY\n");
        return 2;
    }
    const QDir directory{QString::fromLocal8Bit(arguments[1])};
    for (const auto& icon : velmora::BrandIcons::files()) {
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
