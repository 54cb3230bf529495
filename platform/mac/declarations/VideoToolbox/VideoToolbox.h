// Video Toolbox's compression and decompression sessions, one page for each name below https://developer.apple.com/documentation/videotoolbox/ ; compared with
// pages: the parameters of the functions and of the callback
// (https://developer.apple.com/library/archive/releasenotes/General/APIDiffsMacOSX10_11/Objective-C/VideoToolbox.html,
// https://docs.rs/objc2-video-toolbox, https://docs.rs/video-toolbox), the flags
// (https://learn.microsoft.com/en-us/dotnet/api/videotoolbox.vtencodeinfoflags), the numbers of the errors
// (http://reibang.com/p/dce0a52e1bd6), and that the option for key frames may be refused. The names of the properties are Apple's pages'.
#pragma once

#include <CoreMedia/CoreMedia.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://developer.apple.com/documentation/videotoolbox/vtcompressionsession (not the name of what it points to)
typedef struct OpaqueVTCompressionSession* VTCompressionSessionRef;
/// https://developer.apple.com/documentation/videotoolbox/vtsession
typedef CFTypeRef VTSessionRef;
/// https://developer.apple.com/documentation/videotoolbox/vtencodeinfoflags ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/videotoolbox.vtencodeinfoflags
typedef uint32_t VTEncodeInfoFlags;
enum { kVTEncodeInfo_Asynchronous = 1, kVTEncodeInfo_FrameDropped = 2 };
/// https://docs.rs/video-toolbox/latest/src/video_toolbox/errors.rs.html
enum {
    kVTPropertyNotSupportedErr = -12900,
    kVTParameterErr = -12902,
    kVTInvalidSessionErr = -12903,
    kVTCouldNotFindVideoEncoderErr = -12908,
    kVTVideoEncoderMalfunctionErr = -12912,
    kVTVideoEncoderNotAvailableNowErr = -12915
};

/// The callback's value, the frame's value, the status, the flags, and the frame if it was encoded.
/// https://docs.rs/objc2-video-toolbox/latest/objc2_video_toolbox/type.VTCompressionOutputCallback.html
typedef void (*VTCompressionOutputCallback)(void*, void*, OSStatus, VTEncodeInfoFlags, CMSampleBufferRef);

/// https://docs.rs/objc2-video-toolbox/latest/objc2_video_toolbox/struct.VTCompressionSession.html
OSStatus VTCompressionSessionCreate(CFAllocatorRef, int32_t, int32_t, CMVideoCodecType, CFDictionaryRef, CFDictionaryRef, CFAllocatorRef,
    VTCompressionOutputCallback, void*, VTCompressionSessionRef*);
/// https://developer.apple.com/documentation/videotoolbox/vtcompressionsessioninvalidate(_:)
void VTCompressionSessionInvalidate(VTCompressionSessionRef);
/// https://docs.rs/video-toolbox/0.2.0/video_toolbox/compression_session/fn.VTCompressionSessionPrepareToEncodeFrames.html
OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef);
/// https://developer.apple.com/documentation/videotoolbox/vtcompressionsessionencodeframe(_:imagebuffer:presentationtimestamp:duration:frameproperties:sourceframerefcon:infoflagsout:)
OSStatus VTCompressionSessionEncodeFrame(
    VTCompressionSessionRef, CVImageBufferRef, CMTime, CMTime, CFDictionaryRef, void*, VTEncodeInfoFlags*);

/// https://developer.apple.com/documentation/videotoolbox/vtcompressionsessioncompleteframes(_:untilpresentationtimestamp:) : all of them
/// where the time is not numeric
OSStatus VTCompressionSessionCompleteFrames(VTCompressionSessionRef, CMTime);
/// https://developer.apple.com/documentation/videotoolbox/vtsessionsetproperty(_:key:value:)
OSStatus VTSessionSetProperty(VTSessionRef, CFStringRef, CFTypeRef);

// Decoding: the parameters are those of https://docs.rs/objc2-video-toolbox/0.3.0/objc2_video_toolbox/fn.VTDecompressionSessionCreate.html
// and its neighbours, and of https://developer.apple.com/documentation/videotoolbox/vtdecompressionoutputcallbackrecord . Unconfirmed: the
// flag's number.
typedef struct OpaqueVTDecompressionSession* VTDecompressionSessionRef;
typedef uint32_t VTDecodeFrameFlags;
typedef uint32_t VTDecodeInfoFlags;
enum { kVTDecodeFrame_DoNotOutputFrame = 2 };
typedef void (*VTDecompressionOutputCallback)(void*, void*, OSStatus, VTDecodeInfoFlags, CVImageBufferRef, CMTime, CMTime);
typedef struct VTDecompressionOutputCallbackRecord {
    VTDecompressionOutputCallback decompressionOutputCallback;
    void* decompressionOutputRefCon;
} VTDecompressionOutputCallbackRecord;
OSStatus VTDecompressionSessionCreate(CFAllocatorRef, CMVideoFormatDescriptionRef, CFDictionaryRef, CFDictionaryRef,
    const VTDecompressionOutputCallbackRecord*, VTDecompressionSessionRef*);
// Without a flag for it nothing is asynchronous: the callback comes before it returns.
/// https://docs.rs/objc2-video-toolbox/0.3.1/objc2_video_toolbox/fn.VTDecompressionSessionDecodeFrame.html
OSStatus VTDecompressionSessionDecodeFrame(VTDecompressionSessionRef, CMSampleBufferRef, VTDecodeFrameFlags, void*, VTDecodeInfoFlags*);

/// https://developer.apple.com/documentation/videotoolbox/vtdecompressionsessioninvalidate(_:)
void VTDecompressionSessionInvalidate(VTDecompressionSessionRef);

/// https://docs.rs/objc2-video-toolbox/latest/objc2_video_toolbox/static.kVTCompressionPropertyKey_RealTime.html
extern const CFStringRef kVTCompressionPropertyKey_RealTime;
/// https://docs.rs/video-toolbox/0.2.0/src/video_toolbox/compression_properties.rs.html
extern const CFStringRef kVTCompressionPropertyKey_ProfileLevel;
/// https://docs.rs/objc2-video-toolbox/latest/objc2_video_toolbox/static.kVTCompressionPropertyKey_MaxKeyFrameInterval.html
extern const CFStringRef kVTCompressionPropertyKey_MaxKeyFrameInterval;

/// https://docs.rs/video-toolbox/0.2.0/src/video_toolbox/compression_properties.rs.html
extern const CFStringRef kVTCompressionPropertyKey_AverageBitRate;
/// https://docs.rs/objc2-video-toolbox/latest/objc2_video_toolbox/static.kVTCompressionPropertyKey_AllowFrameReordering.html
extern const CFStringRef kVTCompressionPropertyKey_AllowFrameReordering;

/// https://docs.rs/objc2-video-toolbox/0.3.0/objc2_video_toolbox/static.kVTProfileLevel_H264_High_AutoLevel.html
extern const CFStringRef kVTProfileLevel_H264_High_AutoLevel;
/// https://developer.apple.com/documentation/videotoolbox/kvtencodeframeoptionkey_forcekeyframe
extern const CFStringRef kVTEncodeFrameOptionKey_ForceKeyFrame;

#ifdef __cplusplus
}
#endif
