#include "onboarding/WalkthroughCaptions.h"

namespace velmora {

WalkthroughCaptions::WalkthroughCaptions(const WalkthroughFacts& facts)
{
    const bool hasShortcut = !facts.shortcutKeys.isEmpty();
    const auto menuBar = facts.hasTray ? QStringLiteral("your panel's tray") : QStringLiteral("Velmora's small window");

    welcome = QStringLiteral("“Your Mac” is this computer, the menu bar is ") + menuBar
        + (hasShortcut ? QStringLiteral(", and ⌥⌘C is ") + facts.shortcutKeys + u'.'
                       : QStringLiteral(", and ⌥⌘C does nothing here: step 3 says what to do."));

    if (facts.hasTray) {
        place = QStringLiteral("On this desktop the menu bar is your panel's tray, and the Dock is its task bar or launcher.");
        crowdedPlace = QStringLiteral("Without a notch: among the other icons of the tray.");
        menuMethod = QStringLiteral("On this desktop the menu bar is your panel's tray.");
        reopen = QStringLiteral("On this desktop: the Orbelle in your panel's tray.");
    } else {
        place = QStringLiteral("This desktop has no tray: Velmora's menu is open in a small window of its own. Start Velmora again to "
                               "bring it back. The icon appears as soon as there is a tray.");
        crowdedPlace = QStringLiteral("Without a tray: in the small window's title bar.");
        menuMethod = QStringLiteral("This desktop has no tray: the menu is open in Velmora's small window.");
        reopen = QStringLiteral("This desktop has no tray: select it in Velmora's small window.");
    }

    keyboardMethod = hasShortcut
        ? QStringLiteral("On this keyboard: ") + facts.shortcutKeys + u'.'
        : QStringLiteral("No shortcut could be bound on this desktop. In its keyboard settings, bind keys to 'velmora toggle'.");

    const bool isChosen = facts.hasSelectedWindow;
    ready = hasShortcut ? (isChosen ? QStringLiteral("Press ") : QStringLiteral("Then press ")) + facts.shortcutKeys
            + QStringLiteral(" to record it, and again to save the clip.")
                        : (isChosen ? QStringLiteral("Click") : QStringLiteral("Then click"))
            + QStringLiteral(" ‘Start Recording Live Clip’ in the menu to record it, and ‘Stop Recording Clip’ to save the clip.");

    done = isChosen || !facts.hasScreenRecordingPermission ? QStringLiteral("Done closes this guide and records nothing yet.")
                                                           : QStringLiteral("Done opens the list of windows and records nothing yet.");
}

}  // namespace velmora
