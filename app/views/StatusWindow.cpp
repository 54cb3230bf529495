#include "app/views/StatusWindow.h"

#include "app/menu/MenuRenderer.h"
#include "app/menu/TrayStatusItem.h"
#include "app/views/QuickEngine.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QQuickView>
#include <QTimer>

#include <utility>
#include <xcb/xcb.h>

namespace velmora {

namespace {

constexpr std::uint8_t sentByClient = 0x80;

/// Notices whether somebody did something in it.
class StatusView final : public QQuickView {
public:
    using QQuickView::QQuickView;

    bool isUsed = false;

protected:
    bool event(QEvent* event) override
    {
        isUsed = isUsed || event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress;
        return QQuickView::event(event);
    }
};

/// When the desktop starts its panel after us, the window has nothing more to show: it closes, unless it is in use.
class StatusWindow final : public ApplicationWindow, public QAbstractNativeEventFilter {
public:
    StatusWindow(MenuBarController& menuBar, const CaptureCoordinator& coordinator, std::shared_ptr<platform::WindowActivation> activation)
        : model_(menuBar, coordinator)
        , activation_(std::move(activation))
        , view_(&quickEngine(), nullptr)
    {
        view_.setTitle(QStringLiteral("Velmora"));
        view_.setColor(QColor{0x0F, 0x17, 0x2A});
        view_.setResizeMode(QQuickView::SizeViewToRootObject);
        view_.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        view_.setSource(QUrl{QStringLiteral("qrc:/Velmora/App/views/StatusView.qml")});
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    void makeKeyAndOrderFront(bool) override
    {
        // What is asked for once more is wanted.
        view_.isUsed = std::exchange(wasShown_, true);
        model_.update();
        view_.show();
        view_.raise();
        activation_->activate(view_.winId());
    }

    /// A tray that starts says so to the root window: System Tray Protocol 0.3, ICCCM 2.8.
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override
    {
        if (eventType != "xcb_generic_event_t")
            return false;
        const auto* event = static_cast<xcb_generic_event_t*>(message);
        if ((event->response_type & ~sentByClient) == XCB_CLIENT_MESSAGE) {
            // Qt hears it after us.
            QTimer::singleShot(0, &view_, [this] {
                if (view_.isVisible() && !view_.isUsed && hasTray())
                    view_.close();
            });
        }
        return false;
    }

private:
    StatusModel model_;
    const std::shared_ptr<platform::WindowActivation> activation_;
    StatusView view_;
    bool wasShown_ = false;
};

}  // namespace

StatusModel::StatusModel(MenuBarController& menuBar, const CaptureCoordinator& coordinator) : menuBar_(menuBar)
{
    connect(&coordinator, &CaptureCoordinator::stateChanged, this, &StatusModel::update);
    connect(&coordinator, &CaptureCoordinator::selectedWindowChanged, this, &StatusModel::update);
    connect(&coordinator.library(), &ClipLibrary::recentClipsChanged, this, &StatusModel::update);
    connect(&menuBar, &MenuBarController::noticeChanged, this, &StatusModel::update);
    update();
}

void StatusModel::update()
{
    beginResetModel();
    items_.clear();
    for (auto& item : menuBar_.menuNeedsUpdate()) {
        auto entries = std::exchange(item.submenu, {});
        if (!entries.empty())
            item.isEnabled = false;
        items_.push_back(std::move(item));
        for (auto& entry : entries)
            items_.push_back(std::move(entry));
    }
    endResetModel();
}

void StatusModel::trigger(int row)
{
    if (row < 0 || row >= rowCount())
        return;
    const auto item = items_[static_cast<std::size_t>(row)];
    menuBar_.handle(item);
}

int StatusModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant StatusModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& item = items_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Title:
        return QString::fromStdString(item.title);
    case Shortcut:
        return item.keyEquivalent ? keyEquivalentText(*item.keyEquivalent) : QString{};
    case IsSeparator:
        return item.kind == MenuItem::Kind::separator;
    case IsHeader:
        return item.kind == MenuItem::Kind::header;
    case IsActionable:
        return item.isEnabled && item.action != MenuAction::none;
    default:
        return {};
    }
}

QHash<int, QByteArray> StatusModel::roleNames() const
{
    return {{Title, "title"}, {Shortcut, "shortcut"}, {IsSeparator, "isSeparator"}, {IsHeader, "isHeader"}, {IsActionable, "isActionable"}};
}

std::shared_ptr<ApplicationWindow> makeStatusWindow(
    MenuBarController& menuBar, const CaptureCoordinator& coordinator, std::shared_ptr<platform::WindowActivation> activation)
{
    return std::make_shared<StatusWindow>(menuBar, coordinator, std::move(activation));
}

}  // namespace velmora
