// What every HotKeyCenter has to do, whichever system it is made for. A back end's test makes a Desktop and instantiates the suite.
#pragma once

#include "platform/HotKeyCenter.h"

#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>

namespace velmora::test {

/// The system below a center, and a hand on its keyboard.
class HotKeyDesktop {
public:
    virtual ~HotKeyDesktop() = default;

    virtual std::shared_ptr<platform::HotKeyCenter> makeCenter() = 0;

    /// Presses what is registered as `hotKeyID`, or something that does not say what it is. What the center's handlers answer to the
    /// system; none when it asked nobody.
    virtual std::optional<platform::HotKeyStatus> press(std::optional<platform::HotKeyID> hotKeyID) = 0;

    /// Every registration from now on fails with this status; 0: none does.
    virtual void refuseRegistrations(platform::HotKeyStatus status) = 0;

    /// How many hot keys the system has been told of and not told to forget.
    [[nodiscard]] virtual std::size_t registeredCount() const = 0;
};

struct HotKeyBackEnd {
    std::string name;
    std::function<std::unique_ptr<HotKeyDesktop>()> makeDesktop;
};

class HotKeyCenterContract : public testing::TestWithParam<HotKeyBackEnd> {
protected:
    const std::unique_ptr<HotKeyDesktop> desktop_ = GetParam().makeDesktop();
    std::shared_ptr<platform::HotKeyCenter> center_ = desktop_->makeCenter();
};

}  // namespace velmora::test
