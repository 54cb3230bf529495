#include "app/views/QuickWindows.h"

#include "app/views/FittedView.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "brand/ShownText.h"

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

/// Where a window was.
struct WindowPlace {
    QRect geometry;
    Qt::WindowStates states;
};

class QuickWindow final : public ApplicationWindow, public QuickViewOwner, public std::enable_shared_from_this<QuickWindow> {
public:
    QuickWindow(WindowDescription description, QuickContent content, std::shared_ptr<platform::WindowActivation> activation)
        : description_(std::move(description))
        , content_(std::move(content))
        , activation_(std::move(activation))
    {
        makeView();
        fitAndCentre(*view_, *activation_);
        if (content_.onDismiss)
            content_.onDismiss([this] {
                if (view_)
                    view_->close();
            });
    }

    void makeKeyAndOrderFront() override
    {
        if (!view_) {
            makeView();
            view_->setGeometry(place_.geometry);
            view_->setWindowStates(place_.states);
        }
        if (!view_->isVisible())
            appear();
        view_->setWindowStates(view_->windowStates() & ~Qt::WindowMinimized);
        view_->show();
        view_->raise();
        view_->requestActivate();
        activation_->activate(view_->winId());
    }

    void releaseView() override
    {
        if (view_)
            place_ = {view_->geometry(), view_->windowStates()};
        view_.reset();
    }

private:
    void makeView()
    {
        view_ = std::make_unique<FittedView>(quickEngine());
        const QSize size{description_.width, description_.height};
        view_->setFlags(flagsFor(description_));
        view_->setTitle(oneLine(QString::fromStdString(description_.title)));
        view_->setColor(windowColor());
        view_->setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(content_.model.get())}});
        view_->setSource(content_.view);
        view_->setGivenSize(size, description_.isResizable);
        QObject::connect(view_.get(), &QWindow::visibleChanged, view_.get(), [this](bool isVisible) { visibilityChanged(isVisible); });
    }

    void appear()
    {
        if (content_.willAppear)
            content_.willAppear();
        QObject::disconnect(firstFrame_);
        if (content_.didAppear)
            firstFrame_ = QObject::connect(
                view_.get(), &QQuickWindow::frameSwapped, view_.get(),
                [this] {
                    // It may have been closed since.
                    if (view_->isVisible())
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

    const WindowDescription description_;
    const QuickContent content_;
    const std::shared_ptr<platform::WindowActivation> activation_;
    std::unique_ptr<FittedView> view_;  // none after it was released
    WindowPlace place_;  // then
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
