import Velmora.Brand

// What is said on the side: smaller and quieter than a label.
Label {
    color: Theme.secondaryText
    font: Theme.captionFont
}
