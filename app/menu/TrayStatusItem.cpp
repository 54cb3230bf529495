#include "app/menu/TrayStatusItem.h"

#include "app/menu/MenuRenderer.h"
#include "app/menu/PopupMenu.h"
#include "base/SelfReference.h"
#include "brand/BrandColors.h"
#include "brand/BrandIcons.h"

#include <QCursor>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>

#include <memory>
#include <optional>
#include <utility>

namespace velmora {

namespace {

// The sizes that trays ask for.
constexpr int iconSizes[] = {16, 22, 24, 32, 44, 48};
constexpr double edgeOpacity = 0.7;

QImage withEdge(const MenuBarImage& image, int pixels)
{
    const auto mark = image.rendered(pixels, BrandColors::snowSlate);
    const auto shadow = image.rendered(pixels, BrandColors::obsidian);
    QImage result{mark.size(), QImage::Format_ARGB32_Premultiplied};
    result.fill(Qt::transparent);
    QPainter painter{&result};
    painter.setOpacity(edgeOpacity);
    for (const QPoint offset : {QPoint{-1, 0}, QPoint{1, 0}, QPoint{0, -1}, QPoint{0, 1}})
        painter.drawImage(offset, shadow);
    painter.setOpacity(1);
    painter.drawImage(0, 0, mark);
    return result;
}

class TrayStatusItem final : public StatusItem {
public:
    TrayStatusItem(std::shared_ptr<platform::TrayAppearance> appearance, TrayHost& host, std::function<void()> menuDidOpen)
        : appearance_(std::move(appearance))
        , host_(host)
        , menuDidOpen_(std::move(menuDidOpen))
        , popup_([this](const MenuItem& item) { trigger(item); })
    {
        QObject::connect(&busMenu_, &QMenu::aboutToShow, &busMenu_, [this] {
            fillBusMenu();
            announceMenu();
        });
        host_.whenAnswered([weak = self_.weak()] {
            if (const auto self = weak.lock())
                self->makeItem();
        });
    }

    void setToolTip(const std::string& text) override
    {
        toolTip_ = QString::fromStdString(text);
        if (tray_)
            tray_->setToolTip(toolTip_);
    }

    void captionsChanged() override
    {
        if (popup_.isVisible() && delegate_.menuNeedsUpdate)
            popup_.updateCaptions(delegate_.menuNeedsUpdate());
    }

    void setMenuDelegate(MenuDelegate delegate) override
    {
        delegate_ = std::move(delegate);
        fillBusMenu();
    }

    void setImage(const MenuBarImage& image) override
    {
        popup_.setAccessibleName(image.accessibleDescription);
        image_ = image;
        show();
    }

    void popUpMenu() override
    {
        if (!delegate_.menuNeedsUpdate)
            return;
        popup_.popUp(delegate_.menuNeedsUpdate(), QCursor::pos());
        announceMenu();
    }

private:
    void makeItem()
    {
        tray_.emplace();
        QObject::connect(&*tray_, &QSystemTrayIcon::activated, &*tray_, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::MiddleClick || reason == QSystemTrayIcon::Context)
                popUpMenu();
        });
        tray_->setToolTip(toolTip_);
        // An XEmbed icon would show this menu in place of ours on a right click.
        if (host_.drawsTheMenu())
            tray_->setContextMenu(&busMenu_);
        show();
    }

    void show()
    {
        if (!tray_ || !image_)
            return;
        tray_->setIcon(icon(*image_));
        tray_->show();
    }

    [[nodiscard]] QIcon icon(const MenuBarImage& image) const
    {
        const auto color = image.isTemplate ? appearance_->itemColor() : std::nullopt;
        const auto name = BrandIcons::menuBarIconName(image);
        if (!color && host_.drawsTheMenu() && QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
        QIcon icon;
        for (const int size : iconSizes) {
            if (color)
                icon.addPixmap(QPixmap::fromImage(image.rendered(size, QColor{color->red, color->green, color->blue})));
            else
                icon.addPixmap(QPixmap::fromImage(image.isTemplate ? withEdge(image, size) : image.rendered(size)));
        }
        return icon;
    }

    void fillBusMenu()
    {
        if (!delegate_.menuNeedsUpdate)
            return;
        auto items = delegate_.menuNeedsUpdate();
        // A host that is given other rows while its menu is open shows these, and forgets which one was about to be chosen.
        if (differOnlyInCaptions(items, busItems_))
            return;
        busItems_ = std::move(items);
        renderMenu(busMenu_, busItems_, LabelSyntax::dbusmenu, [this](const MenuItem& item) { trigger(item); });
    }

    void announceMenu()
    {
        // Once it has been painted.
        QTimer::singleShot(0, &busMenu_, menuDidOpen_);
    }

    void trigger(const MenuItem& item)
    {
        if (delegate_.menuItemTriggered)
            delegate_.menuItemTriggered(item);
    }

    const std::shared_ptr<platform::TrayAppearance> appearance_;
    TrayHost& host_;
    const std::function<void()> menuDidOpen_;
    MenuDelegate delegate_;
    PopupMenu popup_;
    QMenu busMenu_;
    std::vector<MenuItem> busItems_;
    QString toolTip_;
    std::optional<MenuBarImage> image_;
    std::optional<QSystemTrayIcon> tray_;
    const SelfReference<TrayStatusItem> self_{*this};
};

}  // namespace

std::unique_ptr<StatusItem> makeTrayStatusItem(
    std::shared_ptr<platform::TrayAppearance> appearance, TrayHost& host, std::function<void()> menuDidOpen)
{
    return std::make_unique<TrayStatusItem>(std::move(appearance), host, std::move(menuDidOpen));
}

}  // namespace velmora
