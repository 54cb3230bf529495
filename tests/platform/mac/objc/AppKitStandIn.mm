#include "tests/platform/mac/objc/AppKitStandIn.h"

#include "tests/platform/mac/objc/AppKitObjects.h"
#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/objc/ServiceManagementStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <utility>

using velmora::standin::appKit;
using velmora::standin::throwIfAsked;

extern "C" {
NSNotificationName const NSApplicationDidChangeScreenParametersNotification =
    velmora::standin::makeText("NSApplicationDidChangeScreenParametersNotification");
NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification =
    velmora::standin::makeText("NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification");
}

@implementation NSScreen {
@public
    velmora::standin::Screen _screen;
}
+ (NSScreen*)mainScreen
{
    if (appKit().mainScreen >= appKit().screens.size())
        return nil;
    NSScreen* const made = [NSScreen new];
    made->_screen = appKit().screens[appKit().mainScreen];
    return objc_autorelease(made);
}
+ (NSArray*)screens
{
    NSMutableArray* const all = [NSMutableArray new];
    for (const auto& each : appKit().screens) {
        NSScreen* const made = [NSScreen new];
        made->_screen = each;
        [all addObject:objc_autorelease(made)];
    }
    return objc_autorelease(all);
}
- (CGFloat)backingScaleFactor
{
    return _screen.scale;
}
- (NSRect)frame
{
    return velmora::standin::rectOf(_screen.frame);
}
- (NSRect)visibleFrame
{
    return velmora::standin::rectOf(_screen.visibleFrame);
}
@end

@implementation NSApplication
+ (NSApplication*)sharedApplication
{
    return objc_autorelease([NSApplication new]);
}
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy
{
    appKit().activationPolicy = activationPolicy;
    return !appKit().refusesPolicies;
}
- (void)run
{
    velmora::standin::refuse("a loop without an end");
}
- (NSEvent*)currentEvent
{
    if (!appKit().hasEvent)
        return nil;
    NSEvent* const event = velmora::standin::makeEvent();
    return objc_autorelease(event);
}
- (void)activate
{
    ++appKit().activations;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace
{
    return objc_autorelease([NSWorkspace new]);
}
- (NSNotificationCenter*)notificationCenter
{
    return NSNotificationCenter.defaultCenter;
}
- (BOOL)accessibilityDisplayShouldReduceMotion
{
    return appKit().reducesMotion;
}
- (BOOL)accessibilityDisplayShouldIncreaseContrast
{
    return appKit().increasesContrast;
}
- (BOOL)openURL:(NSURL*)url
{
    throwIfAsked("openURL:");
    if (!url)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil was opened");
    appKit().opened.push_back(velmora::standin::urlText(url));
    return YES;
}
- (void)activateFileViewerSelectingURLs:(NSArray*)fileURLs
{
    throwIfAsked("activateFileViewerSelectingURLs:");
    std::vector<std::string> files;
    for (NSUInteger index = 0; index < fileURLs.count; ++index)
        files.push_back(velmora::standin::urlText([fileURLs objectAtIndex:index]));
    appKit().revealed.push_back(std::move(files));
}
- (NSImage*)iconForFile:(NSString*)fullPath
{
    if (!fullPath)
        velmora::standin::raise(velmora::standin::invalidArgument, "an icon for nil");
    NSImage* const image = [NSImage new];
    image.size = {32, 32};
    return objc_autorelease(image);
}
@end

namespace velmora::standin {

NSRect rectOf(const ScreenRect& rect)
{
    return {{rect.x, rect.y}, {rect.width, rect.height}};
}

ScreenRect rectFrom(NSRect rect)
{
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

AppKit& appKit()
{
    static AppKit all;
    return all;
}

void changeScreens()
{
    postNotification(NSApplicationDidChangeScreenParametersNotification, nil);
}

void changeAccessibilityOptions()
{
    postNotification(NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification, nil);
}

void resetAppKit()
{
    if (!folderDialogs().empty())
        refuse("a dialog was left open");
    freeViews();
    appKit() = {};
    runningPrograms().clear();
    loginItems() = {};
    foundation() = {};
    throwFromNothing();
    resetShell();
}

}  // namespace velmora::standin
