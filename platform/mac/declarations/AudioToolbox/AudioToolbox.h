// Audio converters, one page for each name below https://developer.apple.com/documentation/audiotoolbox/ ; compared with pages: the
// parameters of the callback (https://developer.apple.com/documentation/audiotoolbox/audioconvertercomplexinputdataproc), how it says that
// nothing more comes (https://developer.apple.com/library/archive/qa/qa1317/_index.html), AudioConverterPrimeInfo's members and widths
// (https://docs.rs/objc2-audio-toolbox). Unconfirmed: what has no page of its own, and the number of kAudioConverterPrimeInfo.
#pragma once

#include <CoreAudioTypes/CoreAudioTypes.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://docs.rs/objc2-audio-toolbox/0.3.2/src/objc2_audio_toolbox/generated/AudioConverter.rs.html
typedef struct OpaqueAudioConverter* AudioConverterRef;
/// https://docs.rs/audio-toolbox/latest/audio_toolbox/type.AudioConverterPropertyID.html
typedef UInt32 AudioConverterPropertyID;
/// https://developer.apple.com/documentation/audiotoolbox/audioconverterprimeinfo ,
/// https://docs.rs/objc2-audio-toolbox/latest/objc2_audio_toolbox/struct.AudioConverterPrimeInfo.html
typedef struct AudioConverterPrimeInfo {
    UInt32 leadingFrames;
    UInt32 trailingFrames;
} AudioConverterPrimeInfo;
/// https://developer.apple.com/documentation/audiotoolbox/1559928-audio-converter-properties has the names; the numbers are in
/// https://docs.rs/objc2-audio-toolbox/latest/objc2_audio_toolbox/constant.kAudioConverterEncodeBitRate.html and
/// https://docs.rs/objc2-audio-toolbox/0.3.2/objc2_audio_toolbox/constant.kAudioConverterPropertyMaximumOutputPacketSize.html (not that of
/// PrimeInfo)
enum {
    kAudioConverterEncodeBitRate = 0x62726174 /* 'brat' */,
    kAudioConverterPrimeInfo = 0x7072696D /* 'prim' */,
    kAudioConverterPropertyMaximumOutputPacketSize = 0x786F7073 /* 'xops' */
};

/// The converter, the number of packets, the buffers, the packets' descriptions, and what FillComplexBuffer was given.
/// https://developer.apple.com/documentation/audiotoolbox/audioconvertercomplexinputdataproc
typedef OSStatus (*AudioConverterComplexInputDataProc)(AudioConverterRef, UInt32*, AudioBufferList*, AudioStreamPacketDescription**, void*);

/// https://docs.rs/crate/audio-toolbox/0.1.1/source/src/audio_converter.rs
OSStatus AudioConverterNew(const AudioStreamBasicDescription*, const AudioStreamBasicDescription*, AudioConverterRef*);
/// https://developer.apple.com/library/archive/releasenotes/General/APIDiffsMacOSX10_11/Objective-C/AudioToolbox.html
OSStatus AudioConverterDispose(AudioConverterRef);

/// https://developer.apple.com/documentation/audiotoolbox/audioconvertersetproperty(_:_:_:_:)
OSStatus AudioConverterSetProperty(AudioConverterRef, AudioConverterPropertyID, UInt32, const void*);
/// https://developer.apple.com/documentation/audiotoolbox/audioconvertergetproperty(_:_:_:_:)
OSStatus AudioConverterGetProperty(AudioConverterRef, AudioConverterPropertyID, UInt32*, void*);
/// https://developer.apple.com/documentation/audiotoolbox/audioconverterfillcomplexbuffer(_:_:_:_:_:_:)
OSStatus AudioConverterFillComplexBuffer(
    AudioConverterRef, AudioConverterComplexInputDataProc, void*, UInt32*, AudioBufferList*, AudioStreamPacketDescription*);

#ifdef __cplusplus
}
#endif
