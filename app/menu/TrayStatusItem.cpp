#include "app/menu/TrayStatusItem.h"

#include "app/menu/MenuRenderer.h"
#include "app/menu/PopupMenu.h"
#include "brand/BrandColors.h"

#include <QCursor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QVariant>

#include <utility>

namespace velmora {

namespace {

// The sizes that trays ask for.
constexpr int iconSizes[] = {16, 22, 24, 32, 44, 48};

/// A tray does not tell whether its ground is light or dark: a light mark with a dark edge can be seen on both.
QImage withEdge(const MenuBarImage& image, int pixels)
{
    const auto mark = image.rendered(pixels, BrandColors::snowSlate);
    if (!image.isTemplate)
        return mark;
    const auto shadow = image.rendered(pixels, BrandColors::obsidian);
    QImage result{mark.size(), QImage::Format_ARGB32_Premultiplied};
    result.fill(Qt::transparent);
    QPainter painter{&result};
    painter.setOpacity(0.45);
    for (const QPoint offset : {QPoint{-1, 0}, QPoint{1, 0}, QPoint{0, -1}, QPoint{0, 1}})
        painter.drawImage(offset, shadow);
    painter.setOpacity(1);
    painter.drawImage(0, 0, mark);
    return result;
}

/// Whether the item is one of StatusNotifierItem, whose host draws the menu itself from what the bus says. Qt asks the same, once.
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
    TrayStatusItem() : popup_([this](const MenuItem& item) { trigger(item); })
    {
        QObject::connect(&busMenu_, &QMenu::aboutToShow, &busMenu_, [this] { fillBusMenu(); });
        QObject::connect(&tray_, &QSystemTrayIcon::activated, &tray_, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::MiddleClick || reason == QSystemTrayIcon::Context)
                popUpMenu();
        });
    }

    void setToolTip(const std::string& text) override { tray_.setToolTip(QString::fromStdString(text)); }

    void setMenuDelegate(MenuDelegate delegate) override
    {
        delegate_ = std::move(delegate);
        fillBusMenu();
    }

    void setImage(const MenuBarImage& image) override
    {
        QIcon icon;
        for (const int size : iconSizes)
            icon.addPixmap(QPixmap::fromImage(withEdge(image, size)));
        tray_.setIcon(icon);
        if (std::exchange(isShown_, true))
            return;
        // An XEmbed icon would show this menu to a right click in place of ours.
        if (hostDrawsTheMenu())
            tray_.setContextMenu(&busMenu_);
        tray_.show();
    }

    void popUpMenu() override
    {
        if (delegate_.menuNeedsUpdate)
            popup_.popUp(delegate_.menuNeedsUpdate(), QCursor::pos());
    }

private:
    void fillBusMenu()
    {
        if (delegate_.menuNeedsUpdate)
            renderMenu(busMenu_, delegate_.menuNeedsUpdate(), LabelSyntax::dbusmenu, [this](const MenuItem& item) { trigger(item); });
    }

    void trigger(const MenuItem& item)
    {
        if (delegate_.menuItemTriggered)
            delegate_.menuItemTriggered(item);
    }

    MenuDelegate delegate_;
    PopupMenu popup_;
    QMenu busMenu_;
    QSystemTrayIcon tray_;
    bool isShown_ = false;
};

}  // namespace

std::unique_ptr<StatusItem> makeTrayStatusItem()
{
    return std::make_unique<TrayStatusItem>();
}

bool hasTray()
{
    return QSystemTrayIcon::isSystemTrayAvailable();
}

}  // namespace velmora
