// How the menus that we draw look.
#pragma once

#include <QFont>
#include <QMenu>

#include <functional>

namespace velmora {

/// How a menu finds out, each time it opens, whether the desktop honours the opacity of windows now. Until told, it does not.
void setMenusAreComposited(std::function<bool()> areComposited);

/// How menus look: with more contrast, those that are open too; and from their next opening on, text that many times as large, up to 1.5
/// times.
void setMenusIncreaseContrast(bool increasesContrast);
void setMenuTextScale(double scale);

/// What menus are set in, and the side of the symbols and of the mark beside it, in points.
[[nodiscard]] QFont menuFont(bool isBold);
[[nodiscard]] int menuSymbolSize();

/// A menu in our colours, with round corners even where no compositing manager runs.
class StyledMenu : public QMenu {
    Q_OBJECT

public:
    explicit StyledMenu(QWidget* parent = nullptr);

    /// Whether a title begins with one, or an item has an icon: there is a column for them then.
    [[nodiscard]] bool hasSymbols() const;

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    friend void setMenusIncreaseContrast(bool increasesContrast);

    void cutCorners();
    void takeColors();

    bool isComposited_ = false;
};

}  // namespace velmora
