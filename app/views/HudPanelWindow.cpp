#include "app/views/HudPanelWindow.h"

#include "app/views/QuickEngine.h"

#include <QEasingCurve>
#include <QGuiApplication>
#include <QPainterPath>
#include <QQuickView>
#include <QRegion>
#include <QScreen>
#include <QVariantAnimation>

#include <utility>
#include <xcb/xcb.h>

namespace velmora {

namespace {

constexpr QSize panelSize{340, 110};
constexpr int fromRightEdge = 360;
constexpr int fromTopEdge = 10;
constexpr int cornerRadius = 14;
constexpr std::chrono::milliseconds fadeIn{250};

// Opacity is a property of the window, which waits in the connection's buffer until something else is drawn.
void flush()
{
    if (const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>(); x11 && x11->connection())
        xcb_flush(x11->connection());
}

QRegion roundedShape()
{
    QPainterPath outline;
    outline.addRoundedRect(QRect{{}, panelSize}, cornerRadius, cornerRadius);
    return QRegion{outline.toFillPolygon().toPolygon()};
}

class HudPanelWindow final : public HudPanel {
public:
    explicit HudPanelWindow(ClipSavedHUDModel::Actions actions) : model_(std::move(actions)), view_(&quickEngine(), nullptr)
    {
        view_.setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
        view_.setTitle(QStringLiteral("Velmora"));
        view_.setColor(QColor{0x0F, 0x17, 0x2A});
        view_.setResizeMode(QQuickView::SizeRootObjectToView);
        view_.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        view_.setSource(QUrl{QStringLiteral("qrc:/Velmora/App/views/ClipSavedHUDView.qml")});
        view_.resize(panelSize);
        view_.setMask(roundedShape());
        fade_.setEasingCurve(QEasingCurve::InOutQuad);
        QObject::connect(&fade_, &QVariantAnimation::valueChanged, &view_, [this](const QVariant& value) { setOpacity(value.toDouble()); });
        QObject::connect(&fade_, &QVariantAnimation::finished, &view_, [this] { hideIfTransparent(); });
    }

    void setContent(Content content) override { model_.setContent(std::move(content)); }

    void place() override
    {
        const auto* focused = QGuiApplication::focusWindow();
        const auto* screen = focused && focused->screen() ? focused->screen() : QGuiApplication::primaryScreen();
        if (!screen)
            return;
        const auto free = screen->availableGeometry();
        view_.setPosition(free.x() + free.width() - fromRightEdge, free.y() + fromTopEdge);
    }

    void orderFrontAndFadeIn() override
    {
        fade_.stop();
        setOpacity(0);
        view_.show();
        view_.raise();
        fadeTo(1, fadeIn);
    }

    void fadeOutAndOrderOut(std::chrono::milliseconds duration) override
    {
        fade_.stop();
        fadeTo(0, duration);
    }

private:
    void fadeTo(double opacity, std::chrono::milliseconds duration)
    {
        if (reducesMotion()) {
            setOpacity(opacity);
            return hideIfTransparent();
        }
        fade_.setStartValue(opacity_);
        fade_.setEndValue(opacity);
        fade_.setDuration(static_cast<int>(duration.count()));
        fade_.start();
    }

    void setOpacity(double opacity)
    {
        opacity_ = opacity;
        // A Wayland desktop has no such thing: there the panel comes and goes at once.
        if (isWayland_)
            return;
        view_.setOpacity(opacity);
        flush();
    }

    void hideIfTransparent()
    {
        if (opacity_ <= 0.0)
            view_.hide();
    }

    ClipSavedHUDModel model_;
    QQuickView view_;
    const bool isWayland_ = QGuiApplication::platformName().startsWith(QLatin1String{"wayland"});
    double opacity_ = 1;
    QVariantAnimation fade_;
};

}  // namespace

ClipSavedHUDModel::ClipSavedHUDModel(Actions actions) : actions_(std::move(actions)) { }

void ClipSavedHUDModel::setContent(HudPanel::Content content)
{
    content_ = std::move(content);
    emit contentChanged();
}

void ClipSavedHUDModel::share(double x, double y)
{
    actions_.share(content_.clip, QPoint{qRound(x), qRound(y)});
}

std::unique_ptr<HudPanel> makeHudPanelWindow(ClipSavedHUDModel::Actions actions)
{
    return std::make_unique<HudPanelWindow>(std::move(actions));
}

}  // namespace velmora
