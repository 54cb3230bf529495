// The program's menu as a window of ours.
#pragma once

#include "app/menu/MenuDescription.h"
#include "app/menu/MenuLook.h"

#include <functional>
#include <vector>

namespace velmora {

/// Its key equivalents work while it is open: the open menu holds the keyboard, and the global shortcut does not arrive then.
class PopupMenu final : public StyledMenu {
    Q_OBJECT

public:
    explicit PopupMenu(std::function<void(const MenuItem&)> triggered);

    void popUp(std::vector<MenuItem> items, const QPoint& position);

    /// Shows `items` where they differ from what is shown in nothing but captions; does nothing otherwise.
    void updateCaptions(std::vector<MenuItem> items);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    std::function<void(const MenuItem&)> triggered_;
    std::vector<MenuItem> items_;
};

}  // namespace velmora
