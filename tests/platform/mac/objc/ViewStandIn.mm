#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <utility>

using velmora::standin::appKit;
using velmora::standin::makeText;
using velmora::standin::throwIfAsked;

@implementation NSDraggingItem {
@public
    NSURL* _url;
    NSRect _frame;
}
- (instancetype)initWithPasteboardWriter:(id<NSPasteboardWriting>)writer
{
    _url = objc_retain((NSURL*)writer);
    return self;
}
- (void)setDraggingFrame:(NSRect)frame contents:(id)contents
{
    // Without a picture a frame has no sense: https://developer.apple.com/documentation/appkit/nsdraggingitem/setdraggingframe(_:contents:)
    if (!contents)
        velmora::standin::refuse("a dragged file without a picture");
    _frame = frame;
}
- (void)dealloc
{
    objc_release(_url);
    [super dealloc];
}
@end

@implementation NSDraggingSession
@end

@implementation NSView {
@public
    NSWindow* _window;  // not held
    std::string _toolTip;
}
- (void)setToolTip:(NSString*)text
{
    _toolTip = text.UTF8String;
    appKit().toolTip = _toolTip;
}
- (NSString*)toolTip
{
    return objc_autorelease(makeText(_toolTip));
}
- (NSDraggingSession*)beginDraggingSessionWithItems:(NSArray*)items event:(NSEvent*)event source:(id<NSDraggingSource>)source
{
    throwIfAsked("beginDraggingSessionWithItems:");
    if (items.count == 0 || !event || !source)
        velmora::standin::raise(velmora::standin::invalidArgument, "a drag of nothing");
    NSDraggingSession* const session = objc_autorelease([NSDraggingSession new]);
    velmora::standin::Drag drag;
    for (NSUInteger index = 0; index < items.count; ++index) {
        NSDraggingItem* const item = [items objectAtIndex:index];
        drag.files.push_back(velmora::standin::urlText(item->_url));
        drag.frames.push_back(velmora::standin::rectFrom(item->_frame));
    }
    drag.operations = [source draggingSession:session sourceOperationMaskForDraggingContext:0];
    appKit().drags.push_back(std::move(drag));
    return session;
}
@end

@implementation NSEvent {
@public
    NSWindow* _window;
}
+ (NSUInteger)pressedMouseButtons
{
    return appKit().pressedButtons;
}
- (CGPoint)locationInWindow
{
    return {100, 50};
}
@end

namespace velmora::standin {

namespace {

std::vector<NSView*>& views()
{
    static std::vector<NSView*> all;
    return all;
}

NSView* viewAt(std::uint64_t address)
{
    return (NSView*)reinterpret_cast<void*>(address);
}

}  // namespace

NSEvent* makeEvent()
{
    NSEvent* const event = [NSEvent new];
    event->_window = views().empty() ? nil : views().front()->_window;
    return event;
}

std::uint64_t makeViewWithoutWindow()
{
    NSView* const view = [NSView new];
    views().push_back(view);
    return reinterpret_cast<std::uintptr_t>(view);
}

std::uint64_t makeView()
{
    const auto view = makeViewWithoutWindow();
    viewAt(view)->_window = makeWindowAround(viewAt(view));
    return view;
}

void freeViews()
{
    for (NSView* each : std::exchange(views(), {})) {
        objc_release(each->_window);
        objc_release(each);
    }
}

NSWindow* windowOf(std::uint64_t view)
{
    return viewAt(view)->_window;
}

}  // namespace velmora::standin
