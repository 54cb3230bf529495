#include "app/views/StatusWindow.h"

#include "app/menu/MenuRenderer.h"
#include "app/views/QuickEngine.h"

#include <QQuickView>

#include <utility>

namespace velmora {

namespace {

class StatusWindow final : public ApplicationWindow {
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
    }

    void makeKeyAndOrderFront(bool) override
    {
        model_.update();
        view_.show();
        view_.raise();
        activation_->activate(view_.winId());
    }

private:
    StatusModel model_;
    const std::shared_ptr<platform::WindowActivation> activation_;
    QQuickView view_;
};

}  // namespace

StatusModel::StatusModel(MenuBarController& menuBar, const CaptureCoordinator& coordinator) : menuBar_(menuBar)
{
    connect(&coordinator, &CaptureCoordinator::stateChanged, this, &StatusModel::update);
    connect(&coordinator, &CaptureCoordinator::selectedWindowChanged, this, &StatusModel::update);
    connect(&coordinator.library(), &ClipLibrary::recentClipsChanged, this, &StatusModel::update);
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
