// The small window with the state and the menu, for desktops without a tray.
#pragma once

#include "app/ApplicationWindows.h"
#include "app/menu/MenuBarController.h"
#include "platform/WindowActivation.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// The menu as rows, kept up to date while the window is there. A submenu's entries follow its title.
class StatusModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(int currentRow READ currentRow WRITE setCurrentRow NOTIFY currentRowChanged)

public:
    /// A title's words are what follows the symbol that it begins with, where that wants to be a coloured picture; a remark is all caption.
    enum Role { Title = Qt::UserRole, Emoji, Words, Caption, Shortcut, KeySequence, IsSeparator, IsRemark, IsHeader, IsActionable };

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

/// Closes by itself when a tray has come, unless it has been used or shown again.
std::shared_ptr<ApplicationWindow> makeStatusWindow(
    MenuBarController& menuBar, const CaptureCoordinator& coordinator, std::shared_ptr<platform::WindowActivation> activation);

}  // namespace velmora
