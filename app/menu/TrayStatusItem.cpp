#include "app/menu/TrayStatusItem.h"

#include "app/menu/MenuRenderer.h"
#include "app/menu/PopupMenu.h"
#include "brand/BrandColors.h"
#include "brand/BrandIcons.h"

#include <QCursor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QVariant>

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

/// Whether the item is a StatusNotifierItem, whose host draws the menu itself from what the bus says. Qt asks the same, once.
bool hostDrawsTheMenu()
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.kde.StatusNotifierWatcher"),
        QStringLiteral("/StatusNotifierWatcher"), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call.setArguments({QStringLiteral("org.kde.StatusNotifierWatcher"), QStringLiteral("IsStatusNotifierHostRegistered")});
    call.setAutoStartService(false);
    const QDBusReply<QVariant> reply = QDBusConnection::sessionBus().call(call);
    return reply.isValid() && reply.value().toBool();
}

class TrayStatusItem final : public StatusItem {
public:
    TrayStatusItem(std::shared_ptr<platform::TrayAppearance> appearance, std::function<void()> menuDidOpen)
        : appearance_(std::move(appearance))
        , menuDidOpen_(std::move(menuDidOpen))
        , popup_([this](const MenuItem& item) { trigger(item); })
    {
        QObject::connect(&busMenu_, &QMenu::aboutToShow, &busMenu_, [this] {
            fillBusMenu();
            announceMenu();
        });
        QObject::connect(&tray_, &QSystemTrayIcon::activated, &tray_, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::MiddleClick || reason == QSystemTrayIcon::Context)
                popUpMenu();
        });
    }

    void setToolTip(const std::string& text) override { tray_.setToolTip(QString::fromStdString(text)); }

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
        if (std::exchange(isShown_, true))
            return tray_.setIcon(icon(image));
        // An XEmbed icon would show this menu in place of ours on a right click.
        isOnTheBus_ = hostDrawsTheMenu();
        if (isOnTheBus_)
            tray_.setContextMenu(&busMenu_);
        tray_.setIcon(icon(image));
        tray_.show();
    }

    void popUpMenu() override
    {
        if (!delegate_.menuNeedsUpdate)
            return;
        popup_.popUp(delegate_.menuNeedsUpdate(), QCursor::pos());
        announceMenu();
    }

private:
    [[nodiscard]] QIcon icon(const MenuBarImage& image) const
    {
        const auto color = image.isTemplate ? appearance_->itemColor() : std::nullopt;
        const auto name = BrandIcons::menuBarIconName(image);
        if (!color && isOnTheBus_ && QIcon::hasThemeIcon(name))
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
        if (delegate_.menuNeedsUpdate)
            renderMenu(busMenu_, delegate_.menuNeedsUpdate(), LabelSyntax::dbusmenu, [this](const MenuItem& item) { trigger(item); });
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
    const std::function<void()> menuDidOpen_;
    MenuDelegate delegate_;
    PopupMenu popup_;
    QMenu busMenu_;
    QSystemTrayIcon tray_;
    bool isShown_ = false;
    bool isOnTheBus_ = false;
};

}  // namespace

std::unique_ptr<StatusItem> makeTrayStatusItem(std::shared_ptr<platform::TrayAppearance> appearance, std::function<void()> menuDidOpen)
{
    return std::make_unique<TrayStatusItem>(std::move(appearance), std::move(menuDidOpen));
}

bool hasTray()
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

}  // namespace velmora
