// What the stand-ins for AppKit's classes share among themselves. Objects that are made have one reference, which is the caller's. Without
// ARC only.
#pragma once

#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/ShellStandIn.h"

#import <AppKit/AppKit.h>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace velmora::standin {

NSRect rectOf(const ScreenRect& rect);
ScreenRect rectFrom(NSRect rect);

/// In the window of the first view.
NSEvent* makeEvent();
NSWindow* makeWindowAround(NSView* view);
/// By its address, of a view that a test has made.
NSWindow* windowOf(std::uint64_t view);
void resetAnimations();

ShownPicture pictureOf(NSImage* image);
/// Of one colour: red, green, blue and alpha, not premultiplied.
NSImage* makeImage(const std::array<std::uint8_t, 4>& pixel);
std::string colorName(NSColor* color);
/// "13 bold, label", after the text.
std::string lookOf(NSAttributedString* text);

/// Throws for nil.
std::string menuText(NSString* text);
void fillMenu(NSMenu* menu);
std::vector<ShownItem> shownIn(NSMenu* menu);
void chooseIn(NSMenu* menu, const std::vector<std::size_t>& place);
void pressKeyIn(NSMenu* menu, const std::string& keys);

}  // namespace velmora::standin

@interface NSWindow ()
- (BOOL)isPanel;
@end
