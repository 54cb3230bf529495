#include "brand/Theme.h"

#include "brand/ShownText.h"

#include <QCoreApplication>
#include <QDir>
#include <QFontDatabase>
#include <QFontMetricsF>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmora {

namespace {

const QString emojiFamily = QStringLiteral("Noto Color Emoji");

/// An archive of the program brings what a package would depend on. A file is kept in memory as a whole: only if there is no other.
void provideFont(const QString& family, const QString& files)
{
    if (QFontDatabase::hasFamily(family))
        return;
    const QDir folder{QCoreApplication::applicationDirPath() + QStringLiteral("/../share/velmora/fonts")};
    for (const auto& file : folder.entryList({files}, QDir::Files))
        QFontDatabase::addApplicationFont(folder.filePath(file));
}

const QStringList& families()
{
    static const QStringList found = [] {
        const QString inter = QStringLiteral("Inter");
        provideFont(inter, QStringLiteral("Inter-*"));
        provideFont(emojiFamily, QStringLiteral("NotoColorEmoji*"));
        const QString system = QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
        // The emoji font has digits, so it comes after one for text, and before the system's, many of which have emoji in one colour.
        return QFontDatabase::hasFamily(inter) ? QStringList{inter, emojiFamily, system} : QStringList{system, emojiFamily};
    }();
    return found;
}

QColor over(const QColor& surface, const QColor& film)
{
    const float covered = film.alphaF() + surface.alphaF() * (1 - film.alphaF());
    if (covered <= 0)
        return surface;
    const auto mixed = [&](float below, float above) {
        return (above * film.alphaF() + below * surface.alphaF() * (1 - film.alphaF())) / covered;
    };
    return QColor::fromRgbF(
        mixed(surface.redF(), film.redF()), mixed(surface.greenF(), film.greenF()), mixed(surface.blueF(), film.blueF()), covered);
}

}  // namespace

Theme::Theme() = default;

QFont Theme::font(int points, QFont::Weight weight) const
{
    QFont made;
    made.setFamilies(families());
    made.setPixelSize(qRound(points * textScale_));
    made.setWeight(weight);
    return made;
}

QFont Theme::emojiFont() const
{
    QFont made = bodyFont();
    made.setFamilies({emojiFamily});
    return made;
}

QColor Theme::hovered(const QColor& surface)
{
    return over(surface, QColor{255, 255, 255, 15});
}

QColor Theme::pressed(const QColor& surface)
{
    // Darker than nothing cannot be seen on our background.
    return surface.alpha() == 0 ? QColor{0, 0, 0, 77} : over(surface, QColor{0, 0, 0, 15});
}

QColor Theme::withOpacity(const QColor& color, double opacity)
{
    QColor made = color;
    made.setAlphaF(static_cast<float>(opacity));
    return made;
}

QUrl Theme::symbolSource(const QString& name, const QColor& color)
{
    if (name.isEmpty())
        return {};
    return QUrl{QStringLiteral("image://symbol/%1/%2").arg(name, color.name().mid(1).toUpper())};
}

double Theme::lineSpacing(const QFont& font)
{
    return QFontMetricsF{font}.height();
}

double Theme::lineWidth(const QFont& font, const QString& text)
{
    return QFontMetricsF{font}.horizontalAdvance(text);
}

QFont Theme::smaller(const QFont& font, double part)
{
    QFont made = font;
    made.setPixelSize(std::clamp(static_cast<int>(std::floor(font.pixelSize() * part)), 1, font.pixelSize()));
    return made;
}

QFont Theme::fitted(const QFont& font, const QString& text, double width)
{
    QFont made = font;
    // Letters are not drawn to scale in all sizes, so the width of a smaller font is not known from that of a larger one.
    while (made.pixelSize() > 1 && lineWidth(made, text) > width)
        made.setPixelSize(made.pixelSize() - 1);
    return made;
}

QString Theme::availability(bool isEnabled)
{
    return isEnabled ? QString{} : QStringLiteral("Not available now");
}

QString Theme::oneLine(const QString& text)
{
    return velmora::oneLine(text);
}

QString Theme::paragraphs(const QString& text)
{
    return velmora::paragraphs(text);
}

QFont Theme::lockupFont(double height, bool isStrong)
{
    QFont made;
    made.setFamilies(families());
    made.setPixelSize(qRound(height * 0.6));
    made.setWeight(isStrong ? QFont::Bold : QFont::Light);
    made.setLetterSpacing(QFont::AbsoluteSpacing, height * 0.1);
    return made;
}

void Theme::setReducesMotion(bool reducesMotion)
{
    if (reducesMotion == reducesMotion_)
        return;
    reducesMotion_ = reducesMotion;
    emit motionChanged();
}

void Theme::setIncreasesContrast(bool increasesContrast)
{
    const auto* palette = &Palette::of(increasesContrast);
    if (std::exchange(palette_, palette) != palette)
        emit lookChanged();
}

void Theme::setTextScale(double scale)
{
    const double bounded = std::clamp(scale, 1.0, largestText);
    if (std::exchange(textScale_, bounded) != bounded)
        emit textScaleChanged();
}

}  // namespace velmora
