// What the walkthrough's words mean on this computer: a line beneath those that name what is not here.
#pragma once

#include <QMetaType>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// What a caption depends on.
struct WalkthroughFacts {
    bool hasTray = false;
    QString shortcutKeys;  ///< "Alt+Super+C"; empty where no shortcut could be bound
    bool hasSelectedWindow = false;
    bool hasScreenRecordingPermission = false;

    friend bool operator==(const WalkthroughFacts&, const WalkthroughFacts&) = default;
};

/// A sentence or two of plain text each.
struct WalkthroughCaptions {
    Q_GADGET
    QML_VALUE_TYPE(walkthroughCaptions)
    Q_PROPERTY(QString welcome MEMBER welcome CONSTANT)
    Q_PROPERTY(QString place MEMBER place CONSTANT)
    Q_PROPERTY(QString crowdedPlace MEMBER crowdedPlace CONSTANT)
    Q_PROPERTY(QString keyboardMethod MEMBER keyboardMethod CONSTANT)
    Q_PROPERTY(QString menuMethod MEMBER menuMethod CONSTANT)
    Q_PROPERTY(QString ready MEMBER ready CONSTANT)
    Q_PROPERTY(QString reopen MEMBER reopen CONSTANT)
    Q_PROPERTY(QString done MEMBER done CONSTANT)

public:
    WalkthroughCaptions() = default;
    explicit WalkthroughCaptions(const WalkthroughFacts& facts);

    QString welcome;  ///< the computer, the shortcut and the menu bar
    QString place;  ///< where the icon is
    QString crowdedPlace;  ///< the same without a notch
    QString keyboardMethod;  ///< which keys to press, or what to do without a shortcut
    QString menuMethod;
    QString ready;  ///< how the chosen window is recorded
    QString reopen;  ///< where the guide is opened again
    QString done;  ///< what the last button does

    friend bool operator==(const WalkthroughCaptions&, const WalkthroughCaptions&) = default;
};

}  // namespace velmora
