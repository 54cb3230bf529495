// The Carbon Event Manager's hot keys, as the "Carbon Event Manager Reference" has them:
// https://developer.apple.com/legacy/library/documentation/Carbon/Reference/Carbon_Event_Manager_Ref/Reference/reference.html
// Compared with a page: that the functions are there, and the parameters of InstallEventHandler (that page) and of RegisterEventHotKey
// (http://cocoatutorial.grapewave.com/2010/01/adding-a-hotkey-listener/). Unconfirmed: the other functions' parameters, and
// the numbers without a page of their own.
#pragma once

#include <MacTypes.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct OpaqueEventRef* EventRef;
typedef struct OpaqueEventHandlerRef* EventHandlerRef;
typedef struct OpaqueEventHandlerCallRef* EventHandlerCallRef;
typedef struct OpaqueEventTargetRef* EventTargetRef;
typedef struct EventHotKeyRefStructure* EventHotKeyRef;
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

typedef OSStatus (*EventHandlerProcPtr)(EventHandlerCallRef, EventRef, void*);
typedef EventHandlerProcPtr EventHandlerUPP;

/// https://docs.rs/crate/vernier-rs-platform/latest/source/src/macos/hotkey.rs has these numbers and those of the parameter
enum { kEventClassKeyboard = 0x6B657962 /* 'keyb' */, kEventHotKeyPressed = 5 };
enum { kEventParamDirectObject = 0x2D2D2D2D /* '----' */, typeEventHotKeyID = 0x686B6964 /* 'hkid' */ };

enum { eventNotHandledErr = -9874, eventHotKeyExistsErr = -9878 };
enum { cmdKey = 0x100, shiftKey = 0x200, optionKey = 0x800, controlKey = 0x1000 };

EventTargetRef GetEventDispatcherTarget(void);
OSStatus InstallEventHandler(EventTargetRef, EventHandlerUPP, ItemCount, const EventTypeSpec*, void*, EventHandlerRef*);
OSStatus RemoveEventHandler(EventHandlerRef);
OSStatus RegisterEventHotKey(UInt32, UInt32, EventHotKeyID, EventTargetRef, OptionBits, EventHotKeyRef*);
OSStatus UnregisterEventHotKey(EventHotKeyRef);
OSStatus GetEventParameter(EventRef, EventParamName, EventParamType, EventParamType*, ByteCount, ByteCount*, void*);

#ifdef __cplusplus
}
#endif
