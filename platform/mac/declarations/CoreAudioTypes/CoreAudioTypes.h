// What sound is, one page for each name below https://developer.apple.com/documentation/coreaudiotypes/
// Compared with pages: the members of the three structures (Apple's pages of each). Unconfirmed: their widths, and the numbers of format and flags.
#pragma once

#include <MacTypes.h>

typedef double Float64;
typedef struct AudioBuffer {
    UInt32 mNumberChannels;
    UInt32 mDataByteSize;
    void* mData;
} AudioBuffer;
typedef struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1];
} AudioBufferList;
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

enum { kAudioFormatLinearPCM = 0x6C70636D /* 'lpcm' */ };
enum { kAudioFormatFlagIsFloat = 1, kAudioFormatFlagIsNonInterleaved = 32 };
