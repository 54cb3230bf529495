#include "platform/mac/MacWorkspace.h"

#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SleepWatch.h"
#include "platform/mac/SystemExceptions.h"

#import <AppKit/AppKit.h>
#include <utility>

namespace velmora::mac_backend {

namespace {

/// One thing that a centre of notifications tells, until it is destroyed.
class Observation {
public:
    Observation(NSNotificationCenter* center, NSNotificationName name, void (^told)(NSNotification*))
        : center_(center)
        , token_([center addObserverForName:name object:nil queue:NSOperationQueue.mainQueue usingBlock:told])
    {
    }
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
    ~Observation()
    {
        @autoreleasepool {
            [center_ removeObserver:token_];
            token_ = nil;
            center_ = nil;
        }
    }

private:
    NSNotificationCenter* center_;
    id<NSObject> token_;
};

class MacWorkspace final : public platform::Workspace {
public:
    void addObserver(platform::WorkspaceObserver observer) override
    {
        @autoreleasepool {
            observers_.push_back(std::move(observer));
            if (!screens_)
                observe();
        }
    }

    [[nodiscard]] platform::DisplayOptions accessibilityDisplayOptions() const override
    {
        @autoreleasepool {
            NSWorkspace* const workspace = NSWorkspace.sharedWorkspace;
            // A Mac has no size of text for all programs.
            return {.reducesMotion = workspace.accessibilityDisplayShouldReduceMotion != NO,
                .increasesContrast = workspace.accessibilityDisplayShouldIncreaseContrast != NO};
        }
    }

    [[nodiscard]] std::string fileBrowserName() const override { return "Finder"; }

    void open(const std::filesystem::path& path) override
    {
        @autoreleasepool {
            open(urlOf(path));
        }
    }

    void openURL(std::string_view text) override
    {
        @autoreleasepool {
            open([NSURL URLWithString:textFrom(text)]);
        }
    }

    /// A Mac has no place of its own for keys that run a command.
    [[nodiscard]] std::optional<platform::KeySettings> keySettings() const override { return std::nullopt; }
    void openKeySettings() override { }

    void activateFileViewerSelecting(const std::vector<std::filesystem::path>& files) override
    {
        @autoreleasepool {
            NSMutableArray<NSURL*>* const urls = [[NSMutableArray alloc] init];
            for (const auto& each : files) {
                if (NSURL* const url = urlOf(each))
                    [urls addObject:url];
            }
            if (urls.count > 0)
                thrownBy([&] { [NSWorkspace.sharedWorkspace activateFileViewerSelectingURLs:urls]; });
        }
    }

private:
    static void open(NSURL* url)
    {
        if (url)
            thrownBy([&] { [NSWorkspace.sharedWorkspace openURL:url]; });
    }

    void observe()
    {
        screens_ = std::make_unique<Observation>(NSNotificationCenter.defaultCenter, NSApplicationDidChangeScreenParametersNotification,
            ^(NSNotification*) { tell(&platform::WorkspaceObserver::screenParametersDidChange); });
        options_ = std::make_unique<Observation>(NSWorkspace.sharedWorkspace.notificationCenter,
            NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification,
            ^(NSNotification*) { tell(&platform::WorkspaceObserver::accessibilityDisplayOptionsDidChange); });
        sleep_ = watchSleep({.willSleep =
                                 [this](const auto& makeReadyToSleep) {
                                     for (std::size_t index = 0; index < observers_.size(); ++index) {
                                         if (const auto told = observers_[index].willSleep)
                                             told(makeReadyToSleep());
                                     }
                                 },
            .didWake = [this] { tell(&platform::WorkspaceObserver::didWake); }});
    }

    /// Whoever is told may add another.
    void tell(std::function<void()> platform::WorkspaceObserver::*what)
    {
        for (std::size_t index = 0; index < observers_.size(); ++index) {
            if (const auto told = observers_[index].*what)
                told();
        }
    }

    std::vector<platform::WorkspaceObserver> observers_;
    std::unique_ptr<Observation> screens_;
    std::unique_ptr<Observation> options_;
    std::unique_ptr<SleepWatch> sleep_;
};

}  // namespace

std::shared_ptr<platform::Workspace> makeWorkspace()
{
    return std::make_shared<MacWorkspace>();
}

}  // namespace velmora::mac_backend
