#include "app/menu/MenuLook.h"

#include "brand/BrandColors.h"

#include <QPainterPath>
#include <QRegion>

namespace velmora {

namespace {

constexpr int cornerRadius = 10;

QString look()
{
    return QStringLiteral("QMenu { background: %1; color: %2; border: 1px solid %3; border-radius: %4px; padding: 6px; }"
                          "QMenu::item { padding: 6px 22px 6px 12px; border-radius: 6px; margin: 0 2px; }"
                          "QMenu::item:selected { background: %5; color: white; }"
                          "QMenu::item:disabled { color: #94A3B8; background: transparent; }"
                          "QMenu::icon { padding-left: 10px; }"
                          "QMenu::separator { height: 1px; background: %3; margin: 6px 10px; }")
        .arg(BrandColors::cardSlate.name(), BrandColors::snowSlate.name(), BrandColors::borderSlate.name())
        .arg(cornerRadius)
        .arg(BrandColors::coral.name());
}

}  // namespace

StyledMenu::StyledMenu(QWidget* parent) : QMenu(parent)
{
    setStyleSheet(look());
}

void StyledMenu::resizeEvent(QResizeEvent* event)
{
    QMenu::resizeEvent(event);
    QPainterPath outline;
    outline.addRoundedRect(rect(), cornerRadius, cornerRadius);
    setMask(QRegion{outline.toFillPolygon().toPolygon()});
}

}  // namespace velmora
