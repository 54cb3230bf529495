// The symbols, for QML.
#pragma once

#include <QQuickImageProvider>

namespace velmora {

/// `image://symbol/NAME/RRGGBB`, installed as "symbol". As large as the image's sourceSize asks for, in the screen's pixels. What does not
/// name a symbol and a colour ends the program: it is a mistake in a view.
class SymbolImageProvider final : public QQuickImageProvider {
public:
    SymbolImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) { }

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

}  // namespace velmora
