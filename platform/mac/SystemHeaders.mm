// What this back end takes for granted of the system's headers. With our own declarations it says that they agree with themselves; on a
// Mac, with the system's, the build ends here where one of them is wrong. It makes no code.
#import <AVFoundation/AVFoundation.h>
#import <AppKit/AppKit.h>
#include <AudioToolbox/AudioToolbox.h>
#include <Carbon/Carbon.h>
#include <CoreAudio/CoreAudio.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOMessage.h>
#include <IOKit/pwr_mgt/IOPMLib.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>
#import <ServiceManagement/ServiceManagement.h>
#import <UserNotifications/UserNotifications.h>
#include <VideoToolbox/VideoToolbox.h>
#include <cstddef>
#include <cstdint>
#include <os/log.h>
#include <type_traits>

namespace {

template <typename A, typename B>
constexpr bool isSame = std::is_same_v<A, B>;

// Integers.
static_assert(sizeof(Boolean) == 1 && sizeof(UInt8) == 1 && sizeof(UInt32) == 4 && sizeof(OSStatus) == 4 && sizeof(OSType) == 4);
static_assert(std::is_signed_v<OSStatus> && std::is_unsigned_v<UInt32> && noErr == 0);
static_assert(sizeof(OptionBits) == 4 && sizeof(ItemCount) == 8 && sizeof(ByteCount) == 8);

// Core Foundation.
static_assert(sizeof(CFIndex) == 8 && std::is_signed_v<CFIndex> && sizeof(CFTypeID) == 8 && sizeof(CFStringEncoding) == 4);
static_assert(sizeof(CFNumberType) == 8 && kCFNumberSInt64Type == 4 && kCFStringEncodingUTF8 == 0x08000100);

// Carbon's hot keys.
static_assert(kEventClassKeyboard == 0x6B657962 && kEventHotKeyPressed == 5);
static_assert(kEventParamDirectObject == 0x2D2D2D2D && typeEventHotKeyID == 0x686B6964);
static_assert(eventNotHandledErr == -9874 && eventHotKeyExistsErr == -9878);
static_assert(cmdKey == 0x100 && shiftKey == 0x200 && optionKey == 0x800 && controlKey == 0x1000);
static_assert(sizeof(EventTypeSpec) == 8 && sizeof(EventHotKeyID) == 8);

// Core Audio's processes.
static_assert(sizeof(AudioObjectID) == 4 && sizeof(AudioObjectPropertyAddress) == 12 && kAudioObjectSystemObject == 1);
static_assert(kAudioObjectPropertyScopeGlobal == 0x676C6F62 && kAudioObjectPropertyElementMain == 0);
static_assert(kAudioHardwarePropertyProcessObjectList == 0x70727323);
static_assert(kAudioProcessPropertyPID == 0x70706964 && kAudioProcessPropertyIsRunningOutput == 0x7069726F);
static_assert(isSame<AudioObjectPropertyListenerProc, OSStatus (*)(AudioObjectID, UInt32, const AudioObjectPropertyAddress*, void*)>);
static_assert(isSame<decltype(&AudioObjectRemovePropertyListener),
    OSStatus (*)(AudioObjectID, const AudioObjectPropertyAddress*, AudioObjectPropertyListenerProc, void*)>);

// Core Video.
static_assert(sizeof(CVReturn) == 4 && sizeof(CVPixelBufferLockFlags) == 8);
static_assert(kCVReturnSuccess == 0 && kCVPixelBufferLock_ReadOnly == 1 && kCVPixelFormatType_32BGRA == 0x42475241);
static_assert(isSame<CVPixelBufferReleaseBytesCallback, void (*)(void*, const void*)>);
static_assert(isSame<decltype(&CVPixelBufferCreateWithBytes),
    CVReturn (*)(CFAllocatorRef, size_t, size_t, OSType, void*, size_t, CVPixelBufferReleaseBytesCallback, void*, CFDictionaryRef,
        CVPixelBufferRef*)>);

// Core Media.
static_assert(sizeof(CMTime) == 24 && alignof(CMTime) == 4);
static_assert(offsetof(CMTime, timescale) == 8 && offsetof(CMTime, flags) == 12 && offsetof(CMTime, epoch) == 16);
static_assert(kCMTimeFlags_Valid == 1 && kCMTimeFlags_HasBeenRounded == 2);
static_assert(sizeof(CMVideoDimensions) == 8 && sizeof(CMItemCount) == 8 && kCMVideoCodecType_H264 == 0x61766331);
static_assert(isSame<decltype(&CMBlockBufferGetDataPointer), OSStatus (*)(CMBlockBufferRef, size_t, size_t*, size_t*, char**)>);
static_assert(isSame<decltype(&CMVideoFormatDescriptionGetH264ParameterSetAtIndex),
    OSStatus (*)(CMFormatDescriptionRef, size_t, const uint8_t**, size_t*, size_t*, int*)>);
static_assert(isSame<decltype(&CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer),
    OSStatus (*)(CMSampleBufferRef, size_t*, AudioBufferList*, size_t, CFAllocatorRef, CFAllocatorRef, uint32_t, CMBlockBufferRef*)>);

// Sound.
static_assert(sizeof(AudioBuffer) == 16 && offsetof(AudioBuffer, mData) == 8 && offsetof(AudioBufferList, mBuffers) == 8);
static_assert(sizeof(AudioStreamBasicDescription) == 40 && offsetof(AudioStreamBasicDescription, mBitsPerChannel) == 32);
static_assert(sizeof(AudioStreamPacketDescription) == 16 && sizeof(AudioConverterPrimeInfo) == 8);
static_assert(kAudioFormatLinearPCM == 0x6C70636D && kAudioFormatMPEG4AAC == 0x61616320);
static_assert(kAudioFormatFlagIsFloat == 1 && kAudioFormatFlagIsPacked == 8 && kAudioFormatFlagIsNonInterleaved == 32);
static_assert(kAudioConverterEncodeBitRate == 0x62726174 && kAudioConverterPrimeInfo == 0x7072696D
    && kAudioConverterPropertyMaximumOutputPacketSize == 0x786F7073);
static_assert(isSame<AudioConverterComplexInputDataProc,
    OSStatus (*)(AudioConverterRef, UInt32*, AudioBufferList*, AudioStreamPacketDescription**, void*)>);

// Video Toolbox.
static_assert(kVTEncodeInfo_Asynchronous == 1 && kVTEncodeInfo_FrameDropped == 2);
static_assert(kVTPropertyNotSupportedErr == -12900 && kVTParameterErr == -12902 && kVTInvalidSessionErr == -12903
    && kVTCouldNotFindVideoEncoderErr == -12908 && kVTVideoEncoderMalfunctionErr == -12912 && kVTVideoEncoderNotAvailableNowErr == -12915);
static_assert(isSame<VTCompressionOutputCallback, void (*)(void*, void*, OSStatus, VTEncodeInfoFlags, CMSampleBufferRef)>);
static_assert(isSame<decltype(&VTCompressionSessionCreate),
    OSStatus (*)(CFAllocatorRef, int32_t, int32_t, CMVideoCodecType, CFDictionaryRef, CFDictionaryRef, CFAllocatorRef,
        VTCompressionOutputCallback, void*, VTCompressionSessionRef*)>);
static_assert(isSame<decltype(&VTCompressionSessionEncodeFrame),
    OSStatus (*)(VTCompressionSessionRef, CVImageBufferRef, CMTime, CMTime, CFDictionaryRef, void*, VTEncodeInfoFlags*)>);

static_assert(kVTDecodeFrame_DoNotOutputFrame == 2 && sizeof(CMSampleTimingInfo) == 72);
static_assert(isSame<VTDecompressionOutputCallback, void (*)(void*, void*, OSStatus, VTDecodeInfoFlags, CVImageBufferRef, CMTime, CMTime)>);

// Sleep, and the log.
static_assert(static_cast<uint32_t>(kIOMessageCanSystemSleep) == 0xE0000270
    && static_cast<uint32_t>(kIOMessageSystemWillSleep) == 0xE0000280 && static_cast<uint32_t>(kIOMessageSystemHasPoweredOn) == 0xE0000300);
static_assert(isSame<IOServiceInterestCallback, void (*)(void*, io_service_t, uint32_t, void*)> && sizeof(io_connect_t) == 4);
static_assert(OS_LOG_TYPE_DEFAULT == 0 && OS_LOG_TYPE_INFO == 1 && OS_LOG_TYPE_ERROR == 16);

// Foundation and AppKit.
static_assert(NSUTF8StringEncoding == 4 && NSMoviesDirectory == 17 && NSApplicationSupportDirectory == 14 && NSTrashDirectory == 102
    && NSUserDomainMask == 1);
static_assert(
    NSModalResponseOK == 1 && NSFloatingWindowLevel == 3 && NSApplicationActivationPolicyAccessory == 1 && NSDragOperationCopy == 1);
static_assert(NSWindowStyleMaskTitled == 1 && NSWindowStyleMaskNonactivatingPanel == 0x80 && NSWindowStyleMaskFullSizeContentView == 0x8000
    && NSBackingStoreBuffered == 2 && NSWindowTitleHidden == 1);
static_assert(NSEventModifierFlagOption == 0x80000 && NSEventModifierFlagCommand == 0x100000);
static_assert(NSWindowCollectionBehaviorCanJoinAllSpaces == 1 && NSWindowCollectionBehaviorMoveToActiveSpace == 2
    && NSWindowCollectionBehaviorFullScreenAuxiliary == 256);

// Notifications, login items, playing.
static_assert(UNAuthorizationStatusNotDetermined == 0 && UNAuthorizationStatusDenied == 1 && UNAuthorizationStatusAuthorized == 2
    && UNAuthorizationStatusProvisional == 3);
static_assert(UNAuthorizationOptionBadge == 1 && UNAuthorizationOptionSound == 2 && UNAuthorizationOptionAlert == 4);
static_assert(UNNotificationPresentationOptionSound == 2 && UNNotificationPresentationOptionBanner == 16);
static_assert(UNNotificationActionOptionForeground == 4 && UNNotificationCategoryOptionCustomDismissAction == 1);
static_assert(UNNotificationInterruptionLevelPassive == 0 && UNNotificationInterruptionLevelActive == 1);
static_assert(SMAppServiceStatusNotRegistered == 0 && SMAppServiceStatusEnabled == 1 && SMAppServiceStatusRequiresApproval == 2
    && SMAppServiceStatusNotFound == 3);
static_assert(AVPlayerItemStatusReadyToPlay == 1 && AVPlayerItemStatusFailed == 2);

// Core Graphics.
static_assert(sizeof(CGFloat) == 8 && sizeof(CGRect) == 32 && sizeof(CGWindowID) == 4 && sizeof(CGDirectDisplayID) == 4);
static_assert(kCGWindowListOptionOnScreenOnly == 1 && kCGNullWindowID == 0);
static_assert(kCGImageAlphaPremultipliedLast == 1 && kCGImageAlphaLast == 3 && kCGImageAlphaNoneSkipFirst == 6);
static_assert(kCGBitmapByteOrder32Little == 8192);
static_assert(isSame<decltype(&CGPreflightScreenCaptureAccess), bool (*)()>);

// ScreenCaptureKit.
static_assert(sizeof(NSInteger) == 8 && sizeof(NSUInteger) == 8);
static_assert(SCStreamOutputTypeScreen == 0 && SCStreamOutputTypeAudio == 1);
static_assert(SCFrameStatusComplete == 0 && SCFrameStatusIdle == 1 && SCFrameStatusBlank == 2 && SCFrameStatusSuspended == 3
    && SCFrameStatusStarted == 4 && SCFrameStatusStopped == 5);

}  // namespace
