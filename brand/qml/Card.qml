// A card that things lie on.
import QtQuick

Rectangle {
    radius: Theme.cardRadius
    color: Qt.alpha(Theme.card, 0.45)
    border.width: 1
    border.color: Theme.border
}
