// How a test lays out the processes that Core Audio knows, and what the stand-in says of those who listen. Any thread; listeners are called
// on a thread of its own, each time with a property besides that nobody has asked for.
#pragma once

#include <cstdint>

namespace velmora::standin {

struct CoreAudio {
    bool listsProcesses = true;  ///< as it does from macOS 14.2 on
    bool refusesSmallBuffers = false;  ///< instead of filling them
    int comeBetween = 0;  ///< processes that come after the next question for the list's size, before it is read
};
/// Before anybody asks.
CoreAudio& coreAudio();

/// The object of a process that is there from now on.
std::uint32_t addAudioProcess(std::int32_t process, bool plays = false);
void setPlaying(std::uint32_t object, bool plays);
void endAudioProcess(std::uint32_t object);

/// It has ended and is still on the list: whatever it is asked fails.
void loseAudioProcess(std::uint32_t object);

/// False if there are still some after a minute.
bool awaitNoAudioListeners();

/// Until it was asked so often whether it lists processes; false if it is not within a minute.
bool awaitProcessListQuestions(int count);

/// Calls those that have been removed once more, as a call that was on its way.
void tellRemovedAudioListeners();

/// Back to how a program finds it.
void resetCoreAudio();

}  // namespace velmora::standin
