// Core Audio's objects and the processes among them, each declaration with the page that it was compared with. Unconfirmed: the function
// that removes a listener, which has the parameters of its opposite; the number of kAudioProcessPropertyPID;
// that kAudioProcessPropertyIsRunningOutput is a UInt32 (its page in Swift calls it a Bool). No page says on
// which thread a listener is called, or that none is called once it has been removed.
#pragma once

#include <MacTypes.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://developer.apple.com/documentation/coreaudio/audioobjectpropertyselector , each of the three a UInt32:
/// https://developer.apple.com/documentation/coreaudio/audioobjectpropertyscope ,
/// https://developer.apple.com/documentation/coreaudio/audioobjectpropertyelement ("0 represents the main element")
typedef UInt32 AudioObjectID;
typedef UInt32 AudioObjectPropertySelector;
typedef UInt32 AudioObjectPropertyScope;
typedef UInt32 AudioObjectPropertyElement;

/// https://developer.apple.com/documentation/coreaudio/audioobjectpropertyaddress/init(mselector:mscope:melement:)
typedef struct AudioObjectPropertyAddress {
    AudioObjectPropertySelector mSelector;
    AudioObjectPropertyScope mScope;
    AudioObjectPropertyElement mElement;
} AudioObjectPropertyAddress;

/// https://developer.apple.com/documentation/coreaudio/propertyaddress(_:scope:element:) names the scope and the element;
/// the scope's number is in https://github.com/xamarin/apple-api-docs/blob/master/en/AudioUnit/AudioObjectPropertyScope.xml
enum { kAudioObjectPropertyScopeGlobal = 0x676C6F62 /* 'glob' */, kAudioObjectPropertyElementMain = 0 };
/// https://developer.apple.com/documentation/coreaudio/kaudiohardwarepropertyprocessobjectlist ; the number is in
/// https://docs.rs/objc2-core-audio/0.3.1/objc2_core_audio/constant.kAudioHardwarePropertyProcessObjectList.html
enum { kAudioHardwarePropertyProcessObjectList = 0x70727323 /* 'prs#' */ };
/// https://developer.apple.com/documentation/coreaudio/4160686-anonymous has the names; the number of IsRunningOutput is in
/// https://docs.rs/objc2-core-audio/0.3.2/objc2_core_audio/constant.kAudioProcessPropertyIsRunningOutput.html
enum { kAudioProcessPropertyPID = 0x70706964 /* 'ppid' */, kAudioProcessPropertyIsRunningOutput = 0x7069726F /* 'piro' */ };

/// https://developer.apple.com/documentation/coreaudio/audioobjectpropertylistenerproc : the object, how many properties have changed,
/// which, and what AddPropertyListener was given; some of them may not have been asked for
typedef OSStatus (*AudioObjectPropertyListenerProc)(AudioObjectID, UInt32, const AudioObjectPropertyAddress*, void*);

/// https://developer.apple.com/documentation/coreaudio/audioobjecthasproperty(_:_:)
Boolean AudioObjectHasProperty(AudioObjectID, const AudioObjectPropertyAddress*);
/// https://developer.apple.com/documentation/coreaudio/audioobjectgetpropertydatasize(_:_:_:_:_:)
OSStatus AudioObjectGetPropertyDataSize(AudioObjectID, const AudioObjectPropertyAddress*, UInt32, const void*, UInt32*);
/// https://developer.apple.com/documentation/coreaudio/audioobjectgetpropertydata(_:_:_:_:_:_:)
OSStatus AudioObjectGetPropertyData(AudioObjectID, const AudioObjectPropertyAddress*, UInt32, const void*, UInt32*, void*);
/// https://developer.apple.com/library/archive/releasenotes/General/APIDiffsMacOS10_12_1/Swift/CoreAudio.html
/// (AudioObjectAddPropertyListener)
OSStatus AudioObjectAddPropertyListener(AudioObjectID, const AudioObjectPropertyAddress*, AudioObjectPropertyListenerProc, void*);

OSStatus AudioObjectRemovePropertyListener(AudioObjectID, const AudioObjectPropertyAddress*, AudioObjectPropertyListenerProc, void*);

/// https://developer.apple.com/documentation/coreaudio/kaudioobjectsystemobject ; the number is in
/// https://www.rubydoc.info/gems/audio/CoreAudio/AudioObject
enum { kAudioObjectSystemObject = 1 };

#ifdef __cplusplus
}
#endif
