#include "platform/mac/ScreenCapture.h"

#include "platform/mac/MacCaptureStream.h"
#include "platform/mac/MacShareableContent.h"
#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SystemExceptions.h"

#include <atomic>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::ContentFilter;
using platform::StreamConfiguration;
using platform::StreamOutputType;

/// A sample without one says that nothing has changed, or that there is nothing to see.
bool hasPicture(CMSampleBufferRef sample)
{
    const CFArrayRef attachments = CMSampleBufferGetSampleAttachmentsArray(sample, false);
    if (!attachments || CFArrayGetCount(attachments) < 1)
        return false;
    const auto first = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(attachments, 0));
    const void* const value = CFDictionaryGetValue(first, (__bridge const void*)SCStreamFrameInfoStatus);
    std::int64_t status = SCFrameStatusIdle;
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID()
        || !CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &status))
        return false;
    return (status == SCFrameStatusComplete || status == SCFrameStatusStarted) && CMSampleBufferGetImageBuffer(sample);
}

}  // namespace

}  // namespace velmora::mac_backend

/// What ScreenCaptureKit calls, on the queue of the type or on any thread.
@interface VelmoraStreamReceiver : NSObject <SCStreamOutput, SCStreamDelegate>
/// Before the stream is started.
- (void)setObserver:(std::weak_ptr<velmora::mac_backend::SystemStreamObserver>)observer;
@end

@implementation VelmoraStreamReceiver {
    std::weak_ptr<velmora::mac_backend::SystemStreamObserver> _observer;
}

- (void)setObserver:(std::weak_ptr<velmora::mac_backend::SystemStreamObserver>)observer
{
    _observer = std::move(observer);
}

- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type
{
    using namespace velmora::mac_backend;
    const auto observer = _observer.lock();
    if (!observer || !CMSampleBufferIsValid(sampleBuffer))
        return;
    if (type == SCStreamOutputTypeAudio) {
        if (const auto sound = soundOf(sampleBuffer))
            observer->systemDidCapture(*sound);
    } else if (type == SCStreamOutputTypeScreen && hasPicture(sampleBuffer)) {
        if (const auto picture = pictureOf(CMSampleBufferGetImageBuffer(sampleBuffer)))
            observer->systemDidCapture(picture, fromCMTime(CMSampleBufferGetPresentationTimeStamp(sampleBuffer)));
    }
}

- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error
{
    if (const auto observer = _observer.lock())
        observer->systemDidStop(velmora::mac_backend::errorOf(error, "The capture has ended."));
}

@end

namespace velmora::mac_backend {

namespace {

/// The objects with these numbers; none if one is not there any more.
Result<SCContentFilter*> filterOf(const ContentFilter& filter, ShareableObjects& objects)
{
    constexpr const char* domain = "Velmora.CaptureStream";
    constexpr int notThere = 3;
    if (filter.kind() == ContentFilter::Kind::desktopIndependentWindow) {
        SCWindow* const window = objects.window(filter.window().windowID);
        if (!window)
            return fail(domain, notThere, "The window is no longer there.");
        return [[SCContentFilter alloc] initWithDesktopIndependentWindow:window];
    }
    SCDisplay* const display = filter.display() ? objects.display(filter.display()->displayID) : nil;
    if (!display)
        return fail(domain, notThere, "The display is no longer there.");
    NSMutableArray<SCRunningApplication*>* const applications = [[NSMutableArray alloc] init];
    for (const auto& each : filter.applications()) {
        SCRunningApplication* const application = objects.application(each.processID);
        if (!application)
            return fail(domain, notThere, "The application is no longer there.");
        [applications addObject:application];
    }
    NSMutableArray<SCWindow*>* const excepted = [[NSMutableArray alloc] init];
    for (const auto& each : filter.exceptingWindows()) {
        if (SCWindow* const window = objects.window(each.windowID))
            [excepted addObject:window];
    }
    return [[SCContentFilter alloc] initWithDisplay:display includingApplications:applications exceptingWindows:excepted];
}

SCStreamConfiguration* configurationOf(const StreamConfiguration& configuration)
{
    SCStreamConfiguration* const result = [[SCStreamConfiguration alloc] init];
    result.width = static_cast<std::size_t>(configuration.width);
    result.height = static_cast<std::size_t>(configuration.height);
    result.pixelFormat = configuration.pixelFormat.value;
    result.capturesAudio = configuration.capturesAudio;
    result.sampleRate = static_cast<NSInteger>(configuration.sampleRate);
    result.channelCount = static_cast<NSInteger>(configuration.channelCount);
    result.excludesCurrentProcessAudio = configuration.excludesCurrentProcessAudio;
    result.ignoreShadowsSingleWindow = configuration.ignoreShadowsSingleWindow;
    result.ignoreShadowsDisplay = configuration.ignoreShadowsDisplay;
    result.showsCursor = configuration.showsCursor;
    result.minimumFrameInterval = toCMTime(configuration.minimumFrameInterval);
    if (const auto& part = configuration.sourceRect)
        result.sourceRect = CGRect{{part->x, part->y}, {part->width, part->height}};
    return result;
}

dispatch_queue_t makeQueue(const char* label)
{
    return dispatch_queue_create(label, dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, QOS_CLASS_USER_INTERACTIVE, 0));
}

class ScreenCaptureStream final : public SystemStream {
public:
    ScreenCaptureStream(SCContentFilter* filter, SCStreamConfiguration* configuration)
        : receiver_([[VelmoraStreamReceiver alloc] init])
        , stream_([[SCStream alloc] initWithFilter:filter configuration:configuration delegate:receiver_])
        , screenQueue_(makeQueue("com.velmora.mac.screen"))
        , soundQueue_(makeQueue("com.velmora.mac.sound"))
    {
    }
    ScreenCaptureStream(const ScreenCaptureStream&) = delete;
    ScreenCaptureStream& operator=(const ScreenCaptureStream&) = delete;
    ~ScreenCaptureStream() override
    {
        @autoreleasepool {
            if (isRunning_->exchange(false))
                stopStream([](const Result<void>&) {});
            stream_ = nil;
            receiver_ = nil;
        }
    }

    void setObserver(std::weak_ptr<SystemStreamObserver> observer) override { [receiver_ setObserver:std::move(observer)]; }

    Result<void> addOutput(StreamOutputType type) override
    {
        @autoreleasepool {
            NSError* error = nil;
            BOOL isAdded = NO;
            auto thrown = thrownBy([&] { isAdded = add(type, &error); });
            if (thrown)
                return fail(std::move(*thrown));
            if (!isAdded)
                return fail(errorOf(error, "The stream takes no such output."));
            return {};
        }
    }

    void start(Completion completion) override
    {
        @autoreleasepool {
            *isRunning_ = true;
            const auto once = std::make_shared<Completion>(std::move(completion));
            const auto isRunning = isRunning_;
            @try {
                [stream_ startCaptureWithCompletionHandler:^(NSError* error) {
                    if (error)
                        *isRunning = false;
                    if (auto answered = std::exchange(*once, nullptr))
                        answered(resultOf(error, "The capture cannot be started."));
                }];
            } @catch (NSException* exception) {
                *isRunning_ = false;
                answerThrown(once, exception);
            }
        }
    }

    void stop(Completion completion) override
    {
        @autoreleasepool {
            *isRunning_ = false;
            stopStream(std::move(completion));
        }
    }

private:
    BOOL add(StreamOutputType type, NSError* __autoreleasing* error)
    {
        const bool isSound = type == StreamOutputType::audio;
        return [stream_ addStreamOutput:receiver_
                                   type:isSound ? SCStreamOutputTypeAudio : SCStreamOutputTypeScreen
                     sampleHandlerQueue:isSound ? soundQueue_ : screenQueue_
                                  error:error];
    }

    static Result<void> resultOf(NSError* error, const char* otherwise)
    {
        if (error)
            return fail(errorOf(error, otherwise));
        return {};
    }

    void stopStream(Completion completion)
    {
        const auto once = std::make_shared<Completion>(std::move(completion));
        SCStream* const stream = stream_;  // lives until it has stopped
        @try {
            [stream stopCaptureWithCompletionHandler:^(NSError* error) {
                static_cast<void>(stream);
                if (auto answered = std::exchange(*once, nullptr))
                    answered(resultOf(error, "The capture cannot be stopped."));
            }];
        } @catch (NSException* exception) {
            answerThrown(once, exception);
        }
    }

    VelmoraStreamReceiver* receiver_;
    SCStream* stream_;
    const dispatch_queue_t screenQueue_;
    const dispatch_queue_t soundQueue_;
    // Shared with the start's completion: a start that failed leaves nothing to stop.
    const std::shared_ptr<std::atomic<bool>> isRunning_ = std::make_shared<std::atomic<bool>>(false);
};

class MacCaptureStreams final : public platform::CaptureStreamFactory {
public:
    MacCaptureStreams(std::shared_ptr<ShareableObjects> objects, engine::KeyFrameRequests keyFrameRequests)
        : objects_(std::move(objects))
        , keyFrameRequests_(std::move(keyFrameRequests))
    {
    }

    std::shared_ptr<platform::CaptureStream> makeStream(
        const ContentFilter& filter, const StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        @autoreleasepool {
            Result<std::unique_ptr<SystemStream>> system;
            if (auto thrown = thrownBy([&] { system = systemStream(filter, configuration); }))
                system = fail(std::move(*thrown));
            return makeCaptureStream(std::move(system), configuration, std::move(delegate), keyFrameRequests_);
        }
    }

private:
    Result<std::unique_ptr<SystemStream>> systemStream(const ContentFilter& filter, const StreamConfiguration& configuration)
    {
        return filterOf(filter, *objects_).map([&](SCContentFilter* made) -> std::unique_ptr<SystemStream> {
            return std::make_unique<ScreenCaptureStream>(made, configurationOf(configuration));
        });
    }

    const std::shared_ptr<ShareableObjects> objects_;
    const engine::KeyFrameRequests keyFrameRequests_;
};

}  // namespace

ScreenCapture makeScreenCapture(engine::KeyFrameRequests keyFrameRequests)
{
    const auto objects = std::make_shared<ShareableObjects>();
    return {makeShareableContent(objects), std::make_shared<MacCaptureStreams>(objects, std::move(keyFrameRequests))};
}

}  // namespace velmora::mac_backend
