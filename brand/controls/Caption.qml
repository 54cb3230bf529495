import Velmora.Brand

// What is said beside the matter: smaller and quieter than a label.
Label {
    color: Theme.secondaryText
    font: Theme.captionFont
}
