// The line between two things, for QML.
#pragma once

#include "brand/RoundedRectangle.h"

#include <QColor>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// From the item's left to its right at its top, or from its top to its bottom at its left where it is higher than wide: as thick as a border
/// of one point of a RoundedRectangle, in whole pixels of the screen, at every scale and place.
class Hairline : public velmora::RoundedSurface {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER color_ NOTIFY lookChanged)

protected:
    [[nodiscard]] QSGNode* paintedNode() override;

private:
    QColor color_ = Qt::transparent;
};

}  // namespace velmora
