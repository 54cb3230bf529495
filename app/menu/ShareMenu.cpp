#include "app/menu/ShareMenu.h"

#include "app/menu/MenuLook.h"
#include "library/SmallFileName.h"

#include <QAction>

#include <utility>

namespace velmora {

namespace {

void addSmallFiles(StyledMenu& menu, const std::shared_ptr<SmallFiles>& smallFiles, const std::filesystem::path& file)
{
    auto* limits = new StyledMenu{&menu};
    limits->setTitle(QStringLiteral("Copy as Small File"));
    limits->setAccessibleName(limits->title());
    for (const auto limit : small_file::usualLimits) {
        const auto* action = limits->addAction(QString::fromStdString(small_file::limitText(limit)));
        QObject::connect(action, &QAction::triggered, &menu, [smallFiles, file, limit] { smallFiles->start(file, limit); });
    }
    menu.addMenu(limits);
}

}  // namespace

void popUpShareMenu(std::shared_ptr<platform::SharingServices> sharing, std::shared_ptr<SmallFiles> smallFiles,
    const std::filesystem::path& file, const QPoint& position)
{
    auto* menu = new StyledMenu;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(QStringLiteral("Share"));
    for (const auto& service : sharing->services()) {
        const auto* action = menu->addAction(QString::fromStdString(service.title));
        QObject::connect(
            action, &QAction::triggered, menu, [sharing, identifier = service.identifier, file] { sharing->perform(identifier, file); });
        // The other way to the clipboard stands beneath the one.
        if (service.identifier == platform::copyFileService)
            addSmallFiles(*menu, smallFiles, file);
    }
    menu->popup(position);
}

}  // namespace velmora
