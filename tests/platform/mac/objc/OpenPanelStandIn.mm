#include "tests/platform/mac/objc/AppKitStandIn.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"

#import <AppKit/AppKit.h>
#include <Block.h>

using velmora::standin::throwIfAsked;

namespace {

std::vector<NSOpenPanel*>& openPanels()
{
    static std::vector<NSOpenPanel*> all;
    return all;
}

void endPanel(NSOpenPanel* panel, NSModalResponse response);

}  // namespace

@implementation NSOpenPanel {
@public
    NSString* _message;
    NSString* _prompt;
    NSURL* _directoryURL;
    NSURL* _URL;
    void (^_handler)(NSModalResponse);
}
+ (NSOpenPanel*)openPanel
{
    NSOpenPanel* const panel = [NSOpenPanel new];
    // As the system's is: https://developer.apple.com/documentation/appkit/nsopenpanel/canchoosefiles
    panel.canChooseFiles = YES;
    return objc_autorelease(panel);
}
- (void)beginWithCompletionHandler:(void (^)(NSModalResponse result))handler
{
    throwIfAsked("beginWithCompletionHandler:");
    _handler = (void (^)(NSModalResponse))_Block_copy(handler);
    openPanels().push_back(objc_retain(self));
}
- (void)cancel:(id)sender
{
    static_cast<void>(sender);
    endPanel(self, NSModalResponseCancel);
}
- (void)dealloc
{
    if (_handler)
        _Block_release(_handler);
    for (id each : {(id)_message, (id)_prompt, (id)_directoryURL, (id)_URL})
        objc_release(each);
    [super dealloc];
}
@end

namespace {

/// Its handler is called once. No page says when the panel lets go of it: it does when it goes itself.
void endPanel(NSOpenPanel* panel, NSModalResponse response)
{
    if (std::erase(openPanels(), panel) != 1)
        return;
    velmora::standin::runInPool([&] { panel->_handler(response); });
    objc_release(panel);
}

}  // namespace

namespace velmora::standin {

std::vector<FolderDialog> folderDialogs()
{
    std::vector<FolderDialog> all;
    for (NSOpenPanel* each : openPanels())
        all.push_back({textOfObject(each->_message), textOfObject(each->_prompt), each->_directoryURL ? urlText(each->_directoryURL) : "",
            each.canChooseDirectories && !each.canChooseFiles && !each.allowsMultipleSelection, bool{each.canCreateDirectories != NO}});
    return all;
}

void chooseInDialog(const std::string& url, bool isFile)
{
    NSOpenPanel* const panel = openPanels().at(0);
    panel->_URL = makeUrl(url, isFile);
    endPanel(panel, NSModalResponseOK);
}

void cancelDialog()
{
    endPanel(openPanels().at(0), NSModalResponseCancel);
}

}  // namespace velmora::standin
