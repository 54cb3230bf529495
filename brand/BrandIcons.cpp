#include "brand/BrandIcons.h"

#include "brand/BrandAppIcon.h"
#include "brand/BrandPainting.h"
#include "brand/OrbelleShape.h"

#include <QBuffer>

#include <cassert>

namespace velmora {

namespace {

QString number(double value)
{
    return QString::number(value, 'g', 8);
}

QString point(const QPointF& value)
{
    return number(value.x()) + u',' + number(value.y());
}

QString pathData(const QPainterPath& path)
{
    QString data;
    for (int index = 0; index < path.elementCount(); ++index) {
        const auto element = path.elementAt(index);
        switch (element.type) {
        case QPainterPath::MoveToElement:
            data += QLatin1String(index == 0 ? "M" : "ZM");
            break;
        case QPainterPath::LineToElement:
            data += u'L';
            break;
        case QPainterPath::CurveToElement:
            data += u'C';
            break;
        case QPainterPath::CurveToDataElement:
            data += u' ';
            break;
        }
        data += point(element);
    }
    return data + u'Z';
}

// A path, because Qt rounds the radius of a rect.
QString roundedSquare(double margin, double radius)
{
    QPainterPath path;
    path.addRoundedRect(QRectF{margin, margin, designSide - 2 * margin, designSide - 2 * margin}, radius, radius);
    return pathData(path);
}

QByteArray encodedPng(const QImage& image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    [[maybe_unused]] const bool isWritten = image.save(&buffer, "PNG");
    assert(isWritten && "Qt has its own PNG writer");
    return buffer.data();
}

}  // namespace

QByteArray BrandIcons::appIconSvg()
{
    const BrandAppIcon icon;
    const double margin = designSide * (1 - icon.markSide) / 2;
    const double markSide = designSide * icon.markSide;
    const QString mark = pathData(OrbelleShape{OpticalCut::master}.path({margin, margin, markSide, markSide}));
    const auto gradientPoint = [](const QPointF& part, const char* x, const char* y) {
        return QStringLiteral("%1=\"%2\" %3=\"%4\"")
            .arg(QLatin1String(x), number(part.x() * designSide), QLatin1String(y), number(part.y() * designSide));
    };

    QString svg = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"256\" height=\"256\" viewBox=\"0 0 256 256\">\n"
                                 "<defs><linearGradient id=\"ground\" gradientUnits=\"userSpaceOnUse\" %1 %2>"
                                 "<stop offset=\"0\" stop-color=\"%3\"/><stop offset=\"1\" stop-color=\"%4\"/></linearGradient></defs>\n"
                                 "<path d=\"%5\" fill=\"url(#ground)\"/>\n")
                      .arg(gradientPoint(icon.gradientStart, "x1", "y1"), gradientPoint(icon.gradientEnd, "x2", "y2"),
                          icon.groundTop.name(), icon.groundBottom.name(), roundedSquare(0, icon.cornerRadius * designSide));
    for (int stroke = 0; stroke < BrandAppIcon::glowStrokes; ++stroke)
        svg +=
            QStringLiteral("<path d=\"%1\" fill=\"none\" stroke=\"%2\" stroke-opacity=\"%3\" stroke-width=\"%4\" stroke-linecap=\"round\" "
                           "stroke-linejoin=\"round\"/>\n")
                .arg(mark, BrandColors::coral.name(), number(icon.strokeOpacity), number(icon.strokeWidth(stroke) * designSide));
    svg += QStringLiteral("<path d=\"%1\" fill=\"%2\"/>\n").arg(mark, BrandColors::coral.name());
    const double line = icon.borderWidth * designSide;
    svg += QStringLiteral("<path d=\"%1\" fill=\"none\" stroke=\"%2\" stroke-width=\"%3\"/>\n</svg>\n")
               .arg(roundedSquare(line / 2, icon.cornerRadius * designSide - line / 2), BrandColors::borderSlate.name(), number(line));
    return svg.toUtf8();
}

QByteArray BrandIcons::menuBarSvg(const MenuBarImage& image)
{
    const auto fill = [&](const QColor& color) {
        return image.isTemplate ? QStringLiteral("class=\"ColorScheme-Text\" fill=\"currentColor\"")
                                : QStringLiteral("fill=\"%1\"").arg(color.name());
    };
    const QPainterPath mark = OrbelleShape{OpticalCut::small}.path({0, 0, MenuBarImage::side, MenuBarImage::side});
    QString svg = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"16\" height=\"16\" viewBox=\"0 0 %1 %1\">\n")
                      .arg(number(MenuBarImage::side));
    if (image.isTemplate)
        svg += QStringLiteral("<style type=\"text/css\" id=\"current-color-scheme\">.ColorScheme-Text { color:%1; }</style>\n")
                   .arg(BrandColors::snowSlate.name());
    svg += QStringLiteral("<path %1 d=\"%2\"/>\n").arg(fill(image.markFill), pathData(mark));
    if (image.dot) {
        const QPointF middle = image.dot->rectangle.center();
        svg += QStringLiteral("<circle %1 cx=\"%2\" cy=\"%3\" r=\"%4\"/>\n")
                   .arg(fill(image.dot->fill), number(middle.x()), number(MenuBarImage::side - middle.y()),
                       number(image.dot->rectangle.width() / 2));
    }
    return (svg + QLatin1String("</svg>\n")).toUtf8();
}

std::vector<BrandIcons::File> BrandIcons::files()
{
    std::vector<File> files{{QStringLiteral("scalable/apps/com.velmora.Velmora.svg"), appIconSvg()}};
    for (const CaptureState::Case& state : {CaptureState::Case{CaptureState::RecordingClip{}},
             CaptureState::Case{CaptureState::WaitingForWindowSelection{}}, CaptureState::Case{CaptureState::Capturing{}}}) {
        const auto image = BrandAssets::menuBarImage(CaptureState{state});
        const auto folder = image.isTemplate ? QStringLiteral("symbolic") : QStringLiteral("scalable");
        files.push_back({QStringLiteral("%1/apps/%2.svg").arg(folder, menuBarIconName(image)), menuBarSvg(image)});
    }
    for (const int side : {16, 22, 24, 32, 48, 64, 128, 256, 512})
        files.push_back({QStringLiteral("%1x%1/apps/com.velmora.Velmora.png").arg(side), encodedPng(appIconImage(side, 0, false, 1))});
    return files;
}

std::vector<BrandIcons::File> BrandIcons::macIconSet()
{
    std::vector<File> files;
    for (const int points : {16, 32, 128, 256, 512}) {
        for (const int scale : {1, 2}) {
            const auto name = QStringLiteral("icon_%1x%1%2.png").arg(points).arg(scale == 2 ? QStringLiteral("@2x") : QString{});
            files.push_back({name, encodedPng(appIconImage(points * scale, 0, false, 1))});
        }
    }
    return files;
}

QString BrandIcons::menuBarIconName(const MenuBarImage& image)
{
    if (!image.isTemplate)
        return QStringLiteral("com.velmora.Velmora-recording");
    return image.dot ? QStringLiteral("com.velmora.Velmora-capturing-symbolic") : QStringLiteral("com.velmora.Velmora-symbolic");
}

}  // namespace velmora
