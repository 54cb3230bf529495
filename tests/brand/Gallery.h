// What the programs that draw views to be looked at have in common.
#pragma once

#include "brand/BrandModule.h"
#include "tests/brand/ViewTestWindow.h"

#include <QDir>
#include <QImage>
#include <QString>

#include <cstdio>
#include <cstdlib>

namespace velmora::test {

/// Where the pictures go, how large the text in them is, and whether there is more contrast: what such a program's command line says, which
/// is DIRECTORY [TEXT_SCALE [contrast]].
class Gallery {
public:
    /// Ends the program where its command line is another.
    Gallery(int count, char* arguments[])
    {
        increasesContrast_ = count == 4 && QLatin1String{arguments[3]} == QLatin1String{"contrast"};
        if (count < 2 || count > (increasesContrast_ ? 4 : 3)) {
            std::fprintf(stderr, "usage: %s DIRECTORY [TEXT_SCALE [contrast]]\n", arguments[0]);
            std::exit(2);
        }
        static_cast<void>(application());
        directory_ = QDir{QString::fromLocal8Bit(arguments[1])};
        if (count > 2)
            textScale_ = QByteArray{arguments[2]}.toDouble();
    }

    [[nodiscard]] double textScale() const { return textScale_; }
    [[nodiscard]] bool increasesContrast() const { return increasesContrast_; }

    /// The window as it is now, as NAME.png.
    void draw(const char* name, ViewTestWindow& window) const
    {
        setTextScale(window.engine(), textScale_);
        setIncreasesContrast(window.engine(), increasesContrast_);
        // The first lays out what has changed.
        static_cast<void>(window.grab());
        save(name, window.grab());
    }

    void save(const char* name, const QImage& picture) const
    {
        const auto file = directory_.filePath(QStringLiteral("%1.png").arg(QLatin1String(name)));
        if (!picture.save(file))
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
    }

private:
    QDir directory_;
    double textScale_ = 1;
    bool increasesContrast_ = false;
};

}  // namespace velmora::test
