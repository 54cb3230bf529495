#include "app/views/StatusWindow.h"

#include "app/menu/MenuRenderer.h"
#include "app/menu/TrayStatusItem.h"
#include "app/views/FittedView.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "brand/ShownText.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <xcb/xcb.h>

namespace velmora {

namespace {

constexpr std::uint8_t sentByClient = 0x80;

/// Notices whether somebody did something in it.
class StatusView final : public FittedView {
public:
    using FittedView::FittedView;

    bool isUsed = false;

protected:
    bool event(QEvent* event) override
    {
        isUsed = isUsed || event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress;
        return FittedView::event(event);
    }
};

/// When the desktop starts its panel after us, the window has nothing more to show: it closes, unless it is in use.
class StatusWindow final : public ApplicationWindow, public QAbstractNativeEventFilter {
public:
    StatusWindow(MenuBarController& menuBar, const CaptureCoordinator& coordinator, std::shared_ptr<platform::WindowActivation> activation)
        : model_(menuBar, coordinator)
        , activation_(std::move(activation))
        , view_(quickEngine())
    {
        view_.setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint
            | Qt::WindowCloseButtonHint);
        view_.setTitle(QStringLiteral("Velmora"));
        view_.setColor(QColor{0x0F, 0x17, 0x2A});
        view_.setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        view_.setSource(QUrl{QStringLiteral("qrc:/Velmora/App/views/StatusView.qml")});
        view_.takeSizeOfContents();
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    void makeKeyAndOrderFront() override
    {
        // What is asked for again is wanted.
        view_.isUsed = std::exchange(wasShown_, true);
        model_.update();
        if (!view_.isVisible())
            fitAndCentre(view_, *activation_);
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
    connect(&menuBar, &MenuBarController::remarksChanged, this, &StatusModel::update);
    update();
}

void StatusModel::update()
{
    std::vector<MenuItem> items;
    for (auto& item : menuBar_.menuNeedsUpdate()) {
        auto entries = std::exchange(item.submenu, {});
        if (!entries.empty())
            item.isEnabled = false;
        items.push_back(std::move(item));
        for (auto& entry : entries)
            items.push_back(std::move(entry));
    }
    setItems(std::move(items));
}

void StatusModel::setItems(std::vector<MenuItem> items)
{
    if (differOnlyInCaptions(items, items_)) {
        // Whoever is at a row, with the pointer or a screen reader, stays there.
        for (int row = 0; row < rowCount(); ++row) {
            auto& shown = items_[static_cast<std::size_t>(row)].caption;
            auto& caption = items[static_cast<std::size_t>(row)].caption;
            if (std::exchange(shown, caption) != caption)
                emit dataChanged(index(row), index(row), {Caption});
        }
        return;
    }
    const auto current =
        currentRow_ < rowCount() ? std::optional{items_[static_cast<std::size_t>(std::max(currentRow_, 0))]} : std::nullopt;
    beginResetModel();
    items_ = std::move(items);
    const int before = std::exchange(currentRow_, rowLike(current));
    endResetModel();
    if (currentRow_ != before)
        emit currentRowChanged();
}

int StatusModel::rowLike(const std::optional<MenuItem>& wanted) const
{
    int same = -1;
    int nearest = -1;
    const auto isNearer = [this](int row, int than) { return than < 0 || std::abs(row - currentRow_) < std::abs(than - currentRow_); };
    for (int row = 0; row < rowCount(); ++row) {
        if (!isActionable(row))
            continue;
        const auto& item = items_[static_cast<std::size_t>(row)];
        if (wanted && item.action == wanted->action && item.representedFile == wanted->representedFile && isNearer(row, same))
            same = row;
        if (isNearer(row, nearest))
            nearest = row;
    }
    return same >= 0 ? same : nearest;
}

bool StatusModel::isActionable(int row) const
{
    const auto& item = items_[static_cast<std::size_t>(row)];
    return item.isEnabled && item.action != MenuAction::none;
}

void StatusModel::setCurrentRow(int row)
{
    if (row == currentRow_ || row < 0 || row >= rowCount() || !isActionable(row))
        return;
    currentRow_ = row;
    emit currentRowChanged();
}

void StatusModel::moveCurrentRow(int step)
{
    for (int row = currentRow_ + step; row >= 0 && row < rowCount(); row += step) {
        if (isActionable(row))
            return setCurrentRow(row);
    }
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
    const bool isRemark = item.kind == MenuItem::Kind::remark;
    switch (role) {
    case Title:
        return QString::fromStdString(item.title);
    case Emoji:
        return leadingEmoji(QString::fromStdString(item.title));
    case Words: {
        if (isRemark)
            return QString{};
        const auto title = QString::fromStdString(item.title);
        const auto emoji = leadingEmoji(title);
        return emoji.isEmpty() ? title : title.mid(emoji.size()).trimmed();
    }
    case Caption:
        return shownCaption(isRemark ? item.title : item.caption);
    case KeySequence:
        return item.keyEquivalent ? keySequence(*item.keyEquivalent).toString(QKeySequence::PortableText) : QString{};
    case Shortcut:
        return item.keyEquivalent ? keyEquivalentText(*item.keyEquivalent) : QString{};
    case IsSeparator:
        return item.kind == MenuItem::Kind::separator;
    case IsRemark:
        return isRemark;
    case IsHeader:
        return item.kind == MenuItem::Kind::header;
    case IsActionable:
        return isActionable(index.row());
    default:
        return {};
    }
}

QHash<int, QByteArray> StatusModel::roleNames() const
{
    return {{Title, "title"}, {Emoji, "emoji"}, {Words, "words"}, {Caption, "caption"}, {Shortcut, "shortcut"},
        {KeySequence, "keySequence"}, {IsSeparator, "isSeparator"}, {IsRemark, "isRemark"}, {IsHeader, "isHeader"},
        {IsActionable, "isActionable"}};
}

std::shared_ptr<ApplicationWindow> makeStatusWindow(
    MenuBarController& menuBar, const CaptureCoordinator& coordinator, std::shared_ptr<platform::WindowActivation> activation)
{
    return std::make_shared<StatusWindow>(menuBar, coordinator, std::move(activation));
}

}  // namespace velmora
