// How the menus that we draw look.
#pragma once

#include <QMenu>

namespace velmora {

/// A menu in our colours, with round corners even where no compositing manager runs.
class StyledMenu : public QMenu {
    Q_OBJECT

public:
    explicit StyledMenu(QWidget* parent = nullptr);

protected:
    void resizeEvent(QResizeEvent* event) override;
};

}  // namespace velmora
