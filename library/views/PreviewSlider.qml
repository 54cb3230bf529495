// A slider over the times of a clip: the picture follows it, and its steps are the clip's pictures.
import QtQuick
import Velmora.Brand

Slider {
    stepsByItself: false
    live: true
}
