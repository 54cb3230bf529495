#include "app/views/HudPanelWindow.h"

#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "brand/BrandPainting.h"

#include <QEasingCurve>
#include <QGuiApplication>
#include <QMargins>
#include <QQuickView>
#include <QRegion>
#include <QScreen>
#include <QVariantAnimation>

#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <xcb/xcb.h>

namespace velmora {

namespace {

constexpr QSize panelSize{340, 110};
constexpr int fromRightEdge = 360;
constexpr int fromTopEdge = 10;
constexpr int cornerRadius = 14;
constexpr int shadowMargin = 20;
constexpr std::chrono::milliseconds fadeIn{250};

// Opacity is a property of the window, and setting it waits in the connection's buffer until something else is drawn.
void flush()
{
    if (const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>(); x11 && x11->connection())
        xcb_flush(x11->connection());
}

class HudPanelWindow final : public HudPanel, public QuickViewOwner {
public:
    HudPanelWindow(ClipSavedHUDModel::Actions actions, HudPanelServices services)
        : services_(std::move(services))
        , model_(std::move(actions))
    {
        makeView();
        fade_.setEasingCurve(QEasingCurve::InOutQuad);
        QObject::connect(
            &fade_, &QVariantAnimation::valueChanged, &model_, [this](const QVariant& value) { setOpacity(value.toDouble()); });
        QObject::connect(&fade_, &QVariantAnimation::finished, &model_, [this] { hideIfTransparent(); });
    }

    void releaseView() override { view_.reset(); }

    void setContent(Content content) override { model_.setContent(std::move(content)); }

    void place() override
    {
        const auto workArea = mainWorkArea(*services_.windowActivation);
        // A window keeps its pixels when it goes to a monitor on which a point has another number of them.
        if (!view_ || (workArea && workArea->screen->devicePixelRatio() != view_->devicePixelRatio())) {
            inFront_.reset();
            makeView();
        }
        if (workArea)
            view_->setScreen(workArea->screen);
        setHasShadow(services_.floatingWindows->areComposited());
        if (!workArea)
            return;
        const auto& free = workArea->area;
        const int margin = model_.shadowMargin();
        view_->setPosition(free.x() + free.width() - fromRightEdge - margin, free.y() + fromTopEdge - margin);
    }

    void orderFrontAndFadeIn() override
    {
        fade_.stop();
        setOpacity(0);
        view_->show();
        view_->raise();
        keepUsable();
        fadeTo(1, fadeIn);
    }

    void fadeOutAndOrderOut(std::chrono::milliseconds duration) override
    {
        if (!view_)
            return;
        fade_.stop();
        fadeTo(0, duration);
    }

private:
    void makeView()
    {
        view_ = std::make_unique<QQuickView>(&quickEngine(), nullptr);
        view_->setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus);
        view_->setTitle(QStringLiteral("Velmora"));
        // Gives the window a visual with opacity, which does no harm where nobody looks at it.
        view_->setColor(Qt::transparent);
        view_->setResizeMode(QQuickView::SizeRootObjectToView);
        view_->setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        view_->setSource(QUrl{QStringLiteral("qrc:/Velmora/App/views/ClipSavedHUDView.qml")});
    }

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
        view_->setOpacity(opacity);
        flush();
    }

    void hideIfTransparent()
    {
        if (opacity_ > 0.0)
            return;
        inFront_.reset();
        view_->hide();
    }

    void setHasShadow(bool hasShadow)
    {
        const int margin = hasShadow ? shadowMargin : 0;
        model_.setShadowMargin(margin);
        view_->resize(panelSize.grownBy({margin, margin, margin, margin}));
        view_->setMask(hasShadow ? QRegion{} : roundedRegion(panelSize, cornerRadius));
    }

    /// Above what other programs show from now on, and out of the way of clicks beside the panel. A shown window is needed for both.
    void keepUsable()
    {
        inFront_.reset();
        if (isWayland_)
            return;
        const double scale = view_->devicePixelRatio();
        const auto pixels = [scale](int points) { return static_cast<std::int32_t>(std::lround(points * scale)); };
        const int margin = model_.shadowMargin();
        const PixelRect panel{pixels(margin), pixels(margin), pixels(panelSize.width()), pixels(panelSize.height())};
        services_.floatingWindows->setClickableArea(view_->winId(), margin > 0 ? std::optional{panel} : std::nullopt);
        flush();
        inFront_ = services_.floatingWindows->keepInFront(view_->winId(), panel);
    }

    const HudPanelServices services_;
    ClipSavedHUDModel model_;
    std::unique_ptr<QQuickView> view_;  // none after it was released
    const bool isWayland_ = QGuiApplication::platformName().startsWith(QLatin1String{"wayland"});
    double opacity_ = 1;
    QVariantAnimation fade_;
    std::unique_ptr<platform::FloatingWindows::InFront> inFront_;  // while it is shown
};

}  // namespace

ClipSavedHUDModel::ClipSavedHUDModel(Actions actions)
    : actions_(std::move(actions))
    , smallFile_(actions_.smallFiles, [this] { return std::optional{content_.clip}; })
{
}

void ClipSavedHUDModel::setContent(HudPanel::Content content)
{
    content_ = std::move(content);
    emit contentChanged();
    smallFile_.update();
}

void ClipSavedHUDModel::setShadowMargin(int margin)
{
    if (std::exchange(shadowMargin_, margin) != margin)
        emit shadowMarginChanged();
}

void ClipSavedHUDModel::share(double x, double y)
{
    actions_.share(content_.clip, QPoint{qRound(x), qRound(y)});
}

std::unique_ptr<HudPanel> makeHudPanelWindow(ClipSavedHUDModel::Actions actions, HudPanelServices services)
{
    return std::make_unique<HudPanelWindow>(std::move(actions), std::move(services));
}

}  // namespace velmora
