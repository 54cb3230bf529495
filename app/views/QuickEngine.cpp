#include "app/views/QuickEngine.h"

#include "brand/BrandModule.h"
#include "brand/BrandPainting.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QThreadPool>

#include <set>

// Generated. Referring to them brings the modules into the program, where they register their types before main.
extern void qml_register_types_Velmora_Library();
extern void qml_register_types_Velmora_Onboarding();
extern void qml_register_types_Velmora_Settings();
extern void qml_register_types_Velmora_Windows();
extern void qml_register_types_Velmora_App();

namespace velmora {

namespace {

struct Motion {
    QQmlEngine* engine = nullptr;
    bool isReduced = false;
};

Motion& motion()
{
    static Motion instance;
    return instance;
}

/// In the sizes that title bars, lists of windows and task bars use.
QList<QImage> windowIconImages()
{
    QList<QImage> images;
    for (const int side : {16, 24, 32, 48, 64, 128})
        images.append(appIconImage(side, 0, false, 1));
    return images;
}

/// Beside what the first window still has to do: drawing takes as long as a frame.
void drawWindowIcon()
{
    QThreadPool::globalInstance()->start([] {
        QMetaObject::invokeMethod(QCoreApplication::instance(), [images = windowIconImages()] {
            QIcon icon;
            for (const auto& image : images)
                icon.addPixmap(QPixmap::fromImage(image));
            QGuiApplication::setWindowIcon(icon);
        });
    });
}

}  // namespace

QQmlEngine& quickEngine()
{
    static QQmlEngine& engine = *[] {
        // Our windows are small and change rarely: drawing them in software takes a third of the memory that a graphics driver does.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        auto* made = new QQmlEngine{QCoreApplication::instance()};
        for (void (*volatile types)() : {&qml_register_types_Velmora_Library, &qml_register_types_Velmora_Onboarding,
                 &qml_register_types_Velmora_Settings, &qml_register_types_Velmora_Windows, &qml_register_types_Velmora_App})
            [[maybe_unused]] const auto linked = types;
        installBrandModule(*made);
        drawWindowIcon();
        if (motion().isReduced)
            setReducesMotion(*made, true);
        motion().engine = made;
        return made;
    }();
    return engine;
}

void prepareView(const QUrl& view)
{
    static std::set<QUrl> prepared;
    if (prepared.insert(view).second)
        new QQmlComponent{&quickEngine(), view, QQmlComponent::Asynchronous, &quickEngine()};
}

void setReducesMotion(bool reducesMotion)
{
    motion().isReduced = reducesMotion;
    if (motion().engine)
        setReducesMotion(*motion().engine, reducesMotion);
}

bool reducesMotion()
{
    return motion().isReduced;
}

}  // namespace velmora
