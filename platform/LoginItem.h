// Seam: whether the program starts with the user's session.
#pragma once

#include "base/Result.h"

#include <string>

namespace velmora::platform {

/// Main thread only. Kept by the desktop and nowhere else: other programs may change it at any time.
class LoginItem {
public:
    struct Status {
        bool isOn = false;
        bool canBeChanged = true;
        std::string remark = {};  ///< why it cannot be, for people; may be empty where it can

        friend bool operator==(const Status&, const Status&) = default;
    };

    virtual ~LoginItem() = default;

    /// As it is now.
    [[nodiscard]] virtual Status status() const = 0;

    /// Fails with the system's error, or why it cannot be changed; nothing has changed then.
    virtual Result<void> setOn(bool isOn) = 0;
};

}  // namespace velmora::platform
