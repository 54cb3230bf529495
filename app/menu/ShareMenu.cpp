#include "app/menu/ShareMenu.h"

#include "app/menu/MenuLook.h"

#include <QAction>

#include <utility>

namespace velmora {

void popUpShareMenu(std::shared_ptr<platform::SharingServices> sharing, const std::filesystem::path& file, const QPoint& position)
{
    auto* menu = new StyledMenu;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(QStringLiteral("Share"));
    for (const auto& service : sharing->services()) {
        const auto* action = menu->addAction(QString::fromStdString(service.title));
        QObject::connect(
            action, &QAction::triggered, menu, [sharing, identifier = service.identifier, file] { sharing->perform(identifier, file); });
    }
    menu->popup(position);
}

}  // namespace velmora
