// What the window system says about screens and does with floating windows, under a test's control.
#pragma once

#include "platform/FloatingWindows.h"
#include "platform/WindowActivation.h"

#include <memory>
#include <optional>
#include <vector>

namespace velmora::fake {

class FakeWindowActivation final : public platform::WindowActivation {
public:
    void activate(std::uint64_t nativeWindow) override { activated.push_back(nativeWindow); }
    [[nodiscard]] std::optional<platform::ScreenFrames> mainScreen() override { return screen; }

    std::vector<std::uint64_t> activated;
    std::optional<platform::ScreenFrames> screen;
};

class FakeFloatingWindows final : public platform::FloatingWindows {
public:
    [[nodiscard]] bool areComposited() override { return isComposited; }
    void setClickableArea(std::uint64_t, std::optional<PixelRect> area) override { clickableArea = area; }
    [[nodiscard]] std::unique_ptr<InFront> keepInFront(std::uint64_t, const PixelRect& part) override
    {
        return std::make_unique<Kept>(keptParts, part);
    }

    bool isComposited = false;
    std::optional<PixelRect> clickableArea;
    std::vector<PixelRect> keptParts;  ///< of the windows being kept in front now

private:
    class Kept final : public InFront {
    public:
        Kept(std::vector<PixelRect>& parts, const PixelRect& part) : parts_(parts) { parts_.push_back(part); }
        ~Kept() override { parts_.pop_back(); }
        Kept(const Kept&) = delete;
        Kept& operator=(const Kept&) = delete;

    private:
        std::vector<PixelRect>& parts_;
    };
};

}  // namespace velmora::fake
