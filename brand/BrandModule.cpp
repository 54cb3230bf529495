#include "brand/BrandModule.h"

#include "brand/SymbolImageProvider.h"
#include "brand/Theme.h"

#include <QQmlComponent>
#include <QQmlEngine>

#include <cassert>

// Generated; registers the module's types before main in a program that it is linked into.
extern void qml_register_types_Velmora_Brand();

namespace velmora {

void installBrandModule(QQmlEngine& engine)
{
    // Reading it is what links it: a pointer that is never read is left out.
    static void (*volatile types)() = &qml_register_types_Velmora_Brand;
    [[maybe_unused]] const auto linked = types;
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
}

namespace {

Theme& themeOf(QQmlEngine& engine)
{
    // The types are registered by the first import.
    QQmlComponent{&engine}.setData("import QtQml\nimport Velmora.Brand\nQtObject { }", {});
    auto* theme = engine.singletonInstance<Theme*>(qmlTypeId("Velmora.Brand", 1, 0, "Theme"));
    assert(theme && "the module is installed");
    return *theme;
}

}  // namespace

void setReducesMotion(QQmlEngine& engine, bool reducesMotion)
{
    themeOf(engine).setReducesMotion(reducesMotion);
}

void setIncreasesContrast(QQmlEngine& engine, bool increasesContrast)
{
    themeOf(engine).setIncreasesContrast(increasesContrast);
}

void setTextScale(QQmlEngine& engine, double scale)
{
    themeOf(engine).setTextScale(scale);
}

}  // namespace velmora
