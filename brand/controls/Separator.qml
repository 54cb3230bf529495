import QtQuick
import Velmora.Brand

// Between two parts of a window, or two groups of a menu.
Hairline {
    implicitHeight: 1
    color: Theme.borderSlate
    Accessible.role: Accessible.Separator
}
