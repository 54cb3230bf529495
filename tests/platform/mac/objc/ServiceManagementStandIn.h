// How a test steers the stand-in for ServiceManagement. Main thread only.
#pragma once

namespace velmora::standin {

struct LoginItems {
    long status = 3;  ///< as SMAppServiceStatus has it
    long statusOnceRegistered = 1;
    bool registeringFailsThen = false;  ///< the call fails though the status has changed
    bool refuses = false;
    int calls = 0;
};
LoginItems& loginItems();

}  // namespace velmora::standin
