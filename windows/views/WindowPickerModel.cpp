#include "windows/views/WindowPickerModel.h"

#include "brand/ShownText.h"
#include "capture/CaptureMessages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

namespace velmora {

namespace {

constexpr int iconPixels = 48;  // 24 points on the finest screens that we draw for

template <std::size_t count>
bool containsAny(const QString& name, const std::array<QLatin1String, count>& parts)
{
    return std::any_of(parts.begin(), parts.end(), [&](QLatin1String part) { return name.contains(part); });
}

}  // namespace

WindowPickerModel::WindowPickerModel(
    std::shared_ptr<WindowSelectionService> windowService, CaptureCoordinator& coordinator, QObject* parent)
    : QAbstractListModel(parent)
    , windowService_(std::move(windowService))
    , coordinator_(coordinator)
    , sound_(windowService_)
{
    connect(windowService_.get(), &WindowSelectionService::availableWindowsChanged, this, &WindowPickerModel::takeWindows);
    connect(windowService_.get(), &WindowSelectionService::isLoadingChanged, this, &WindowPickerModel::contentChanged);
    for (const auto changed : {&WindowPickerModel::contentChanged, &WindowPickerModel::selectionChanged})
        connect(this, changed, this, &WindowPickerModel::selectionCaptionChanged);
    connect(&coordinator_, &CaptureCoordinator::selectedWindowChanged, this, [this] {
        if (!filteredWindows_.empty())
            emit dataChanged(index(0), index(rowCount() - 1), {IsActive, Absence});
    });
    connect(&sound_, &SoundChoiceModel::doubleClicked, this, &WindowPickerModel::start);
    filter();
}

void WindowPickerModel::setSearchText(const QString& text)
{
    if (searchText_ == text)
        return;
    searchText_ = text;
    emit searchTextChanged();
    filter();
}

int WindowPickerModel::selectedRow() const
{
    const auto row =
        std::find_if(filteredWindows_.begin(), filteredWindows_.end(), [this](const auto& window) { return window.id == selectedID_; });
    return row == filteredWindows_.end() ? -1 : static_cast<int>(std::distance(filteredWindows_.begin(), row));
}

void WindowPickerModel::setSelectionInSight(bool isInSight)
{
    if (isSelectionInSight_ == isInSight)
        return;
    isSelectionInSight_ = isInSight;
    emit selectionCaptionChanged();
}

QString WindowPickerModel::selectionCaption() const
{
    if (!selectedID_ || (hasRows() && selectedRow() >= 0 && isSelectionInSight_))
        return {};
    const auto& available = windowService_->availableWindows();
    const auto selected = std::find_if(available.begin(), available.end(), [this](const auto& window) { return window.id == selectedID_; });
    if (selected != available.end())
        return QStringLiteral("Selected: ") + QString::fromStdString(selected->displayName());
    const bool isListKnown = !isLoading() && !windowService_->lastError();
    return isListKnown ? QStringLiteral("The selected window is gone: choose another one.") : QString{};
}

void WindowPickerModel::viewWillAppear()
{
    abandonRequest();
    setSearchText({});
    setSelectedID(std::nullopt);
    clicks_ = {};
    emit appeared();
    windowService_->followSounds([weak = self_.weak()] {
        if (const auto self = weak.lock(); self && self->rowCount() > 0)
            emit self->dataChanged(self->index(0), self->index(self->rowCount() - 1), {IsSounding});
    });
    windowService_->refreshWindows([weak = self_.weak()] {
        const auto self = weak.lock();
        if (!self)
            return;
        const auto& chosen = self->coordinator_.selectedWindow();
        const auto& available = self->windowService_->availableWindows();
        if (chosen)
            self->setSelectedID(chosen->id);
        else if (!available.empty())
            self->setSelectedID(available.front().id);
    });
}

void WindowPickerModel::viewDidDisappear()
{
    abandonRequest();
    windowService_->stopFindingIcons();
    windowService_->stopFollowingSounds();
    icons_.clear();
}

void WindowPickerModel::refreshWindows()
{
    windowService_->refreshWindows();
}

void WindowPickerModel::select(int row)
{
    if (row >= 0 && row < rowCount())
        setSelectedID(filteredWindows_[static_cast<std::size_t>(row)].id);
}

void WindowPickerModel::press(int row)
{
    const bool isOnRow = row >= 0 && row < rowCount();
    clicks_.press(isOnRow ? std::optional{filteredWindows_[static_cast<std::size_t>(row)].id} : std::nullopt);
}

void WindowPickerModel::doubleClick()
{
    const auto& id = clicks_.doubleClicked();
    if (id || clicks_.pressed())
        setSelectedID(id ? id : clicks_.pressed());
    if (id)
        start();
}

void WindowPickerModel::moveSelection(int step)
{
    if (filteredWindows_.empty())
        return;
    const int last = rowCount() - 1;
    const int current = selectedRow();
    select(current < 0 ? (step > 0 ? 0 : last) : std::clamp(current + step, 0, last));
}

void WindowPickerModel::start()
{
    if (granted_) {
        if (!sound_.selected())
            return;
        windowService_->chooseSound(granted_->id, *sound_.selected());
        return capture(*granted_);
    }
    const auto& available = windowService_->availableWindows();
    const auto chosen = std::find_if(available.begin(), available.end(), [this](const auto& window) { return window.id == selectedID_; });
    if (chosen == available.end())
        return;
    if (!windowService_->needsRequest(chosen->id))
        return capture(*chosen);
    windowService_->requestWindow(
        chosen->id, [weak = self_.weak(), request = ++request_](Result<std::optional<CapturedWindowInfo>> granted) {
            const auto self = weak.lock();
            if (!self)
                return;
            if (!granted)
                self->report(granted.error());
            else if (*granted)
                self->askForSound(**granted, request);
        });
}

void WindowPickerModel::askForSound(const CapturedWindowInfo& window, int request)
{
    if (request != request_)
        return windowService_->giveBackWindow(window.id);
    windowService_->suggestSound(window.id, [weak = self_.weak(), window, request](std::optional<SoundSuggestion> suggestion) {
        const auto self = weak.lock();
        if (!self)
            return;
        if (request != self->request_)
            return self->windowService_->giveBackWindow(window.id);
        if (!suggestion)
            return self->capture(window);
        if (suggestion->reason == SoundSuggestion::Reason::windowsOwn) {
            self->windowService_->chooseSound(window.id, *suggestion->choice);
            return self->capture(window);
        }
        self->sound_.show(window.id, std::move(*suggestion));
        self->granted_ = window;
        emit self->isChoosingSoundChanged();
    });
}

/// What is under way comes to nothing, and what was granted is given back.
void WindowPickerModel::abandonRequest()
{
    ++request_;
    if (!granted_)
        return;
    const auto window = std::exchange(granted_, std::nullopt);
    if (!isStarting_)
        windowService_->giveBackWindow(window->id);
    emit isChoosingSoundChanged();
}

void WindowPickerModel::cancel()
{
    if (granted_)
        abandonRequest();
    else
        emit dismissed();
}

void WindowPickerModel::capture(const CapturedWindowInfo& window)
{
    isStarting_ = true;
    coordinator_.selectWindowAndStartCapture(window, [weak = self_.weak(), id = window.id](const auto&) {
        const auto self = weak.lock();
        if (!self)
            return;
        self->isStarting_ = false;
        // If it was not captured, nobody wants it any more.
        self->windowService_->giveBackWindow(id);
        emit self->dismissed();
    });
}

void WindowPickerModel::report(const Error& error)
{
    if (coordinator_.onCaptureError)
        coordinator_.onCaptureError(std::string{capture_message::failedToCapture} + error.localizedDescription);
}

int WindowPickerModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(filteredWindows_.size());
}

QVariant WindowPickerModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& window = filteredWindows_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case AppName:
    case Qt::DisplayRole:
        return QString::fromStdString(window.appName);
    case Title:
        return QString::fromStdString(window.title);
    case SizeText:
        return sizeText(window.frame);
    case Symbol:
        return symbolName(QString::fromStdString(window.appName));
    case IsActive:
        return isActive(window);
    case Absence:
        // One that is to be requested is neither here nor away.
        if (window.isOnScreen || windowService_->needsRequest(window.id))
            return QString{};
        return absenceText(windowService_->absence(window.id), isActive(window));
    case IsSounding:
        return windowService_->isSounding(window.id);
    case Icon: {
        const auto icon = icons_.find(window.id);
        return icon == icons_.end() ? QImage{} : icon->second;
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> WindowPickerModel::roleNames() const
{
    return {{AppName, "appName"}, {Title, "title"}, {SizeText, "sizeText"}, {Symbol, "symbol"}, {IsActive, "isActive"},
        {Absence, "absence"}, {Icon, "applicationIcon"}, {IsSounding, "isSounding"}};
}

QString WindowPickerModel::symbolName(const QString& appName)
{
    static constexpr std::array browsers{
        QLatin1String("safari"), QLatin1String("chrome"), QLatin1String("firefox"), QLatin1String("edge"), QLatin1String("brave")};
    static constexpr std::array players{QLatin1String("quicktime"), QLatin1String("vlc"), QLatin1String("iina")};
    const QString name = appName.toLower();
    if (containsAny(name, browsers))
        return QStringLiteral("globe");
    return containsAny(name, players) ? QStringLiteral("play.rectangle.fill") : QStringLiteral("macwindow");
}

QString WindowPickerModel::absenceText(const WindowAbsence& absence, bool isActive)
{
    QString reason = QStringLiteral("not on the screen");
    if (absence.otherWorkspace) {
        const auto& [number, name] = *absence.otherWorkspace;
        reason = name.empty() ? QStringLiteral("on workspace %1").arg(number)
                              : QStringLiteral("on workspace “%1”").arg(oneLine(QString::fromStdString(name)));
        if (absence.isMinimised)
            reason.prepend(QStringLiteral("minimized, "));
    } else if (absence.isMinimised) {
        reason = QStringLiteral("minimized");
    }
    return (isActive ? QStringLiteral("Its picture stands still: ") : QStringLiteral("Cannot be recorded: ")) + reason;
}

QString WindowPickerModel::sizeText(const Rect& frame)
{
    // A window that is still to be chosen.
    if (frame == Rect{})
        return {};
    return QStringLiteral("%1 × %2 pt").arg(static_cast<qint64>(frame.width)).arg(static_cast<qint64>(frame.height));
}

bool WindowPickerModel::isActive(const CapturedWindowInfo& window) const
{
    return coordinator_.selectedWindow() && coordinator_.selectedWindow()->id == window.id;
}

void WindowPickerModel::setSelectedID(std::optional<std::uint32_t> id)
{
    if (selectedID_ == id)
        return;
    selectedID_ = id;
    emit selectionChanged();
}

void WindowPickerModel::takeWindows()
{
    icons_.clear();
    filter();
    windowService_->findIcons(iconPixels, [this](std::uint32_t id, const platform::ApplicationIcon& icon) { takeIcon(id, icon); });
}

void WindowPickerModel::takeIcon(std::uint32_t id, const platform::ApplicationIcon& icon)
{
    icons_[id] =
        QImage{icon.rgba.data(), icon.side, icon.side, QImage::Format_RGBA8888}.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    for (int row = 0; row < rowCount(); ++row) {
        if (filteredWindows_[static_cast<std::size_t>(row)].id == id)
            emit dataChanged(index(row), index(row), {Icon});
    }
}

void WindowPickerModel::filter()
{
    const auto& available = windowService_->availableWindows();
    beginResetModel();
    filteredWindows_.clear();
    std::copy_if(available.begin(), available.end(), std::back_inserter(filteredWindows_), [this](const CapturedWindowInfo& window) {
        return searchText_.isEmpty() || QString::fromStdString(window.appName).contains(searchText_, Qt::CaseInsensitive)
            || QString::fromStdString(window.title).contains(searchText_, Qt::CaseInsensitive);
    });
    endResetModel();
    emit contentChanged();
    emit selectionChanged();
}

}  // namespace velmora
