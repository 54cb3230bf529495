#include "platform/mac/MacShareableContent.h"

#include "platform/mac/CfHandle.h"
#include "platform/mac/MacSoundActivity.h"
#include "platform/mac/MacWindowIcons.h"
#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SystemExceptions.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::RunningApplication;
using platform::ShareableContent;
using platform::ShareableWindow;

RunningApplication applicationOf(SCRunningApplication* application)
{
    return {textOf(application.bundleIdentifier), textOf(application.applicationName), application.processID};
}

ShareableWindow windowOf(SCWindow* window)
{
    ShareableWindow result;
    result.windowID = window.windowID;
    if (NSString* const title = window.title)
        result.title = textOf(title);
    result.frame = rectOf(window.frame);
    result.windowLayer = window.windowLayer;
    result.isOnScreen = window.onScreen;
    if (SCRunningApplication* const application = window.owningApplication)
        result.owningApplication = applicationOf(application);
    return result;
}

/// The place of each window on the screen, 0 in front.
std::map<std::uint32_t, CFIndex> placesFromTheFront()
{
    std::map<std::uint32_t, CFIndex> places;
    const CfHandle<CFArrayRef> windows{CGWindowListCopyWindowInfo(kCGWindowListOptionOnScreenOnly, kCGNullWindowID)};
    const CFIndex count = windows ? CFArrayGetCount(windows.get()) : 0;
    for (CFIndex index = 0; index < count; ++index) {
        const auto description = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(windows.get(), index));
        const void* const number = CFDictionaryGetValue(description, kCGWindowNumber);
        std::int64_t windowID = 0;
        if (number && CFGetTypeID(number) == CFNumberGetTypeID()
            && CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt64Type, &windowID))
            places.emplace(static_cast<std::uint32_t>(windowID), index);
    }
    return places;
}

/// No page says in which order ScreenCaptureKit lists windows; that of the list of windows is from front to back. What is not on it stays
/// behind.
void sortFromTheFront(std::vector<ShareableWindow>& windows)
{
    const auto places = placesFromTheFront();
    const auto place = [&](const ShareableWindow& window) {
        const auto found = places.find(window.windowID);
        return found == places.end() ? static_cast<CFIndex>(places.size()) : found->second;
    };
    std::stable_sort(windows.begin(), windows.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
}

ShareableContent contentOf(SCShareableContent* content, ListedObjects& listed)
{
    ShareableContent result;
    NSArray<SCWindow*>* const windows = content.windows;
    for (NSUInteger index = 0; index < windows.count; ++index) {
        SCWindow* const window = [windows objectAtIndex:index];
        result.windows.push_back(windowOf(window));
        listed.windows[window.windowID] = window;
    }
    NSArray<SCDisplay*>* const displays = content.displays;
    for (NSUInteger index = 0; index < displays.count; ++index) {
        SCDisplay* const display = [displays objectAtIndex:index];
        result.displays.push_back({display.displayID, rectOf(display.frame)});
        listed.displays[display.displayID] = display;
    }
    NSArray<SCRunningApplication*>* const applications = content.applications;
    for (NSUInteger index = 0; index < applications.count; ++index) {
        SCRunningApplication* const application = [applications objectAtIndex:index];
        result.applications.push_back(applicationOf(application));
        listed.applications[application.processID] = application;
    }
    sortFromTheFront(result.windows);
    return result;
}

class MacShareableContent final : public platform::ShareableContentProvider {
public:
    explicit MacShareableContent(std::shared_ptr<ShareableObjects> objects)
        : objects_(std::move(objects))
        , icons_(makeWindowIcons(objects_))
    {
    }

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) override
    {
        @autoreleasepool {
            const auto once = std::make_shared<Completion>(std::move(completion));
            const auto objects = objects_;
            @try {
                [SCShareableContent getShareableContentExcludingDesktopWindows:excludingDesktopWindows
                                                           onScreenWindowsOnly:onScreenWindowsOnly
                                                             completionHandler:^(SCShareableContent* content, NSError* error) {
                                                                 auto answered = std::exchange(*once, nullptr);
                                                                 if (!answered)
                                                                     return;
                                                                 if (!content)
                                                                     return answered(fail(errorOf(error, "The windows cannot be listed.")));
                                                                 ListedObjects found;
                                                                 auto result = contentOf(content, found);
                                                                 objects->keep(std::move(found));
                                                                 answered(std::move(result));
                                                             }];
            } @catch (NSException* exception) {
                answerThrown(once, exception);
            }
        }
    }

    [[nodiscard]] platform::SoundActivity* soundActivity() override { return soundActivity_.get(); }
    [[nodiscard]] platform::WindowIcons* icons() override { return icons_.get(); }

private:
    const std::shared_ptr<ShareableObjects> objects_;
    const std::shared_ptr<platform::SoundActivity> soundActivity_ = makeSoundActivity();
    const std::shared_ptr<platform::WindowIcons> icons_;
};

}  // namespace

std::shared_ptr<platform::ShareableContentProvider> makeShareableContent(std::shared_ptr<ShareableObjects> objects)
{
    return std::make_shared<MacShareableContent>(std::move(objects));
}

}  // namespace velmora::mac_backend
