// What sound is, one page for each name below https://developer.apple.com/documentation/coreaudiotypes/ ; compared with pages: the members of
// the structures (Apple's pages of each). The numbers of formats and flags are from pages that are not Apple's.
#pragma once

#include <MacTypes.h>

/// https://developer.apple.com/documentation/corefoundation/cfnumbertype/float64type : a real number of 64 bits
typedef double Float64;
/// https://developer.apple.com/documentation/coreaudiotypes/audiobuffer , https://onestack.dev/ios-reference/CoreAudioTypes/AudioBuffer
/// (the widths)
typedef struct AudioBuffer {
    UInt32 mNumberChannels;
    UInt32 mDataByteSize;
    void* mData;
} AudioBuffer;
/// https://developer.apple.com/documentation/coreaudiotypes/audiobufferlist ,
/// https://onestack.dev/ios-reference/CoreAudioTypes/AudioBufferList (the widths)
typedef struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1];
} AudioBufferList;
/// https://developer.apple.com/documentation/coreaudiotypes/audiostreambasicdescription
typedef struct AudioStreamBasicDescription {
    Float64 mSampleRate;
    UInt32 mFormatID;
    UInt32 mFormatFlags;
    UInt32 mBytesPerPacket;
    UInt32 mFramesPerPacket;
    UInt32 mBytesPerFrame;
    UInt32 mChannelsPerFrame;
    UInt32 mBitsPerChannel;
    UInt32 mReserved;
} AudioStreamBasicDescription;

/// https://developer.apple.com/documentation/coreaudiotypes/audiostreampacketdescription ,
/// https://onestack.dev/ios-reference/CoreAudioTypes/AudioStreamPacketDescription (the widths)
typedef struct AudioStreamPacketDescription {
    int64_t mStartOffset;
    UInt32 mVariableFramesInPacket;
    UInt32 mDataByteSize;
} AudioStreamPacketDescription;

/// https://developer.apple.com/documentation/coreaudiotypes/kaudioformatlinearpcm ; the numbers of both are in
/// https://blog.csdn.net/mandagod/article/details/81182611
enum { kAudioFormatLinearPCM = 0x6C70636D /* 'lpcm' */, kAudioFormatMPEG4AAC = 0x61616320 /* 'aac ' */ };
/// https://developer.apple.com/documentation/coreaudiotypes/kaudioformatflagisnoninterleaved ; the numbers of all three are in
/// https://www.mail-archive.com/cocoa-dev@lists.apple.com/msg19063.html
enum { kAudioFormatFlagIsFloat = 1, kAudioFormatFlagIsPacked = 8, kAudioFormatFlagIsNonInterleaved = 32 };
