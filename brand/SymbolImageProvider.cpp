#include "brand/SymbolImageProvider.h"

#include "base/Fatal.h"
#include "brand/Symbols.h"

namespace velmora {

namespace {

constexpr int sizeUnlessAsked = 20;

}  // namespace

QImage SymbolImageProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize)
{
    const auto parts = id.split(u'/');
    const QColor color{u'#' + parts.value(1)};
    const auto side = [](int asked) { return asked > 0 ? asked : sizeUnlessAsked; };
    const QSize pixels{side(requestedSize.width()), side(requestedSize.height())};
    QImage image;
    if (parts.size() == 2 && color.isValid())
        image = Symbols::image(parts[0], color, pixels);
    if (image.isNull())
        fatalError("no symbol and colour: image://symbol/" + id.toStdString());
    if (size)
        *size = pixels;
    return image;
}

}  // namespace velmora
