// How a test steers the stand-in for the Carbon Event Manager, and what it says of the calls that it got. Main thread only.
#pragma once

#include <Carbon/Carbon.h>
#include <cstddef>
#include <optional>

namespace velmora::standin {

struct Carbon {
    OSStatus installStatus = noErr;  ///< what the next handlers are refused with
    OSStatus registerStatus = noErr;  ///< what the next hot keys are refused with
};
Carbon& carbon();

/// Back to how a program finds it; ends the test program if a handler or a hot key was left behind.
void resetCarbon();

[[nodiscard]] std::size_t hotKeyCount();
[[nodiscard]] std::size_t handlerCount();

/// A press of the hot key with that id, or of one whose event lacks it: the newest handler is asked first, and the next only when it answers
/// eventNotHandledErr. What the last one that was asked answered; none when there is no handler. An id that nobody registered is not pressed.
std::optional<OSStatus> pressHotKey(std::optional<EventHotKeyID> id);

}  // namespace velmora::standin
