#include "app/views/StatusWindow.h"

#include "app/menu/MenuRenderer.h"
#include "app/views/FittedView.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "base/SelfReference.h"
#include "brand/ShownText.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>
#include <xcb/xcb.h>

namespace velmora {

namespace {

constexpr std::uint8_t sentByClient = 0x80;

constexpr const char* showsWithoutActivating = "_q_showWithoutActivating";  // what Qt's own Qt::WA_ShowWithoutActivating sets

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
class QuickStatusWindow final : public StatusWindow, public QuickViewOwner, public QAbstractNativeEventFilter {
public:
    QuickStatusWindow(MenuBarController& menuBar, const CaptureCoordinator& coordinator,
        std::shared_ptr<platform::WindowActivation> activation, TrayHost& trayHost)
        : model_(menuBar, coordinator)
        , activation_(std::move(activation))
        , trayHost_(trayHost)
    {
        makeView();
        QCoreApplication::instance()->installNativeEventFilter(this);
        // A panel that hung, and has come to itself.
        trayHost.whenAnswered([weak = self_.weak()] {
            if (const auto self = weak.lock())
                self->closeForTheTray();
        });
    }

    void makeKeyAndOrderFront() override
    {
        show();
        view_->raise();
        activation_->activate(view_->winId());
    }

    void appear() override
    {
        if (!isAnyWindowShown())
            return makeKeyAndOrderFront();
        if (!view_)
            makeView();
        // A window manager neither activates nor raises it: EWMH, "_NET_WM_USER_TIME".
        view_->setProperty(showsWithoutActivating, true);
        show();
        view_->setProperty(showsWithoutActivating, QVariant{});
        raiseWhatHasTheKeyboard();
    }

    void releaseView() override { view_.reset(); }

    /// A tray that starts says so to the root window: System Tray Protocol 0.3, ICCCM 2.8.
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) override
    {
        if (!view_ || eventType != "xcb_generic_event_t")
            return false;
        const auto* event = static_cast<xcb_generic_event_t*>(message);
        if ((event->response_type & ~sentByClient) == XCB_CLIENT_MESSAGE) {
            // Qt hears it after us.
            QTimer::singleShot(0, &model_, [this] { closeForTheTray(); });
        }
        return false;
    }

private:
    static bool isAnyWindowShown()
    {
        const auto windows = QGuiApplication::topLevelWindows();
        return std::ranges::any_of(
            windows, [](const QWindow* window) { return window->isVisible() && qobject_cast<const QQuickWindow*>(window); });
    }

    /// A window manager puts a new window behind the one that has the keyboard, but on top while it does not know yet which one that is.
    void raiseWhatHasTheKeyboard()
    {
        if (auto* window = QGuiApplication::focusWindow())
            return window->raise();
        QObject::connect(
            qGuiApp, &QGuiApplication::focusWindowChanged, view_.get(),
            [this](QWindow* window) {
                if (window && window != view_.get())
                    window->raise();
            },
            Qt::SingleShotConnection);
    }

    void show()
    {
        if (!view_)
            makeView();
        // What is asked for again is wanted.
        view_->isUsed = std::exchange(wasShown_, true);
        model_.update();
        if (!view_->isVisible())
            fitAndCentre(*view_, *activation_);
        view_->show();
    }

    void closeForTheTray()
    {
        if (view_ && view_->isVisible() && !view_->isUsed && trayHost_.isThere())
            view_->close();
    }

    void makeView()
    {
        view_ = std::make_unique<StatusView>(quickEngine());
        view_->setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint
            | Qt::WindowCloseButtonHint);
        view_->setTitle(QStringLiteral("Velmora"));
        view_->setColor(windowColor());
        view_->setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        view_->setSource(QUrl{QStringLiteral("qrc:/Velmora/App/views/StatusView.qml")});
        view_->takeSizeOfContents();
    }

    StatusModel model_;
    const std::shared_ptr<platform::WindowActivation> activation_;
    const TrayHost& trayHost_;
    std::unique_ptr<StatusView> view_;  // none after it was released
    bool wasShown_ = false;
    const SelfReference<QuickStatusWindow> self_{*this};
};

/// It leads to the list of windows as a command with keys does.
bool isHint(const MenuItem& item)
{
    return item.action == MenuAction::selectWindow && !item.keyEquivalent;
}

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
        const auto paused = item.action == MenuAction::toggleRecording ? menuBar_.isRecordingPaused() : std::nullopt;
        items.push_back(std::move(item));
        if (paused)
            items.push_back(pauseItem(*paused));
        const bool hasClips = !entries.empty();
        for (auto& entry : entries)
            items.push_back(std::move(entry));
        // The menu of the tray has no such row, nor one for a pause; what is open as a window has room for them.
        if (hasClips)
            items.push_back(showClipsItem());
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
    auto action = wanted ? wanted->action : MenuAction::none;
    // What says that there is no window is gone once one is chosen, and the next thing to do is to record it.
    if (wanted && isHint(*wanted) && std::ranges::none_of(items_, isHint))
        action = MenuAction::toggleRecording;
    int same = -1;
    int nearest = -1;
    const auto isNearer = [this](int row, int than) { return than < 0 || std::abs(row - currentRow_) < std::abs(than - currentRow_); };
    for (int row = 0; row < rowCount(); ++row) {
        if (!isActionable(row))
            continue;
        const auto& item = items_[static_cast<std::size_t>(row)];
        if (wanted && item.action == action && item.representedFile == wanted->representedFile && isNearer(row, same))
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
    case Symbol:
        return leadingSymbol(QString::fromStdString(item.title));
    case Words: {
        if (isRemark)
            return QString{};
        const auto title = QString::fromStdString(item.title);
        return title.mid(leadingSymbol(title).size()).trimmed();
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
    case IsState:
        return index.row() == 1;  // beneath the header
    case IsProminent:
        return item.action == MenuAction::toggleRecording;
    case IsActionable:
        return isActionable(index.row());
    default:
        return {};
    }
}

QHash<int, QByteArray> StatusModel::roleNames() const
{
    return {{Title, "title"}, {Symbol, "symbol"}, {Words, "words"}, {Caption, "caption"}, {Shortcut, "shortcut"},
        {KeySequence, "keySequence"}, {IsSeparator, "isSeparator"}, {IsRemark, "isRemark"}, {IsHeader, "isHeader"}, {IsState, "isState"},
        {IsProminent, "isProminent"}, {IsActionable, "isActionable"}};
}

std::shared_ptr<StatusWindow> makeStatusWindow(MenuBarController& menuBar, const CaptureCoordinator& coordinator,
    std::shared_ptr<platform::WindowActivation> activation, TrayHost& trayHost)
{
    return std::make_shared<QuickStatusWindow>(menuBar, coordinator, std::move(activation), trayHost);
}

}  // namespace velmora
