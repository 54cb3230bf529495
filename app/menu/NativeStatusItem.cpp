#include "app/menu/NativeStatusItem.h"

#include <utility>

namespace velmora {

namespace {

class NativeStatusItem final : public StatusItem {
public:
    explicit NativeStatusItem(std::unique_ptr<StatusBarItem> item) : item_(std::move(item)) { }

    void setToolTip(const std::string& text) override { item_->setToolTip(text); }
    void setImage(const MenuBarImage& image) override { item_->setPicture(barPicture(image)); }
    void captionsChanged() override { }
    void popUpMenu() override { item_->popUpMenu(); }

    void setMenuDelegate(MenuDelegate delegate) override
    {
        item_->setMenuDelegate(
            {.menuNeedsUpdate = std::move(delegate.menuNeedsUpdate), .menuItemTriggered = std::move(delegate.menuItemTriggered)});
    }

private:
    const std::unique_ptr<StatusBarItem> item_;
};

}  // namespace

BarPicture barPicture(const MenuBarImage& image)
{
    BarPicture picture{.side = MenuBarImage::side,
        .representations = {},
        .isTemplate = image.isTemplate,
        .accessibleDescription = image.accessibleDescription.toStdString()};
    for (const int scale : {1, 2}) {
        const auto side = static_cast<int>(MenuBarImage::side) * scale;
        const auto pixels = image.rendered(side, QColor{Qt::black}).convertToFormat(QImage::Format_RGBA8888);
        platform::ApplicationIcon icon{side, {}};
        for (int y = 0; y < side; ++y)
            icon.rgba.insert(icon.rgba.end(), pixels.constScanLine(y), pixels.constScanLine(y) + side * 4);
        picture.representations.push_back(std::move(icon));
    }
    return picture;
}

std::unique_ptr<StatusItem> makeNativeStatusItem(std::unique_ptr<StatusBarItem> item)
{
    return std::make_unique<NativeStatusItem>(std::move(item));
}

}  // namespace velmora
