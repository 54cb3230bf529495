// The small window with the state and the menu, for desktops without a tray.
#pragma once

#include "app/ApplicationWindows.h"
#include "app/menu/MenuBarController.h"
#include "app/menu/TrayHost.h"
#include "platform/WindowActivation.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// The menu as rows, kept up to date while the window is there. A submenu's entries follow its title, the way to all clips those of the
/// recent ones, and a recording's pause the command that ends it.
class StatusModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(int currentRow READ currentRow WRITE setCurrentRow NOTIFY currentRowChanged)

public:
    /// A title's words are what follows the symbol that it begins with; a remark is all caption. The row of the state, and the one command
    /// that the window is about, are more than the others.
    enum Role {
        Title = Qt::UserRole,
        Symbol,
        Words,
        Caption,
        Shortcut,
        KeySequence,
        IsSeparator,
        IsRemark,
        IsHeader,
        IsState,
        IsProminent,
        IsActionable
    };

    /// `menuBar` outlives this.
    StatusModel(MenuBarController& menuBar, const CaptureCoordinator& coordinator);

    void update();
    Q_INVOKABLE void trigger(int row);

    /// The command that has the focus: it stays the same however the menu changes, as long as it is in it.
    [[nodiscard]] int currentRow() const { return currentRow_; }
    void setCurrentRow(int row);
    Q_INVOKABLE void moveCurrentRow(int step);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void currentRowChanged();

private:
    [[nodiscard]] bool isActionable(int row) const;
    void setItems(std::vector<MenuItem> items);
    [[nodiscard]] int rowLike(const std::optional<MenuItem>& wanted) const;

    MenuBarController& menuBar_;
    std::vector<MenuItem> items_;
    int currentRow_ = 0;
};

/// The small window of a desktop without a tray: the state, and the menu.
class StatusWindow : public ApplicationWindow {
public:
    /// Shows it as the program starts: another window of ours that is there by then stays above it and keeps the keyboard.
    virtual void appear() = 0;
};

/// `trayHost` outlives it. Closes by itself when a tray has come, unless it has been used or shown again.
std::shared_ptr<StatusWindow> makeStatusWindow(MenuBarController& menuBar, const CaptureCoordinator& coordinator,
    std::shared_ptr<platform::WindowActivation> activation, TrayHost& trayHost);

}  // namespace velmora
