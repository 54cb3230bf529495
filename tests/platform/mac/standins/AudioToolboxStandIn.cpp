#include "tests/platform/mac/standins/AudioToolboxStandIn.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

struct OpaqueAudioConverter {
    std::size_t channels = 0;
    std::vector<float> frames;  // that were read, behind the priming
    const float* given = nullptr;  // which is to stay as it is until the next question
    std::vector<float> asGiven;
    bool hasEnded = false;
};

namespace {

constexpr std::size_t framesPerPacket = 1024;

std::set<AudioConverterRef> converters;

[[noreturn]] void refuse(const char* what)
{
    std::fprintf(stderr, "Audio Toolbox stand-in: %s\n", what);
    std::abort();
}

}  // namespace

namespace velmora::standin {

AudioToolbox& audioToolbox()
{
    static AudioToolbox switches;
    return switches;
}

std::size_t converterCount()
{
    return converters.size();
}

}  // namespace velmora::standin

using velmora::standin::audioToolbox;

extern "C" {

OSStatus AudioConverterNew(const AudioStreamBasicDescription* from, const AudioStreamBasicDescription* to, AudioConverterRef* made)
{
    if (audioToolbox().createStatus != noErr)
        return audioToolbox().createStatus;
    const bool isFloat = from->mFormatID == kAudioFormatLinearPCM && from->mBitsPerChannel == 32 && from->mFramesPerPacket == 1
        && from->mFormatFlags == (kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked)
        && from->mBytesPerFrame == from->mChannelsPerFrame * sizeof(float) && from->mBytesPerPacket == from->mBytesPerFrame;
    if (!isFloat || to->mFormatID != kAudioFormatMPEG4AAC || to->mChannelsPerFrame != from->mChannelsPerFrame)
        refuse("a conversion of another kind");
    *made = new OpaqueAudioConverter;
    (*made)->channels = from->mChannelsPerFrame;
    (*made)->frames.resize(audioToolbox().leadingFrames * (*made)->channels);
    converters.insert(*made);
    return noErr;
}

OSStatus AudioConverterDispose(AudioConverterRef converter)
{
    if (converters.erase(converter) == 0)
        refuse("a converter was disposed of twice");
    delete converter;
    return noErr;
}

OSStatus AudioConverterSetProperty(AudioConverterRef, AudioConverterPropertyID property, UInt32 size, const void* value)
{
    if (property != kAudioConverterEncodeBitRate || size != sizeof(UInt32))
        refuse("another property was set");
    std::memcpy(&audioToolbox().bitRate, value, size);
    return audioToolbox().bitRateStatus;
}

OSStatus AudioConverterGetProperty(AudioConverterRef converter, AudioConverterPropertyID property, UInt32* size, void* value)
{
    if (property == kAudioConverterPrimeInfo) {
        if (*size != sizeof(AudioConverterPrimeInfo))
            refuse("priming of another size");
        const AudioConverterPrimeInfo priming{audioToolbox().leadingFrames, 0};
        std::memcpy(value, &priming, sizeof priming);
        return audioToolbox().primingStatus;
    }
    if (property != kAudioConverterPropertyMaximumOutputPacketSize || *size != sizeof(UInt32))
        refuse("another property was asked for");
    const auto greatest = static_cast<UInt32>(framesPerPacket * converter->channels * sizeof(float));
    std::memcpy(value, &greatest, sizeof greatest);
    return audioToolbox().packetSizeStatus;
}

OSStatus AudioConverterFillComplexBuffer(AudioConverterRef converter, AudioConverterComplexInputDataProc provide, void* user, UInt32* count,
    AudioBufferList* output, AudioStreamPacketDescription* description)
{
    if (*count != 1 || output->mNumberBuffers != 1)
        refuse("more than one packet was asked for");
    *count = 0;
    if (audioToolbox().convertStatus != noErr)
        return audioToolbox().convertStatus;
    const std::size_t samples = framesPerPacket * converter->channels;
    while (converter->frames.size() < samples && !converter->hasEnded) {
        // Read as late as its page allows.
        if (!std::equal(converter->asGiven.begin(), converter->asGiven.end(), converter->given))
            refuse("what was provided was touched before the next question");
        AudioBufferList input{1, {{static_cast<UInt32>(converter->channels), 0, nullptr}}};
        UInt32 wanted = audioToolbox().framesWanted;
        const OSStatus status = provide(converter, &wanted, &input, nullptr, user);
        if (status != noErr) {
            if (wanted != 0)
                refuse("an error with packets");
            converter->asGiven.clear();
            return status;
        }
        converter->hasEnded = wanted == 0;
        const auto& buffer = input.mBuffers[0];
        if (buffer.mDataByteSize != wanted * converter->channels * sizeof(float))
            refuse("packets and bytes that do not agree");
        converter->given = static_cast<const float*>(buffer.mData);
        converter->asGiven.assign(converter->given, converter->given + wanted * converter->channels);
        converter->frames.insert(converter->frames.end(), converter->asGiven.begin(), converter->asGiven.end());
    }
    if (converter->frames.empty())
        return noErr;
    converter->frames.resize(std::max(converter->frames.size(), samples));
    const auto bytes = static_cast<UInt32>(samples * sizeof(float));
    if (output->mBuffers[0].mDataByteSize < bytes)
        refuse("a buffer that is smaller than the greatest packet");
    std::memcpy(output->mBuffers[0].mData, converter->frames.data(), bytes);
    output->mBuffers[0].mDataByteSize = bytes;
    *description = {0, 0, bytes};
    converter->frames.erase(converter->frames.begin(), converter->frames.begin() + static_cast<std::ptrdiff_t>(samples));
    *count = 1;
    return noErr;
}

}  // extern "C"
