// How a test has the machine sleep and wake, and what the stand-in for IOKit's power notifications says of the answers.
#pragma once

#include <cstdint>
#include <vector>

namespace velmora::standin {

struct Power {
    bool isThere = true;  ///< whether anybody can register

    int registrations = 0;  ///< that are there now
    int ports = 0;
    int connections = 0;
    std::vector<std::intptr_t> allowed;  ///< changes that were answered, in order
};
Power& power();

/// The system's messages, on the main thread. An answer to anything else, or a second one, ends the test program.
void askWhetherToSleep(std::intptr_t change);
void willSleep(std::intptr_t change);
void willPowerOn();
void hasPoweredOn();

}  // namespace velmora::standin
