// The single keys of a preview, as editors have them.
import QtQuick
import Velmora.Library

Item {
    id: root

    required property ClipPreviewModel model

    Shortcut {
        sequence: "I"
        enabled: root.model.canPlay
        onActivated: root.model.setTrimStartHere()
    }
    Shortcut {
        sequence: "O"
        enabled: root.model.canPlay
        onActivated: root.model.setTrimEndHere()
    }
    Shortcut {
        sequence: "J"
        enabled: root.model.canPlay
        onActivated: root.model.goOneSecondBack()
    }
    Shortcut {
        sequence: "K"
        enabled: root.model.canPlay
        onActivated: root.model.pause()
    }
    Shortcut {
        sequence: "L"
        enabled: root.model.canPlay
        onActivated: root.model.play()
    }
    Shortcut {
        sequence: ","
        enabled: root.model.canPlay
        onActivated: root.model.pauseAndStep(-1)
    }
    Shortcut {
        sequence: "."
        enabled: root.model.canPlay
        onActivated: root.model.pauseAndStep(1)
    }
    Shortcut {
        sequence: "M"
        enabled: root.model.canPlay
        onActivated: root.model.toggleMuted()
    }
    Shortcut {
        sequence: "X"
        enabled: root.model.canTrim
        onActivated: root.model.toggleCut()
    }
    Shortcut {
        sequence: "Home"
        enabled: root.model.canPlay
        onActivated: root.model.goToBeginning()
    }
    Shortcut {
        sequence: "End"
        enabled: root.model.canPlay
        onActivated: root.model.goToEnd()
    }
}
