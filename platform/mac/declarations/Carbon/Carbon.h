// The Carbon Event Manager's hot keys, as the "Carbon Event Manager Reference" has them:
// https://developer.apple.com/legacy/library/documentation/Carbon/Reference/Carbon_Event_Manager_Ref/Reference/reference.html
// Compared with a page: that the functions are there, and the parameters of InstallEventHandler (that page) and of RegisterEventHotKey
// (http://cocoatutorial.grapewave.com/2010/01/adding-a-hotkey-listener/). Unconfirmed: the parameters of functions of which only the name
// or how they are called is on a page, and the numbers without a page of their own.
#pragma once

#include <MacTypes.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs (pointers, not the
/// names of what they point to)
typedef struct OpaqueEventRef* EventRef;
typedef struct OpaqueEventHandlerRef* EventHandlerRef;
typedef struct OpaqueEventHandlerCallRef* EventHandlerCallRef;
typedef struct OpaqueEventTargetRef* EventTargetRef;

typedef struct EventHotKeyRefStructure* EventHotKeyRef;

/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs
typedef OSType EventParamName;
typedef OSType EventParamType;
/// https://docs.rs/crate/vernier-rs-platform/latest/source/src/macos/hotkey.rs
typedef struct EventTypeSpec {
    UInt32 eventClass;
    UInt32 eventKind;
} EventTypeSpec;
/// https://docs.rs/crate/vernier-rs-platform/latest/source/src/macos/hotkey.rs
typedef struct EventHotKeyID {
    OSType signature;
    UInt32 id;
} EventHotKeyID;

/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs (as EventHandlerUPP)
typedef OSStatus (*EventHandlerProcPtr)(EventHandlerCallRef, EventRef, void*);
typedef EventHandlerProcPtr EventHandlerUPP;

/// https://docs.rs/crate/vernier-rs-platform/latest/source/src/macos/hotkey.rs has these numbers and those of the parameter
enum { kEventClassKeyboard = 0x6B657962 /* 'keyb' */, kEventHotKeyPressed = 5 };
enum { kEventParamDirectObject = 0x2D2D2D2D /* '----' */, typeEventHotKeyID = 0x686B6964 /* 'hkid' */ };

/// https://www.python.org/pipermail/python-checkins/2001-December/023537.html
enum { eventNotHandledErr = -9874, eventHotKeyExistsErr = -9878 };

enum { cmdKey = 0x100, shiftKey = 0x200, optionKey = 0x800, controlKey = 0x1000 };

/// https://developer.apple.com/legacy/library/documentation/Carbon/Reference/Carbon_Event_Manager_Ref/Reference/reference.html (its name)
EventTargetRef GetEventDispatcherTarget(void);
/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs
OSStatus InstallEventHandler(EventTargetRef, EventHandlerUPP, ItemCount, const EventTypeSpec*, void*, EventHandlerRef*);
/// https://docs.rs/crate/nativeshell/0.1.16/source/src/shell/platform/macos/hot_key_sys.rs
OSStatus RemoveEventHandler(EventHandlerRef);

OSStatus RegisterEventHotKey(UInt32, UInt32, EventHotKeyID, EventTargetRef, OptionBits, EventHotKeyRef*);

/// https://developer.apple.com/legacy/library/documentation/Carbon/Reference/Carbon_Event_Manager_Ref/Reference/reference.html (its name)
OSStatus UnregisterEventHotKey(EventHotKeyRef);
/// https://docs.rs/crate/tao/0.16.11/source/src/platform_impl/macos/carbon_hotkey/carbon_hotkey_binding.c (how it is called)
OSStatus GetEventParameter(EventRef, EventParamName, EventParamType, EventParamType*, ByteCount, ByteCount*, void*);

#ifdef __cplusplus
}
#endif
