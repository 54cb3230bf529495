#include "brand/Symbols.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <cassert>
#include <utility>

namespace velmora {

namespace {

constexpr std::array symbols{
    std::pair{"arrow.clockwise", "arrow-clockwise"},
    std::pair{"arrow.up", "arrow-up"},
    std::pair{"checkmark.circle.fill", "check-circle-fill"},
    std::pair{"chevron.left", "caret-left"},
    std::pair{"chevron.right", "caret-right"},
    std::pair{"cursorarrow.click", "cursor-click"},
    std::pair{"cursorarrow.rays", "cursor-click-duotone"},
    std::pair{"exclamationmark.triangle.fill", "warning-fill"},
    std::pair{"eye.slash", "eye-slash"},
    std::pair{"folder", "folder-open"},
    std::pair{"folder.badge.plus", "folder-plus"},
    std::pair{"folder.fill", "folder-fill"},
    std::pair{"globe", "globe"},
    std::pair{"grip", "dots-six-vertical-bold"},
    std::pair{"laptopcomputer", "laptop"},
    std::pair{"lightbulb.fill", "lightbulb-fill"},
    std::pair{"lock.shield.fill", "shield-lock-fill"},
    std::pair{"macwindow", "app-window"},
    std::pair{"macwindow.on.rectangle", "browsers"},
    std::pair{"magnifyingglass", "magnifying-glass"},
    std::pair{"pause.circle.fill", "pause-circle-fill"},
    std::pair{"play.circle.fill", "play-circle-fill"},
    std::pair{"play.display", "monitor-play-fill"},
    std::pair{"play.rectangle.fill", "video-fill"},
    std::pair{"record.circle.fill", "record-fill"},
    std::pair{"shield.lefthalf.filled", "shield-half-fill"},
    std::pair{"speaker.slash", "speaker-slash"},
    std::pair{"speaker.wave.2", "speaker-high"},
    std::pair{"square.and.arrow.up", "export"},
    std::pair{"xmark", "x"},
    std::pair{"xmark.circle.fill", "x-circle-fill"},
};

QByteArray outlines(const char* file)
{
    QFile svg{QStringLiteral(":/Velmora/Brand/symbols/%1.svg").arg(QLatin1String(file))};
    [[maybe_unused]] const bool isOpen = svg.open(QIODevice::ReadOnly);
    assert(isOpen && "every symbol is compiled in");
    return svg.readAll();
}

}  // namespace

QStringList Symbols::names()
{
    QStringList names;
    for (const auto& symbol : symbols)
        names.append(QLatin1String(symbol.first));
    return names;
}

QImage Symbols::image(const QString& name, const QColor& color, const QSize& pixels)
{
    const auto symbol = std::ranges::find_if(symbols, [&](const auto& candidate) { return name == QLatin1String(candidate.first); });
    if (symbol == symbols.end())
        return {};
    QSvgRenderer renderer{outlines(symbol->second).replace("currentColor", color.name().toLatin1())};
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

}  // namespace velmora
