#include "app/views/QuickEngine.h"

#include "brand/BrandModule.h"
#include "brand/BrandPainting.h"
#include "brand/Palette.h"
#include "platform/PlatformFactory.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QPixmapCache>
#include <QPointer>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QThreadPool>
#include <QTimer>

#include <algorithm>
#include <set>
#include <vector>

// Generated. Referring to them brings the modules into the program, where they register their types before main.
extern void qml_register_types_Velmora_Library();
extern void qml_register_types_Velmora_Onboarding();
extern void qml_register_types_Velmora_Settings();
extern void qml_register_types_Velmora_Windows();
extern void qml_register_types_Velmora_App();

namespace velmora {

namespace {

constexpr std::chrono::seconds usualStay{10};

struct Wishes {
    QPointer<QQmlEngine> engine;
    bool reducesMotion = false;
    bool increasesContrast = false;
    double textScale = 1;
};

Wishes& wishes()
{
    static Wishes instance;
    return instance;
}

void fulfilWishes(QQmlEngine& engine)
{
    if (wishes().reducesMotion)
        setReducesMotion(engine, true);
    if (wishes().increasesContrast)
        setIncreasesContrast(engine, true);
    if (wishes().textScale != 1)
        setTextScale(engine, wishes().textScale);
}

/// In the sizes that title bars, lists of windows and task bars use.
QList<QImage> windowIconImages()
{
    QList<QImage> images;
    for (const int side : {16, 24, 32, 48, 64, 128})
        images.append(appIconImage(side, 0, false, 1));
    return images;
}

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

std::vector<QuickViewOwner*>& viewOwners()
{
    static std::vector<QuickViewOwner*> owners;
    return owners;
}

/// One of our windows, or a menu, which may lead to one. The item in the tray is neither.
bool isInUse(const QWindow* window)
{
    return window->isVisible() && (window->type() == Qt::Popup || qobject_cast<const QQuickWindow*>(window));
}

bool isAnyInUse()
{
    const auto windows = QGuiApplication::allWindows();
    return std::ranges::any_of(windows, isInUse);
}

/// Makes the engine, and lets go of it some time after the last window.
class EngineKeeper final : public QObject {
public:
    EngineKeeper() : QObject(QCoreApplication::instance())
    {
        unused_.setSingleShot(true);
        // Our windows are small and change rarely: drawing them in software takes a third of the memory that a graphics driver does.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        setStay(usualStay);
        connect(&unused_, &QTimer::timeout, this, &EngineKeeper::lookRound);
        qApp->installEventFilter(this);
    }

    QQmlEngine& engine()
    {
        if (!engine_)
            make();
        wasInUse_ = true;
        unused_.start();
        return *engine_;
    }

    void setStay(std::chrono::milliseconds stay) { unused_.setInterval(stay); }

    void prepare(const QUrl& view)
    {
        auto& used = engine();
        if (prepared_.insert(view).second)
            new QQmlComponent{&used, view, QQmlComponent::Asynchronous, &used};
    }

    void release()
    {
        if (!engine_ || isAnyInUse())
            return;
        unused_.stop();
        for (auto* owner : viewOwners())
            owner->releaseView();
        delete engine_;
        QPixmapCache::clear();
        platform::giveBackUnusedMemory();
    }

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() == QEvent::Expose && qobject_cast<QQuickWindow*>(object)) {
            qApp->removeEventFilter(this);
            // Behind its first frame: drawing the icon takes as long as another.
            QMetaObject::invokeMethod(this, drawWindowIcon, Qt::QueuedConnection);
        }
        return QObject::eventFilter(object, event);
    }

private:
    /// Between the end of the last use and the release there is at least one whole interval.
    void lookRound()
    {
        const bool isInUse = isAnyInUse();
        if (!isInUse && !wasInUse_)
            return release();
        wasInUse_ = isInUse;
        unused_.start();
    }

    void make()
    {
        prepared_.clear();
        engine_ = new QQmlEngine{QCoreApplication::instance()};
        for (void (*volatile types)() : {&qml_register_types_Velmora_Library, &qml_register_types_Velmora_Onboarding,
                 &qml_register_types_Velmora_Settings, &qml_register_types_Velmora_Windows, &qml_register_types_Velmora_App})
            [[maybe_unused]] const auto linked = types;
        installBrandModule(*engine_);
        fulfilWishes(*engine_);
        wishes().engine = engine_;
    }

    QPointer<QQmlEngine> engine_;
    std::set<QUrl> prepared_;
    QTimer unused_;
    bool wasInUse_ = false;  // when it was last looked, or since
};

EngineKeeper& keeper()
{
    // Goes with the application.
    static QPointer<EngineKeeper> instance;
    if (!instance)
        instance = new EngineKeeper;
    return *instance;
}

}  // namespace

QQmlEngine& quickEngine()
{
    return keeper().engine();
}

void prepareView(const QUrl& view)
{
    keeper().prepare(view);
}

void setQuickEngineStay(std::chrono::milliseconds stay)
{
    keeper().setStay(stay);
}

void releaseQuickEngine()
{
    keeper().release();
}

QuickViewOwner::QuickViewOwner()
{
    viewOwners().push_back(this);
}

QuickViewOwner::~QuickViewOwner()
{
    std::erase(viewOwners(), this);
}

void setReducesMotion(bool reducesMotion)
{
    wishes().reducesMotion = reducesMotion;
    if (wishes().engine)
        setReducesMotion(*wishes().engine, reducesMotion);
}

void setIncreasesContrast(bool increasesContrast)
{
    wishes().increasesContrast = increasesContrast;
    if (wishes().engine)
        setIncreasesContrast(*wishes().engine, increasesContrast);
    for (auto* window : QGuiApplication::allWindows()) {
        if (auto* ours = qobject_cast<QQuickWindow*>(window); ours && ours->color().alpha() == 255)
            ours->setColor(windowColor());
    }
}

void setTextScale(double scale)
{
    wishes().textScale = scale;
    if (wishes().engine)
        setTextScale(*wishes().engine, scale);
}

bool reducesMotion()
{
    return wishes().reducesMotion;
}

QColor windowColor()
{
    return Palette::of(wishes().increasesContrast).window;
}

}  // namespace velmora
