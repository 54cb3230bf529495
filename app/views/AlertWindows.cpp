#include "app/views/AlertWindows.h"

#include "app/views/FittedView.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "brand/ShownText.h"

#include <QCloseEvent>

#include <algorithm>
#include <deque>
#include <utility>

namespace velmora {

namespace {

class AlertView final : public FittedView {
public:
    AlertView(const Alert& alert, UniqueFunction<void(std::size_t)> completion)
        : FittedView(quickEngine())
        , model_(alert)
        , completion_(std::move(completion))
    {
        setFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint);
        setModality(Qt::ApplicationModal);
        setTitle(oneLine(model_.messageText()));
        setColor(windowColor());
        setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        setSource(QUrl{QStringLiteral("qrc:/Velmora/App/views/AlertView.qml")});
        takeSizeOfContents();
        QObject::connect(&model_, &AlertModel::pressed, this, [this](int button) {
            pressed_ = static_cast<std::size_t>(std::max(button, 0));
            close();
        });
        QObject::connect(this, &QWindow::visibleChanged, this, [this](bool isVisible) {
            if (isVisible)
                return;
            deleteLater();
            if (auto tell = std::exchange(completion_, {}))
                tell(pressed_.value_or(static_cast<std::size_t>(model_.buttons().size()) - 1));
        });
    }

    // The view's items go before the model that they are bound to.
    ~AlertView() override { setSource({}); }

private:
    AlertModel model_;
    UniqueFunction<void(std::size_t)> completion_;
    std::optional<std::size_t> pressed_;  // none: closed, which is the last button
};

class AlertWindows final : public AlertPresenter, public std::enable_shared_from_this<AlertWindows> {
public:
    explicit AlertWindows(std::shared_ptr<platform::WindowActivation> activation) : activation_(std::move(activation)) { }

    void present(Alert alert, UniqueFunction<void(std::size_t)> completion) override
    {
        waiting_.push_back({std::move(alert), std::move(completion)});
        presentNext();
    }

private:
    struct Waiting {
        Alert alert;
        UniqueFunction<void(std::size_t)> completion;
    };

    void presentNext()
    {
        if (isPresenting_ || waiting_.empty())
            return;
        isPresenting_ = true;
        Waiting next = std::move(waiting_.front());
        waiting_.pop_front();
        auto* view =
            new AlertView{next.alert, [self = shared_from_this(), completion = std::move(next.completion)](std::size_t button) mutable {
                              self->isPresenting_ = false;
                              completion(button);
                              self->presentNext();
                          }};
        fitAndCentre(*view, *activation_);
        view->show();
        activation_->activate(view->winId());
    }

    const std::shared_ptr<platform::WindowActivation> activation_;
    std::deque<Waiting> waiting_;
    bool isPresenting_ = false;
};

}  // namespace

AlertModel::AlertModel(const Alert& alert)
    : messageText_(paragraphs(QString::fromStdString(alert.messageText)))
    , informativeText_(paragraphs(QString::fromStdString(alert.informativeText)))
    , isWarning_(alert.style == Alert::Style::warning)
{
    for (const auto& button : alert.buttons)
        buttons_.append(QString::fromStdString(button));
}

std::shared_ptr<AlertPresenter> makeAlertWindows(std::shared_ptr<platform::WindowActivation> activation)
{
    return std::make_shared<AlertWindows>(std::move(activation));
}

}  // namespace velmora
