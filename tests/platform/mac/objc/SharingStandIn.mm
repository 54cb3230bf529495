#include "tests/platform/mac/objc/AppKitStandIn.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#import <AppKit/AppKit.h>
#include <utility>

using velmora::standin::appKit;
using velmora::standin::makeText;
using velmora::standin::textOfObject;
using velmora::standin::throwIfAsked;

extern "C" {
NSSharingServiceName const NSSharingServiceNameComposeEmail = makeText("mail");
NSSharingServiceName const NSSharingServiceNameComposeMessage = makeText("messages");
NSSharingServiceName const NSSharingServiceNameSendViaAirDrop = makeText("airdrop");
NSPasteboardType const NSPasteboardTypeString = makeText("text");
}

@implementation NSPasteboard
+ (NSPasteboard*)generalPasteboard
{
    return objc_autorelease([NSPasteboard new]);
}
- (NSInteger)clearContents
{
    appKit().pasteboardFiles.clear();
    appKit().pasteboardText.clear();
    return ++appKit().pasteboardClears;
}
- (BOOL)writeObjects:(NSArray*)objects
{
    throwIfAsked("writeObjects:");
    for (NSUInteger index = 0; index < objects.count; ++index)
        appKit().pasteboardFiles.push_back(velmora::standin::urlText([objects objectAtIndex:index]));
    return YES;
}
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType
{
    if (dataType != NSPasteboardTypeString)
        return NO;
    appKit().pasteboardText = string.UTF8String;
    return YES;
}
@end

@implementation NSSharingService {
@public
    std::string _name;
}
+ (NSSharingService*)sharingServiceNamed:(NSSharingServiceName)serviceName
{
    const auto name = textOfObject(serviceName);
    if (appKit().missingServices.contains(name))
        return nil;
    NSSharingService* const made = [NSSharingService new];
    made->_name = name;
    return objc_autorelease(made);
}
- (NSString*)menuItemTitle
{
    return objc_autorelease(makeText("Send by " + _name));
}
- (void)setMenuItemTitle:(NSString*)title
{
    static_cast<void>(title);
}
- (BOOL)canPerformWithItems:(NSArray*)items
{
    return items.count > 0 && !appKit().refusesItems;
}
- (void)performWithItems:(NSArray*)items
{
    throwIfAsked("performWithItems:");
    if (appKit().refusesItems)
        velmora::standin::refuse("a service was given what it does not take");
    for (NSUInteger index = 0; index < items.count; ++index)
        appKit().shared.emplace_back(_name, velmora::standin::urlText([items objectAtIndex:index]));
}
@end
