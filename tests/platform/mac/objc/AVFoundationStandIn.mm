#include "tests/platform/mac/objc/AVFoundationStandIn.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/objc/Runtime.h"
#include "tests/platform/mac/standins/CoreMediaStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#import <AVFoundation/AVFoundation.h>
#include <Block.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <future>
#include <utility>

extern "C" {
NSNotificationName const AVPlayerItemDidPlayToEndTimeNotification = velmora::standin::makeText("AVPlayerItemDidPlayToEndTimeNotification");
}

namespace {

/// What a dictionary of Core Foundation has for its key and Objective-C for a text.
const bool isKeyKnown = [] {
    velmora::standin::holdLikeAnObject(kCVPixelBufferPixelFormatTypeKey);
    return true;
}();

double secondsOf(CMTime time)
{
    return static_cast<double>(time.value) / time.timescale;
}

}  // namespace

/// A block that is told of the time.
@interface VelmoraTimeObserver : NSObject {
@public
    void (^_block)(CMTime);
    double _interval;
}
@end
@implementation VelmoraTimeObserver
- (void)dealloc
{
    _Block_release(_block);
    [super dealloc];
}
@end

@implementation AVPlayerItemVideoOutput {
@public
    std::optional<std::uint8_t> _picture;
}
- (instancetype)initWithPixelBufferAttributes:(NSDictionary*)attributes
{
    // Anything but BGRA would be drawn as noise.
    if (![attributes objectForKey:(NSString*)kCVPixelBufferPixelFormatTypeKey])
        velmora::standin::refuse("pictures in whatever format the decoder likes");
    return self;
}
- (BOOL)hasNewPixelBufferForItemTime:(CMTime)itemTime
{
    static_cast<void>(itemTime);
    return _picture.has_value();
}
- (CVPixelBufferRef)copyPixelBufferForItemTime:(CMTime)itemTime itemTimeForDisplay:(CMTime*)itemTimeForDisplay
{
    static_cast<void>(itemTime), static_cast<void>(itemTimeForDisplay);
    if (!_picture)
        return nullptr;
    const auto value = *std::exchange(_picture, std::nullopt);
    const auto made = velmora::standin::makePixelBuffer(2, 2);
    CVPixelBufferLockBaseAddress(made, kCVPixelBufferLock_ReadOnly);
    std::memset(CVPixelBufferGetBaseAddress(made), value, CVPixelBufferGetBytesPerRow(made) * 2);
    CVPixelBufferUnlockBaseAddress(made, kCVPixelBufferLock_ReadOnly);
    return made;
}
@end

@implementation AVPlayerItem {
@public
    std::string _url;
    AVPlayerItemStatus _status;
    NSError* _error;
    CMTime _forwardPlaybackEndTime;
    AVPlayerItemVideoOutput* _output;
}
+ (instancetype)playerItemWithURL:(NSURL*)url
{
    velmora::standin::throwIfAsked("playerItemWithURL:");
    if (!url)
        velmora::standin::raise(velmora::standin::invalidArgument, "an item of nil");
    AVPlayerItem* const made = [AVPlayerItem new];
    made->_url = velmora::standin::urlText(url);
    made->_forwardPlaybackEndTime = kCMTimeInvalid;
    return objc_autorelease(made);
}
- (void)addOutput:(AVPlayerItemVideoOutput*)output
{
    _output = objc_retain(output);
}
- (void)dealloc
{
    objc_release(_output);
    objc_release(_error);
    [super dealloc];
}
@end

namespace {

AVPlayer* last = nil;

}  // namespace

@implementation AVPlayer {
@public
    AVPlayerItem* _item;
    velmora::standin::PlayerState _state;
    CMTime _time;
    std::vector<VelmoraTimeObserver*> _observers;
    std::vector<std::pair<CMTime, void (^)(BOOL)>> _seeks;
}
+ (instancetype)playerWithPlayerItem:(AVPlayerItem*)item
{
    AVPlayer* const made = [AVPlayer new];
    made->_item = objc_retain(item);
    made->_time = kCMTimeZero;
    last = made;
    return objc_autorelease(made);
}
- (float)volume
{
    return static_cast<float>(_state.volume);
}
- (void)setVolume:(float)volume
{
    _state.volume = static_cast<double>(volume);
}
- (BOOL)isMuted
{
    return _state.isMuted;
}
- (void)setMuted:(BOOL)muted
{
    _state.isMuted = muted;
}
- (void)play
{
    _state.isPlaying = true;
}
- (void)pause
{
    _state.isPlaying = false;
}
- (CMTime)currentTime
{
    return _time;
}
- (void)seekToTime:(CMTime)time
      toleranceBefore:(CMTime)toleranceBefore
       toleranceAfter:(CMTime)toleranceAfter
    completionHandler:(void (^)(BOOL finished))completionHandler
{
    // An invalid tolerance, or none that is zero, shows some picture nearby.
    for (const auto& each : {toleranceBefore, toleranceAfter}) {
        if (each.flags != kCMTimeFlags_Valid || each.value != 0)
            velmora::standin::refuse("a seek that is not exact");
    }
    _state.seeks.push_back(secondsOf(time));
    _seeks.emplace_back(time, (void (^)(BOOL))_Block_copy(completionHandler));
}
- (id)addPeriodicTimeObserverForInterval:(CMTime)interval queue:(dispatch_queue_t)queue usingBlock:(void (^)(CMTime time))block
{
    // Without one it is the main queue.
    if (queue)
        velmora::standin::refuse("time told on another queue");
    VelmoraTimeObserver* const made = [VelmoraTimeObserver new];
    made->_block = (void (^)(CMTime))_Block_copy(block);
    made->_interval = secondsOf(interval);
    // The caller alone holds it: one that is let go without being removed is what its page warns of.
    _observers.push_back(made);
    return objc_autorelease(made);
}
- (void)removeTimeObserver:(id)observer
{
    // https://developer.apple.com/documentation/avfoundation/avplayer/removetimeobserver(_:)
    if (std::erase(_observers, (VelmoraTimeObserver*)observer) != 1)
        velmora::standin::raise(velmora::standin::invalidArgument, "an observer of time was removed that is another player's");
}
- (void)dealloc
{
    if (!_observers.empty())
        velmora::standin::refuse("a player was released with an observer of its time");
    for (const auto& [time, handler] : _seeks) {
        handler(NO);
        _Block_release(handler);
    }
    objc_release(_item);
    last = nil;
    [super dealloc];
}
@end

namespace velmora::standin {

namespace {

void tellTime()
{
    runInPool([] {
        const auto all = last->_observers;
        for (VelmoraTimeObserver* each : all) {
            if (!last)
                return;
            if (std::find(last->_observers.begin(), last->_observers.end(), each) != last->_observers.end())
                each->_block(last->_time);
        }
    });
}

void statusChanges(AVPlayerItemStatus status)
{
    last->_item->_status = status;
    std::async(std::launch::async, [] { valueDidChange(last->_item, "status"); }).get();
}

}  // namespace

bool hasPlayer()
{
    return last != nil;
}

PlayerState playerState()
{
    auto state = last->_state;
    state.url = last->_item->_url;
    state.observers = static_cast<int>(last->_observers.size());
    if (last->_item->_forwardPlaybackEndTime.flags == kCMTimeFlags_Valid)
        state.endTime = secondsOf(last->_item->_forwardPlaybackEndTime);
    return state;
}

void becomeReadyToPlay()
{
    statusChanges(AVPlayerItemStatusReadyToPlay);
}

void failToPlay(int code)
{
    last->_item->_error = makeError("AVFoundationErrorDomain", code, "Cannot Open");
    statusChanges(AVPlayerItemStatusFailed);
}

void playTo(double seconds, std::optional<std::uint8_t> value)
{
    last->_time = CMTimeMake(std::lround(seconds * 1000), 1000);
    if (value)
        last->_item->_output->_picture = value;
    tellTime();
}

void reachTheEnd()
{
    last->_state.isPlaying = false;
    postNotification(AVPlayerItemDidPlayToEndTimeNotification, last->_item);
}

void finishSeeks(std::uint8_t value)
{
    auto seeks = std::exchange(last->_seeks, {});
    for (std::size_t index = 0; index < seeks.size(); ++index) {
        const bool isLast = index + 1 == seeks.size();
        if (isLast) {
            last->_time = seeks[index].first;
            last->_item->_output->_picture = value;
        }
        // On whatever thread.
        std::async(std::launch::async, [&] { runInPool([&] { seeks[index].second(isLast); }); }).get();
        _Block_release(seeks[index].second);
    }
    // Jumps are told as well.
    tellTime();
}

}  // namespace velmora::standin
