// How a test has the stand-in for the system's player play. Main thread only, except where stated. Without ARC only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::standin {

struct PlayerState {
    std::string url;
    bool isPlaying = false;
    double volume = 1;
    bool isMuted = false;
    std::optional<double> endTime;  ///< of playing forward, in seconds
    std::vector<double> seeks;  ///< exact ones; another ends the test program
    int observers = 0;  ///< of time
};

/// The last player that was made; one at a time.
PlayerState playerState();
bool hasPlayer();

/// On another thread, as the system may tell of it.
void becomeReadyToPlay();
void failToPlay(int code);

/// The player's time is `seconds` now, where there is another picture, all of whose bytes are `value`.
void playTo(double seconds, std::optional<std::uint8_t> value = {});

/// The end, or where playing is to end.
void reachTheEnd();

/// Answers the seeks in order: all but the last are overtaken.
void finishSeeks(std::uint8_t value);

}  // namespace velmora::standin
