#include "brand/Theme.h"

#include "brand/ShownText.h"

#include <QFontDatabase>
#include <QFontMetricsF>

namespace velmora {

namespace {

const QString emojiFamily = QStringLiteral("Noto Color Emoji");

QStringList families()
{
    const QString inter = QStringLiteral("Inter");
    const QString system = QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
    // The emoji font has digits, so it comes after one for text, and before the system's, many of which have emoji in one colour.
    return QFontDatabase::hasFamily(inter) ? QStringList{inter, emojiFamily, system} : QStringList{system, emojiFamily};
}

QFont font(int pixels, QFont::Weight weight)
{
    QFont made;
    made.setFamilies(families());
    made.setPixelSize(pixels);
    made.setWeight(weight);
    return made;
}

QFont emojiFont(int pixels)
{
    QFont made;
    made.setFamilies({emojiFamily});
    made.setPixelSize(pixels);
    return made;
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

Theme::Theme()
    : titleFont_(font(22, QFont::DemiBold))
    , headlineFont_(font(15, QFont::DemiBold))
    , panelTitleFont_(font(14, QFont::DemiBold))
    , bodyFont_(font(13, QFont::Normal))
    , emphasisFont_(font(13, QFont::DemiBold))
    , captionFont_(font(11, QFont::Normal))
    , captionEmphasisFont_(font(11, QFont::DemiBold))
    , emojiFont_(emojiFont(13))
{
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
    QFont made = font(qRound(height * 0.6), isStrong ? QFont::Bold : QFont::Light);
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

}  // namespace velmora
