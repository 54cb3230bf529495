// The small window with the state and the menu, for desktops without a tray.
#pragma once

#include "app/ApplicationWindows.h"
#include "app/menu/MenuBarController.h"
#include "platform/WindowActivation.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <memory>
#include <vector>

namespace velmora {

/// The menu as rows, kept up to date while the window is there. A submenu's entries follow its title.
class StatusModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")

public:
    enum Role { Title = Qt::UserRole, Shortcut, IsSeparator, IsHeader, IsActionable };

    /// `menuBar` outlives this.
    StatusModel(MenuBarController& menuBar, const CaptureCoordinator& coordinator);

    void update();
    Q_INVOKABLE void trigger(int row);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    MenuBarController& menuBar_;
    std::vector<MenuItem> items_;
};

/// Closes by itself when a tray has come, unless it was used or shown once more.
std::shared_ptr<ApplicationWindow> makeStatusWindow(
    MenuBarController& menuBar, const CaptureCoordinator& coordinator, std::shared_ptr<platform::WindowActivation> activation);

}  // namespace velmora
