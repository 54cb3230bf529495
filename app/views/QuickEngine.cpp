#include "app/views/QuickEngine.h"

#include "brand/SymbolImageProvider.h"

#include <QCoreApplication>
#include <QQmlExtensionPlugin>
#include <QQuickWindow>
#include <QSGRendererInterface>

// The modules are part of the program; nothing else refers to them.
Q_IMPORT_QML_PLUGIN(Velmora_BrandPlugin)
Q_IMPORT_QML_PLUGIN(Velmora_WindowsPlugin)
Q_IMPORT_QML_PLUGIN(Velmora_AppPlugin)

namespace velmora {

QQmlEngine& quickEngine()
{
    static QQmlEngine& engine = *[] {
        // Our windows are small and change rarely: drawing them in software takes a third of the memory that a graphics driver does.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        auto* made = new QQmlEngine{QCoreApplication::instance()};
        made->addImportPath(QStringLiteral("qrc:/"));
        made->addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
        return made;
    }();
    return engine;
}

}  // namespace velmora
