#include "platform/mac/MacFloatingWindows.h"

#include "platform/mac/NativeWindow.h"

namespace velmora::mac_backend {

namespace {

class KeptWindow final : public platform::FloatingWindows::InFront {
public:
    explicit KeptWindow(NSWindow* window) : window_(window), level_(window.level), behavior_(window.collectionBehavior)
    {
        window_.level = NSFloatingWindowLevel;
        // It cannot be told to move to the active space as well.
        window_.collectionBehavior = (behavior_ & ~NSWindowCollectionBehavior{NSWindowCollectionBehaviorMoveToActiveSpace})
            | NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorFullScreenAuxiliary;
        [window_ orderFrontRegardless];
    }
    KeptWindow(const KeptWindow&) = delete;
    KeptWindow& operator=(const KeptWindow&) = delete;
    ~KeptWindow() override
    {
        @autoreleasepool {
            window_.level = level_;
            window_.collectionBehavior = behavior_;
            window_ = nil;
        }
    }

private:
    NSWindow* window_;
    const NSWindowLevel level_;
    const NSWindowCollectionBehavior behavior_;
};

class MacFloatingWindows final : public platform::FloatingWindows {
public:
    [[nodiscard]] bool areComposited() override { return true; }

    void setClickableArea(std::uint64_t nativeWindow, std::optional<PixelRect> area) override
    {
        @autoreleasepool {
            windowOf(nativeWindow).ignoresMouseEvents = !area.has_value();
        }
    }

    [[nodiscard]] std::unique_ptr<platform::FloatingWindows::InFront> keepInFront(std::uint64_t nativeWindow, const PixelRect&) override
    {
        @autoreleasepool {
            NSWindow* const window = windowOf(nativeWindow);
            if (!window)
                return nullptr;
            return std::make_unique<KeptWindow>(window);
        }
    }
};

}  // namespace

std::shared_ptr<platform::FloatingWindows> makeFloatingWindows()
{
    return std::make_shared<MacFloatingWindows>();
}

}  // namespace velmora::mac_backend
