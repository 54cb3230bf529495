#include "brand/BrandModule.h"

#include "brand/SymbolImageProvider.h"

#include <QQmlEngine>

// Generated. Referring to it brings it into the program, where it registers the module's types before main.
extern void qml_register_types_Velmora_Brand();

namespace velmora {

void installBrandModule(QQmlEngine& engine)
{
    [[maybe_unused]] static void (*volatile const types)() = &qml_register_types_Velmora_Brand;
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
}

}  // namespace velmora
