#include "tests/platform/mac/standins/CoreAudioStandIn.h"

#include "base/MonotonicClock.h"
#include "base/Mutex.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <CoreAudio/CoreAudio.h>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <thread>
#include <vector>

namespace velmora::standin {

namespace {

constexpr OSStatus badObject = 0x216F626A;  // '!obj'
constexpr OSStatus badSize = 0x2173697A;  // '!siz'
constexpr OSStatus unknownProperty = 0x77686F3F;  // 'who?'
constexpr std::chrono::seconds patience{60};
constexpr AudioObjectPropertySelector unrelated = 0x6C6E616D;  // 'lnam'

struct Process {
    std::int32_t number = 0;
    UInt32 plays = 0;
    bool isLost = false;
};

struct Listener {
    AudioObjectID object;
    AudioObjectPropertySelector selector;
    AudioObjectPropertyListenerProc call;
    void* value;

    friend bool operator==(const Listener&, const Listener&) = default;
};

struct Hardware {
    Mutex mutex;
    std::map<AudioObjectID, Process> processes GUARDED_BY(mutex);
    AudioObjectID last GUARDED_BY(mutex) = 40;
    std::vector<Listener> listeners GUARDED_BY(mutex);
    std::vector<Listener> removed GUARDED_BY(mutex);
    int questions GUARDED_BY(mutex) = 0;
    ConditionVariable changed;
};
Hardware& hardware()
{
    static Hardware all;
    return all;
}

void call(const std::vector<Listener>& listeners)
{
    std::thread{[&] {
        for (const auto& each : listeners) {
            const AudioObjectPropertyAddress changed[] = {{unrelated, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain},
                {each.selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain}};
            each.call(each.object, 2, changed, each.value);
        }
    }}.join();
}

void tell(AudioObjectID object, AudioObjectPropertySelector selector)
{
    std::vector<Listener> told;
    {
        MutexLock lock(hardware().mutex);
        std::copy_if(hardware().listeners.begin(), hardware().listeners.end(), std::back_inserter(told),
            [&](const Listener& each) { return each.object == object && each.selector == selector; });
    }
    call(told);
}

void tellOfTheList()
{
    tell(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
}

AudioObjectID insert(std::int32_t process, bool plays) REQUIRES(hardware().mutex)
{
    hardware().processes[++hardware().last] = {process, plays, false};
    return hardware().last;
}

/// What a property holds; empty where the object has none.
std::vector<std::byte> bytesOf(AudioObjectID object, AudioObjectPropertySelector selector, OSStatus& status) REQUIRES(hardware().mutex)
{
    status = noErr;
    std::vector<std::byte> bytes;
    const auto append = [&](const auto& value) {
        const auto* const begin = reinterpret_cast<const std::byte*>(&value);
        bytes.insert(bytes.end(), begin, begin + sizeof value);
    };
    if (object == kAudioObjectSystemObject) {
        if (selector != kAudioHardwarePropertyProcessObjectList || !coreAudio().listsProcesses)
            status = unknownProperty;
        else {
            for (const auto& [each, process] : hardware().processes)
                append(each);
        }
        return bytes;
    }
    const auto found = hardware().processes.find(object);
    if (found == hardware().processes.end() || found->second.isLost)
        status = badObject;
    else if (selector == kAudioProcessPropertyPID)
        append(found->second.number);
    else if (selector == kAudioProcessPropertyIsRunningOutput)
        append(found->second.plays);
    else
        status = unknownProperty;
    return bytes;
}

void checkAddress(const AudioObjectPropertyAddress* address)
{
    if (!address || address->mScope != kAudioObjectPropertyScopeGlobal || address->mElement != kAudioObjectPropertyElementMain)
        refuse("a property of a process in another scope");
}

}  // namespace

CoreAudio& coreAudio()
{
    static CoreAudio all;
    return all;
}

std::uint32_t addAudioProcess(std::int32_t process, bool plays)
{
    AudioObjectID made = 0;
    {
        MutexLock lock(hardware().mutex);
        made = insert(process, plays);
    }
    tellOfTheList();
    return made;
}

void setPlaying(std::uint32_t object, bool plays)
{
    {
        MutexLock lock(hardware().mutex);
        hardware().processes.at(object).plays = plays;
    }
    tell(object, kAudioProcessPropertyIsRunningOutput);
}

void endAudioProcess(std::uint32_t object)
{
    {
        MutexLock lock(hardware().mutex);
        hardware().processes.erase(object);
        // With the object its listeners go.
        std::erase_if(hardware().listeners, [&](const Listener& each) { return each.object == object; });
        hardware().changed.notifyAll();
    }
    tellOfTheList();
}

void loseAudioProcess(std::uint32_t object)
{
    MutexLock lock(hardware().mutex);
    hardware().processes.at(object).isLost = true;
}

bool awaitNoAudioListeners()
{
    const auto deadline = MonotonicClock::now() + patience;
    MutexLock lock(hardware().mutex);
    while (!hardware().listeners.empty()) {
        if (!hardware().changed.waitUntil(hardware().mutex, deadline))
            return false;
    }
    return true;
}

bool awaitProcessListQuestions(int count)
{
    const auto deadline = MonotonicClock::now() + patience;
    MutexLock lock(hardware().mutex);
    while (hardware().questions < count) {
        if (!hardware().changed.waitUntil(hardware().mutex, deadline))
            return false;
    }
    return true;
}

void tellRemovedAudioListeners()
{
    std::vector<Listener> told;
    {
        MutexLock lock(hardware().mutex);
        told = hardware().removed;
    }
    call(told);
}

void resetCoreAudio()
{
    MutexLock lock(hardware().mutex);
    hardware().processes.clear();
    hardware().removed.clear();
    hardware().questions = 0;
    coreAudio() = {};
}

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

Boolean AudioObjectHasProperty(AudioObjectID object, const AudioObjectPropertyAddress* address)
{
    checkAddress(address);
    velmora::MutexLock lock(hardware().mutex);
    ++hardware().questions;
    hardware().changed.notifyAll();
    OSStatus status = noErr;
    bytesOf(object, address->mSelector, status);
    return status == noErr;
}

OSStatus AudioObjectGetPropertyDataSize(
    AudioObjectID object, const AudioObjectPropertyAddress* address, UInt32 qualifierSize, const void* qualifier, UInt32* size)
{
    checkAddress(address);
    if (qualifierSize != 0 || qualifier)
        refuse("a qualifier that no property of a process has");
    OSStatus status = noErr;
    bool haveCome = false;
    {
        velmora::MutexLock lock(hardware().mutex);
        const auto bytes = bytesOf(object, address->mSelector, status);
        if (status == noErr)
            *size = static_cast<UInt32>(bytes.size());
        for (; coreAudio().comeBetween > 0 && object == kAudioObjectSystemObject; --coreAudio().comeBetween) {
            insert(1000 + coreAudio().comeBetween, true);
            haveCome = true;
        }
    }
    if (haveCome)
        tellOfTheList();
    return status;
}

OSStatus AudioObjectGetPropertyData(
    AudioObjectID object, const AudioObjectPropertyAddress* address, UInt32 qualifierSize, const void* qualifier, UInt32* size, void* value)
{
    checkAddress(address);
    if (qualifierSize != 0 || qualifier)
        refuse("a qualifier that no property of a process has");
    velmora::MutexLock lock(hardware().mutex);
    OSStatus status = noErr;
    const auto bytes = bytesOf(object, address->mSelector, status);
    if (status == noErr && *size < bytes.size() && coreAudio().refusesSmallBuffers)
        status = badSize;
    if (status != noErr)
        return status;
    *size = static_cast<UInt32>(std::min<std::size_t>(*size, bytes.size()));
    if (*size > 0)
        std::memcpy(value, bytes.data(), *size);
    return noErr;
}

OSStatus AudioObjectAddPropertyListener(
    AudioObjectID object, const AudioObjectPropertyAddress* address, AudioObjectPropertyListenerProc listener, void* value)
{
    checkAddress(address);
    velmora::MutexLock lock(hardware().mutex);
    OSStatus status = noErr;
    bytesOf(object, address->mSelector, status);
    if (status != noErr)
        return status;
    const Listener made{object, address->mSelector, listener, value};
    if (std::find(hardware().listeners.begin(), hardware().listeners.end(), made) != hardware().listeners.end())
        refuse("a listener was added twice");
    hardware().listeners.push_back(made);
    return noErr;
}

OSStatus AudioObjectRemovePropertyListener(
    AudioObjectID object, const AudioObjectPropertyAddress* address, AudioObjectPropertyListenerProc listener, void* value)
{
    checkAddress(address);
    velmora::MutexLock lock(hardware().mutex);
    const Listener gone{object, address->mSelector, listener, value};
    if (std::erase(hardware().listeners, gone) != 1)
        return badObject;
    hardware().removed.push_back(gone);
    hardware().changed.notifyAll();
    return noErr;
}

}  // extern "C"
