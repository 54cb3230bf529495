#include "app/views/QuickWindows.h"

#include "app/views/FittedView.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"

#include <QTimer>
#include <QVariantMap>

#include <utility>

namespace velmora {

namespace {

Qt::WindowFlags flagsFor(const WindowDescription& description)
{
    Qt::WindowFlags flags =
        Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
    flags.setFlag(Qt::WindowMinimizeButtonHint, description.isMiniaturizable);
    flags.setFlag(Qt::WindowMaximizeButtonHint, description.isResizable);
    return flags;
}

class QuickWindow final : public ApplicationWindow, public std::enable_shared_from_this<QuickWindow> {
public:
    QuickWindow(const WindowDescription& description, QuickContent content, std::shared_ptr<platform::WindowActivation> activation)
        : content_(std::move(content))
        , activation_(std::move(activation))
        , view_(quickEngine())
    {
        const QSize size{description.width, description.height};
        view_.setFlags(flagsFor(description));
        view_.setTitle(QString::fromStdString(description.title));
        view_.setColor(QColor{0x0F, 0x17, 0x2A});
        view_.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(content_.model.get())}});
        view_.setSource(content_.view);
        view_.setGivenSize(size, description.isResizable);
        fitAndCentre(view_, *activation_);
        if (content_.onDismiss)
            content_.onDismiss([this] { view_.close(); });
        QObject::connect(&view_, &QWindow::visibleChanged, &view_, [this](bool isVisible) { visibilityChanged(isVisible); });
    }

    void makeKeyAndOrderFront() override
    {
        if (!view_.isVisible())
            appear();
        view_.setWindowStates(view_.windowStates() & ~Qt::WindowMinimized);
        view_.show();
        view_.raise();
        view_.requestActivate();
        activation_->activate(view_.winId());
    }

private:
    void appear()
    {
        if (content_.willAppear)
            content_.willAppear();
        QObject::disconnect(firstFrame_);
        if (content_.didAppear)
            firstFrame_ = QObject::connect(
                &view_, &QQuickWindow::frameSwapped, &view_,
                [this] {
                    // It may have been closed since.
                    if (view_.isVisible())
                        content_.didAppear();
                },
                static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
    }

    void visibilityChanged(bool isVisible)
    {
        if (isVisible)
            whileVisible_ = shared_from_this();
        else
            // What this call came from may still use the window.
            QTimer::singleShot(0, [last = std::exchange(whileVisible_, nullptr)] {
                if (last && last->content_.didDisappear)
                    last->content_.didDisappear();
            });
    }

    const QuickContent content_;
    const std::shared_ptr<platform::WindowActivation> activation_;
    FittedView view_;
    QMetaObject::Connection firstFrame_;

    // A window that nobody refers to any more lives until it is closed.
    std::shared_ptr<QuickWindow> whileVisible_;
};

}  // namespace

QuickWindowFactory::QuickWindowFactory(std::shared_ptr<platform::WindowActivation> activation, MakeContent makeContent)
    : activation_(std::move(activation))
    , makeContent_(std::move(makeContent))
{
}

std::shared_ptr<ApplicationWindow> QuickWindowFactory::makeWindow(const WindowDescription& description)
{
    return std::make_shared<QuickWindow>(description, makeContent_(description), activation_);
}

}  // namespace velmora
