// Core Media's times and sample buffers, one page for each name below https://developer.apple.com/documentation/coremedia/ ; compared with
// pages: CMTime's members, their widths, its alignment of four bytes and the flags
// (https://docs.rs/objc2-core-media/latest/objc2_core_media/struct.CMTime.html,
// https://docs.rs/core-media-sys/0.1.2/src/core_media_sys/time.rs.html); the parameters of the block buffers' functions and of the formats'
// (https://docs.rs/apple-cf); CMSampleBufferGetSampleAttachmentsArray and its keys (Apple's pages). Unconfirmed: the width of
// CMItemCount.
#pragma once

#include <CoreAudioTypes/CoreAudioTypes.h>
#include <CoreVideo/CoreVideo.h>

#ifdef __cplusplus
extern "C" {
#endif

/// https://docs.rs/core-media/latest/src/core_media/time.rs.html has the widths and the flags
typedef int64_t CMTimeValue;
typedef int32_t CMTimeScale;
typedef uint32_t CMTimeFlags;
typedef int64_t CMTimeEpoch;
enum { kCMTimeFlags_Valid = 1, kCMTimeFlags_HasBeenRounded = 2 };
/// https://docs.rs/objc2-core-media/latest/objc2_core_media/struct.CMTime.html
typedef struct __attribute__((packed, aligned(4))) {
    CMTimeValue value;
    CMTimeScale timescale;
    CMTimeFlags flags;
    CMTimeEpoch epoch;
} CMTime;
/// https://docs.rs/core-media/latest/src/core_media/time.rs.html
extern const CMTime kCMTimeInvalid;
extern const CMTime kCMTimeZero;
CMTime CMTimeMake(int64_t, int32_t);

/// https://developer.apple.com/documentation/coremedia/cmtimecompare(_:_:) : -1, 0 or 1; what is invalid is the greatest
int32_t CMTimeCompare(CMTime, CMTime);

/// https://docs.rs/apple-cf/0.10.0/apple_cf/cm/sample_buffer/struct.CMSampleBuffer.html (not the name of what it points to)
typedef struct opaqueCMSampleBuffer* CMSampleBufferRef;
/// https://docs.rs/coremedia-sys/0.1.0/x86_64-apple-darwin/coremedia_sys/type.CMBlockBufferRef.html
typedef struct OpaqueCMBlockBuffer* CMBlockBufferRef;
/// https://developer.apple.com/documentation/coremedia/cmformatdescription ,
/// https://docs.rs/apple-cf/0.8.0/apple_cf/raw/type.CMFormatDescriptionRef.html
typedef const struct opaqueCMFormatDescription* CMFormatDescriptionRef;
/// https://docs.rs/apple-cf/0.9.1/apple_cf/raw/type.CMVideoFormatDescriptionRef.html
typedef CMFormatDescriptionRef CMVideoFormatDescriptionRef;

/// https://docs.rs/core-media-sys/0.1.2/src/core_media_sys/format_description.rs.html
typedef FourCharCode CMVideoCodecType;
/// https://developer.apple.com/documentation/coremedia/cmvideodimensions ,
/// https://learn.microsoft.com/en-us/dotnet/api/coremedia.cmvideodimensions?view=net-ios-26.1-10.0 (the widths)
typedef struct {
    int32_t width;
    int32_t height;
} CMVideoDimensions;
/// https://docs.rs/apple-cf/latest/apple_cf/raw/constant.kCMVideoCodecType_H264.html
enum { kCMVideoCodecType_H264 = 0x61766331 /* 'avc1' */ };

/// https://docs.rs/apple-cf/latest/apple_cf/raw/type.CMAudioFormatDescriptionRef.html
typedef CMFormatDescriptionRef CMAudioFormatDescriptionRef;

typedef CFIndex CMItemCount;

/// https://developer.apple.com/documentation/coremedia/cmsamplebufferisvalid(_:)
Boolean CMSampleBufferIsValid(CMSampleBufferRef);
/// https://developer.apple.com/documentation/coremedia/cmsamplebuffergetnumsamples(_:) : 0 where there is an error
CMItemCount CMSampleBufferGetNumSamples(CMSampleBufferRef);
/// https://developer.apple.com/documentation/coremedia/cmsamplebuffergetimagebuffer(_:) : not the caller's; NULL where there is none
CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef);
// https://docs.rs/apple-cf/0.8.1/apple_cf/raw/fn.CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer.html
OSStatus CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer(
    CMSampleBufferRef, size_t*, AudioBufferList*, size_t, CFAllocatorRef, CFAllocatorRef, uint32_t, CMBlockBufferRef*);

/// https://developer.apple.com/documentation/coremedia/cmaudioformatdescriptiongetstreambasicdescription(_:) : NULL for what is no audio
const AudioStreamBasicDescription* CMAudioFormatDescriptionGetStreamBasicDescription(CMAudioFormatDescriptionRef);
/// https://docs.rs/core-media/0.6.0/core_media/sample_buffer/fn.CMSampleBufferGetPresentationTimeStamp.html
CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef);

/// https://developer.apple.com/documentation/coremedia/cmsamplebuffergetduration(_:) : invalid where there is an error
CMTime CMSampleBufferGetDuration(CMSampleBufferRef);
/// https://developer.apple.com/documentation/coremedia/cmsamplebuffergetdatabuffer(_:) : not the caller's; NULL where there is none
CMBlockBufferRef CMSampleBufferGetDataBuffer(CMSampleBufferRef);

/// https://developer.apple.com/documentation/coremedia/cmsamplebuffergetformatdescription(_:) : not the caller's; NULL where there is an
/// error
CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef);
/// https://developer.apple.com/documentation/coremedia/cmsamplebuffergetsampleattachmentsarray(_:createifnecessary:) : not the caller's;
/// NULL where there is an error
CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef, Boolean);

/// https://developer.apple.com/documentation/coremedia/kcmsampleattachmentkey_notsync : a boolean, false where there is none
extern const CFStringRef kCMSampleAttachmentKey_NotSync;
/// https://developer.apple.com/documentation/coremedia/kcmsampleattachmentkey_dependsonothers : a boolean, unknown where there is none
extern const CFStringRef kCMSampleAttachmentKey_DependsOnOthers;

// Making samples: https://developer.apple.com/documentation/coremedia/cmblockbuffercreatewithmemoryblock(allocator:memoryblock:blocklength:blockallocator:customblocksource:offsettodata:datalength:flags:blockbufferout:)
// https://developer.apple.com/documentation/coremedia/cmsamplebuffercreateready(allocator:databuffer:formatdescription:samplecount:sampletimingentrycount:sampletimingarray:samplesizeentrycount:samplesizearray:samplebufferout:)
// and https://docs.rs/objc2-core-media (the parameters of these and of the format's). The block's memory is not copied: with
// kCFAllocatorNull it is not freed either.
typedef struct {
    CMTime duration;
    CMTime presentationTimeStamp;
    CMTime decodeTimeStamp;
} CMSampleTimingInfo;
typedef struct CMBlockBufferCustomBlockSource CMBlockBufferCustomBlockSource;
OSStatus CMBlockBufferCreateWithMemoryBlock(
    CFAllocatorRef, void*, size_t, CFAllocatorRef, const CMBlockBufferCustomBlockSource*, size_t, size_t, uint32_t, CMBlockBufferRef*);
OSStatus CMSampleBufferCreateReady(CFAllocatorRef, CMBlockBufferRef, CMFormatDescriptionRef, CMItemCount, CMItemCount,
    const CMSampleTimingInfo*, CMItemCount, const size_t*, CMSampleBufferRef*);
OSStatus CMVideoFormatDescriptionCreate(CFAllocatorRef, CMVideoCodecType, int32_t, int32_t, CFDictionaryRef, CMVideoFormatDescriptionRef*);
extern const CFStringRef kCMFormatDescriptionExtension_SampleDescriptionExtensionAtoms;

/// https://developer.apple.com/documentation/coremedia/cmblockbuffergetdatapointer(_:atoffset:lengthatoffsetout:totallengthout:datapointerout:)
OSStatus CMBlockBufferGetDataPointer(CMBlockBufferRef, size_t, size_t*, size_t*, char**);
/// https://docs.rs/apple-cf/0.8.1/apple_cf/raw/fn.CMBlockBufferCopyDataBytes.html
OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef, size_t, size_t, void*);

/// https://developer.apple.com/documentation/coremedia/cmvideoformatdescriptiongetdimensions(_:)
CMVideoDimensions CMVideoFormatDescriptionGetDimensions(CMVideoFormatDescriptionRef);
/// https://developer.apple.com/documentation/coremedia/cmvideoformatdescriptiongeth264parametersetatindex(_:parametersetindex:parametersetpointerout:parametersetsizeout:parametersetcountout:nalunitheaderlengthout:)
OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(CMFormatDescriptionRef, size_t, const uint8_t**, size_t*, size_t*, int*);

/// https://developer.apple.com/documentation/coremedia/cmformatdescriptiongetextension(_:extensionkey:) : not the caller's; NULL where
/// there is none
CFTypeRef CMFormatDescriptionGetExtension(CMFormatDescriptionRef, CFStringRef);
// https://developer.apple.com/documentation/coremedia/ycbcrmatrix-extension-constants and its neighbours. Some of these may be other names
// of Core Video's constants in the system's own headers.
extern const CFStringRef kCMFormatDescriptionExtension_ColorPrimaries;
extern const CFStringRef kCMFormatDescriptionExtension_TransferFunction;
extern const CFStringRef kCMFormatDescriptionExtension_YCbCrMatrix;
extern const CFStringRef kCMFormatDescriptionColorPrimaries_ITU_R_709_2;
extern const CFStringRef kCMFormatDescriptionTransferFunction_ITU_R_709_2;
extern const CFStringRef kCMFormatDescriptionYCbCrMatrix_ITU_R_709_2;

#ifdef __cplusplus
}
#endif
