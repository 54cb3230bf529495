import QtQuick
import Velmora.Brand

// One line of what may come from outside: whatever is in it, it stays one line, and is cut where it does not fit.
Label {
    property string line

    text: Theme.oneLine(line)
    // From the left whatever its own direction: it stays beside what it names.
    horizontalAlignment: Text.AlignLeft
    elide: Text.ElideRight
    wrapMode: Text.NoWrap
}
