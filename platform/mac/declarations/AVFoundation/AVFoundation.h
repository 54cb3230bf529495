// Playing, one page for each class below https://developer.apple.com/documentation/avfoundation/ ; compared with pages: the selectors of
// AVPlayer (https://developer.apple.com/documentation/avfoundation/avplayer/addperiodictimeobserver(forinterval:queue:using:) ,
// https://developer.apple.com/documentation/avfoundation/avplayer/seek(to:tolerancebefore:toleranceafter:completionhandler:)) and of the video
// output (https://developer.apple.com/documentation/avfoundation/avplayeritemvideooutput/copypixelbuffer(foritemtime:itemtimefordisplay:)).
// Unconfirmed: the numbers of the states.
#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

typedef NSInteger AVPlayerItemStatus;
enum : AVPlayerItemStatus { AVPlayerItemStatusUnknown = 0, AVPlayerItemStatusReadyToPlay = 1, AVPlayerItemStatusFailed = 2 };

extern "C" {
extern NSNotificationName const AVPlayerItemDidPlayToEndTimeNotification;
}

@interface AVPlayerItemVideoOutput : NSObject
- (instancetype)initWithPixelBufferAttributes:(NSDictionary<NSString*, id>*)attributes;
- (BOOL)hasNewPixelBufferForItemTime:(CMTime)itemTime;
/// The caller releases it; NULL where there is none.
- (CVPixelBufferRef)copyPixelBufferForItemTime:(CMTime)itemTime itemTimeForDisplay:(CMTime*)itemTimeForDisplay;
@end

@interface AVPlayerItem : NSObject
+ (instancetype)playerItemWithURL:(NSURL*)url;
@property (readonly) AVPlayerItemStatus status;
@property (readonly) NSError* error;
@property CMTime forwardPlaybackEndTime;
- (void)addOutput:(AVPlayerItemVideoOutput*)output;
@end

@interface AVPlayer : NSObject
+ (instancetype)playerWithPlayerItem:(AVPlayerItem*)item;
@property float volume;
@property (getter=isMuted) BOOL muted;
- (void)play;
- (void)pause;
- (CMTime)currentTime;
- (void)seekToTime:(CMTime)time
      toleranceBefore:(CMTime)toleranceBefore
       toleranceAfter:(CMTime)toleranceAfter
    completionHandler:(void (^)(BOOL finished))completionHandler;
/// What it returns has to be given to removeTimeObserver, and is held until then by the caller alone. Without a queue: the main one.
- (id)addPeriodicTimeObserverForInterval:(CMTime)interval queue:(dispatch_queue_t)queue usingBlock:(void (^)(CMTime time))block;
- (void)removeTimeObserver:(id)observer;
@end
