#include "tests/platform/mac/objc/ScreenCaptureKitStandIn.h"

#include "base/Mutex.h"
#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/objc/Runtime.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <Block.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>
#include <atomic>
#include <future>
#include <utility>

using velmora::standin::screenDesktop;
using velmora::standin::streamRecord;

static velmora::standin::String frameStatusText{"SCStreamFrameInfoStatus", true};
static velmora::standin::String windowNumberText{"kCGWindowNumber", true};

extern "C" {
// What a dictionary of Core Foundation has for its key and Objective-C for a text.
NSString* const SCStreamFrameInfoStatus = (NSString*)&static_cast<velmora::standin::Object&>(frameStatusText);
const CFStringRef kCGWindowNumber = velmora::standin::referenceTo<CFStringRef>(windowNumberText);
}

@implementation SCRunningApplication {
@public
    velmora::standin::ListedApplication _listed;
}
- (NSString*)bundleIdentifier
{
    return objc_autorelease(velmora::standin::makeText(_listed.bundleIdentifier));
}
- (NSString*)applicationName
{
    return objc_autorelease(velmora::standin::makeText(_listed.name));
}
- (pid_t)processID
{
    return _listed.processID;
}
@end

@implementation SCWindow {
@public
    velmora::standin::ListedWindow _listed;
    SCRunningApplication* _owningApplication;
}
- (CGWindowID)windowID
{
    return _listed.windowID;
}
- (CGRect)frame
{
    return _listed.frame;
}
- (NSString*)title
{
    return objc_autorelease(velmora::standin::makeText(_listed.title));
}
- (NSInteger)windowLayer
{
    return _listed.layer;
}
- (BOOL)isOnScreen
{
    return _listed.isOnScreen;
}
- (void)dealloc
{
    objc_release(_owningApplication);
    [super dealloc];
}
@end

@implementation SCDisplay {
@public
    velmora::standin::ListedDisplay _listed;
}
- (CGDirectDisplayID)displayID
{
    return _listed.displayID;
}
- (CGRect)frame
{
    return _listed.frame;
}
@end

namespace {

velmora::SerialQueue& systemQueue()
{
    static auto& queue = *new velmora::SerialQueue("com.velmora.tests.screencapture");
    return queue;
}

/// Calls a completion as the switches say. It is copied, and given back when it has been called.
template <typename Handler, typename... Arguments>
void answer(Handler handler, Arguments... arguments)
{
    const auto copy = (Handler)_Block_copy(handler);
    for (id each : {(id)arguments...})
        objc_retain(each);
    const auto call = [copy, arguments...] {
        velmora::standin::runInPool([&] {
            copy(arguments...);
            if (screenDesktop().answersTwice)
                copy(arguments...);
        });
        for (id each : {(id)arguments...})
            objc_release(each);
        _Block_release(copy);
    };
    if (screenDesktop().answersAtOnce)
        call();
    else
        systemQueue().async(call);
}

NSError* makeStreamError(std::int64_t code)
{
    return velmora::standin::makeError("com.apple.ScreenCaptureKit.SCStreamErrorDomain", code, "The user declined.");
}

}  // namespace

@implementation SCShareableContent {
@public
    NSMutableArray* _windows;
    NSMutableArray* _displays;
    NSMutableArray* _applications;
}
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludesDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenWindowsOnly
                                 completionHandler:(void (^)(SCShareableContent*, NSError*))completionHandler
{
    velmora::standin::throwIfAsked("getShareableContentExcludingDesktopWindows:");
    static_cast<void>(excludesDesktopWindows);
    const auto& desktop = screenDesktop();
    if (desktop.listError != 0) {
        NSError* const error = makeStreamError(desktop.listError);
        answer(completionHandler, (SCShareableContent*)nil, error);
        objc_release(error);
        return;
    }
    SCShareableContent* const content = [SCShareableContent new];
    content->_windows = [NSMutableArray new];
    content->_displays = [NSMutableArray new];
    content->_applications = [NSMutableArray new];
    for (const auto& each : desktop.applications) {
        SCRunningApplication* const application = [SCRunningApplication new];
        application->_listed = each;
        [content->_applications addObject:application];
        objc_release(application);
    }
    for (const auto& each : desktop.windows) {
        if (onScreenWindowsOnly && !each.isOnScreen)
            continue;
        SCWindow* const window = [SCWindow new];
        window->_listed = each;
        for (NSUInteger index = 0; index < content->_applications.count; ++index) {
            SCRunningApplication* const application = [content->_applications objectAtIndex:index];
            if (each.processID && application->_listed.processID == *each.processID)
                window->_owningApplication = objc_retain(application);
        }
        [content->_windows addObject:window];
        objc_release(window);
    }
    for (const auto& each : desktop.displays) {
        SCDisplay* const display = [SCDisplay new];
        display->_listed = each;
        [content->_displays addObject:display];
        objc_release(display);
    }
    answer(completionHandler, content, (NSError*)nil);
    objc_release(content);
}
- (void)dealloc
{
    objc_release(_windows);
    objc_release(_displays);
    objc_release(_applications);
    [super dealloc];
}
@end

@implementation SCContentFilter {
@public
    std::string _text;
}
- (instancetype)initWithDesktopIndependentWindow:(SCWindow*)window
{
    _text = "window " + std::to_string(window.windowID);
    return self;
}
- (instancetype)initWithDisplay:(SCDisplay*)display
          includingApplications:(NSArray<SCRunningApplication*>*)applications
               exceptingWindows:(NSArray<SCWindow*>*)exceptingWindows
{
    _text = "display " + std::to_string(display.displayID) + ", applications";
    for (NSUInteger index = 0; index < applications.count; ++index)
        _text += " " + std::to_string([applications objectAtIndex:index].processID);
    _text += ", except";
    for (NSUInteger index = 0; index < exceptingWindows.count; ++index)
        _text += " " + std::to_string([exceptingWindows objectAtIndex:index].windowID);
    return self;
}
@end

@implementation SCStreamConfiguration
@synthesize width, height, pixelFormat, minimumFrameInterval, sourceRect, showsCursor, capturesAudio, sampleRate, channelCount,
    excludesCurrentProcessAudio, ignoreShadowsSingleWindow, ignoreShadowsDisplay;
@end

namespace {

/// What outlives the stream in its threads' hands.
struct StreamParts {
    struct Output {
        id receiver;
        SCStreamOutputType type;
        dispatch_queue_t queue;
    };
    ~StreamParts()
    {
        objc_release(delegate);
        for (const auto& each : outputs) {
            objc_release(each.receiver);
            objc_release(each.queue);
        }
    }

    id delegate = nil;
    std::vector<Output> outputs;
    std::atomic<bool> isRunning = false;
    std::atomic<bool> hasStarted = false;
    std::atomic<bool> hasShown = false;
};

velmora::Mutex partsMutex;
std::weak_ptr<StreamParts> currentParts GUARDED_BY(partsMutex);

}  // namespace

@implementation SCStream {
@public
    std::shared_ptr<StreamParts> _parts;
}
- (instancetype)initWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
                      delegate:(id<SCStreamDelegate>)delegate
{
    auto& record = streamRecord();
    record = {};
    record.filter = filter->_text;
    record.width = static_cast<std::int64_t>(configuration.width);
    record.height = static_cast<std::int64_t>(configuration.height);
    record.pixelFormat = configuration.pixelFormat;
    record.minimumFrameInterval = configuration.minimumFrameInterval;
    record.sourceRect = configuration.sourceRect;
    record.showsCursor = configuration.showsCursor;
    record.capturesAudio = configuration.capturesAudio;
    record.sampleRate = configuration.sampleRate;
    record.channelCount = configuration.channelCount;
    record.excludesCurrentProcessAudio = configuration.excludesCurrentProcessAudio;
    record.ignoresShadowsSingleWindow = configuration.ignoreShadowsSingleWindow;
    record.ignoresShadowsDisplay = configuration.ignoreShadowsDisplay;
    _parts = std::make_shared<StreamParts>();
    _parts->delegate = objc_retain(delegate);
    velmora::MutexLock lock(partsMutex);
    currentParts = _parts;
    return self;
}
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)queue
                  error:(NSError**)error
{
    velmora::standin::throwIfAsked("addStreamOutput:");
    if (screenDesktop().addError != 0) {
        if (error)
            *error = objc_autorelease(makeStreamError(screenDesktop().addError));
        return NO;
    }
    if (!queue)
        velmora::standin::refuse("an output without a queue of its own");
    streamRecord().outputs.push_back(type);
    _parts->outputs.push_back({objc_retain(output), type, objc_retain(queue)});
    return YES;
}
- (void)startCaptureWithCompletionHandler:(void (^)(NSError*))completionHandler
{
    velmora::standin::throwIfAsked("startCaptureWithCompletionHandler:");
    ++streamRecord().starts;
    const auto code = screenDesktop().startError;
    NSError* const error = code != 0 ? makeStreamError(code) : nil;
    objc_retain(self);
    const auto copy = (void (^)(NSError*))_Block_copy(completionHandler);
    systemQueue().async([self, copy, error] {
        _parts->isRunning = !error;
        if (screenDesktop().endsBeforeTheStartIsAnswered) {
            _parts->isRunning = false;
            velmora::standin::runInPool([&] {
                NSError* const end = makeStreamError(-3821);
                [(id<SCStreamDelegate>)_parts->delegate stream:self didStopWithError:end];
                objc_release(end);
            });
        }
        _parts->hasStarted = true;
        velmora::standin::runInPool([&] {
            copy(error);
            if (screenDesktop().answersTwice)
                copy(error);
        });
        _Block_release(copy);
        objc_release(error);
        objc_release(self);
    });
}
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError*))completionHandler
{
    velmora::standin::throwIfAsked("stopCaptureWithCompletionHandler:");
    ++streamRecord().stops;
    const bool wasRunning = _parts->isRunning.exchange(false);
    // "An error message that indicates the stream is not running": SCStreamErrorAttemptToStopStreamState
    if (!wasRunning)
        ++streamRecord().refusedStops;
    NSError* const error = wasRunning ? nil : makeStreamError(-3808);
    answer(completionHandler, error);
    objc_release(error);
}
@end

namespace {

std::shared_ptr<StreamParts> partsThatDeliver()
{
    velmora::MutexLock lock(partsMutex);
    const auto parts = currentParts.lock();
    return parts && (parts->isRunning || (parts->hasStarted && screenDesktop().deliversAfterAStop)) ? parts : nullptr;
}

/// On the queues of the type's receivers; returns when they have been told.
void send(CMSampleBufferRef sample, SCStreamOutputType type)
{
    std::vector<std::future<void>> told;
    if (const auto parts = partsThatDeliver()) {
        for (const auto& each : parts->outputs) {
            if (each.type != type)
                continue;
            CFRetain(sample);
            const auto done = std::make_shared<std::promise<void>>();
            told.push_back(done->get_future());
            velmora::standin::runOn(
                each.queue, [held = std::shared_ptr<StreamParts>{parts}, receiver = each.receiver, sample, type, done]() mutable {
                    [(id<SCStreamOutput>)receiver stream:nil didOutputSampleBuffer:sample ofType:type];
                    CFRelease(sample);
                    // Before the test goes on, which counts what is left.
                    held.reset();
                    done->set_value();
                });
        }
    }
    for (auto& each : told)
        each.get();
    CFRelease(sample);
}

CFArrayRef attachmentsWith(std::int64_t status)
{
    const void* const key = SCStreamFrameInfoStatus;
    const void* const number = CFNumberCreate(nullptr, kCFNumberSInt64Type, &status);
    const void* keys[] = {key};
    const void* values[] = {number};
    const auto* const dictionary =
        CFDictionaryCreate(nullptr, keys, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const auto* const array = velmora::standin::makeArray({dictionary});
    CFRelease(dictionary);
    CFRelease(number);
    return array;
}

}  // namespace

namespace velmora::standin {

ScreenDesktop& screenDesktop()
{
    static ScreenDesktop desktop;
    return desktop;
}

StreamRecord& streamRecord()
{
    static StreamRecord record;
    return record;
}

void showPicture(CVPixelBufferRef pixels, CMTime time)
{
    bool isFirst = false;
    if (const auto parts = partsThatDeliver())
        isFirst = !parts->hasShown.exchange(true);
    const auto* const attachments =
        attachmentsWith(isFirst && screenDesktop().firstPictureIsStarted ? SCFrameStatusStarted : SCFrameStatusComplete);
    send(makePicture(pixels, time, attachments), SCStreamOutputTypeScreen);
    CFRelease(attachments);
}

void showNothing(std::int64_t status, CMTime time)
{
    const auto* const attachments = attachmentsWith(status);
    send(makePicture(nullptr, time, attachments), SCStreamOutputTypeScreen);
    CFRelease(attachments);
}

void playSound(const SoundParts& parts)
{
    send(makeSound(parts), SCStreamOutputTypeAudio);
}

void endStream(std::int64_t code)
{
    std::shared_ptr<StreamParts> parts;
    {
        velmora::MutexLock lock(partsMutex);
        parts = currentParts.lock();
    }
    if (!parts || !parts->hasStarted)
        return;
    parts->isRunning = false;
    runInPool([&] {
        NSError* const error = makeError("com.apple.ScreenCaptureKit.SCStreamErrorDomain", code, "The window has gone.");
        [(id<SCStreamDelegate>)parts->delegate stream:nil didStopWithError:error];
        objc_release(error);
    });
}

void settleScreenCapture()
{
    systemQueue().drain();
}

void resetScreenCapture()
{
    settleScreenCapture();
    screenDesktop() = {};
    streamRecord() = {};
}

std::int64_t statusComplete()
{
    return SCFrameStatusComplete;
}

std::int64_t statusIdle()
{
    return SCFrameStatusIdle;
}

std::int64_t statusBlank()
{
    return SCFrameStatusBlank;
}

}  // namespace velmora::standin

__attribute__((constructor)) static void holdTheStatus()
{
    velmora::standin::holdLikeAnObject(SCStreamFrameInfoStatus);
}

extern "C" CFArrayRef CGWindowListCopyWindowInfo(CGWindowListOption option, CGWindowID relativeTo)
{
    if (option != kCGWindowListOptionOnScreenOnly || relativeTo != kCGNullWindowID)
        velmora::standin::refuse("another list of windows");
    if (!screenDesktop().hasWindowList)
        return nullptr;
    std::vector<CFTypeRef> windows;
    for (const std::int64_t windowID : screenDesktop().frontToBack) {
        const void* keys[] = {kCGWindowNumber};
        const void* const number = CFNumberCreate(nullptr, kCFNumberSInt64Type, &windowID);
        const void* values[] = {number};
        windows.push_back(CFDictionaryCreate(nullptr, keys, values, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        CFRelease(number);
    }
    const auto* const array = velmora::standin::makeArray(windows);
    for (const auto* each : windows)
        CFRelease(each);
    return array;
}
