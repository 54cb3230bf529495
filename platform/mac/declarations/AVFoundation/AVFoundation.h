// Playing, one page for each class below https://developer.apple.com/documentation/avfoundation/ ; compared with pages: the selectors of
// AVPlayer (https://developer.apple.com/documentation/avfoundation/avplayer/addperiodictimeobserver(forinterval:queue:using:) ,
// https://developer.apple.com/documentation/avfoundation/avplayer/seek(to:tolerancebefore:toleranceafter:completionhandler:)) and of the video
// output (https://developer.apple.com/documentation/avfoundation/avplayeritemvideooutput/copypixelbuffer(foritemtime:itemtimefordisplay:)).
#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

/// https://developer.apple.com/documentation/avfoundation/avplayeritem/status-swift.enum ; the numbers are in
/// https://learn.microsoft.com/en-us/dotnet/api/avfoundation.avplayeritemstatus
typedef NSInteger AVPlayerItemStatus;
enum : AVPlayerItemStatus { AVPlayerItemStatusUnknown = 0, AVPlayerItemStatusReadyToPlay = 1, AVPlayerItemStatusFailed = 2 };

extern "C" {
/// https://developer.apple.com/documentation/avfoundation/avplayeritem/didplaytoendtimenotification : posted on any thread, its object is
/// the item
extern NSNotificationName const AVPlayerItemDidPlayToEndTimeNotification;
}

/// https://developer.apple.com/documentation/avfoundation/avplayeritemvideooutput
@interface AVPlayerItemVideoOutput : NSObject
/// https://developer.apple.com/documentation/avfoundation/avplayeritemvideooutput/init(pixelbufferattributes:)-7n7v8
- (instancetype)initWithPixelBufferAttributes:(NSDictionary<NSString*, id>*)attributes;
/// https://developer.apple.com/documentation/avfoundation/avplayeritemvideooutput/hasnewpixelbuffer(foritemtime:)
- (BOOL)hasNewPixelBufferForItemTime:(CMTime)itemTime;
/// https://developer.apple.com/documentation/avfoundation/avplayeritemvideooutput/copypixelbuffer(foritemtime:itemtimefordisplay:) :
/// the caller releases it; NULL where there is none
- (CVPixelBufferRef)copyPixelBufferForItemTime:(CMTime)itemTime itemTimeForDisplay:(CMTime*)itemTimeForDisplay;
@end

/// https://learn.microsoft.com/en-us/dotnet/api/avfoundation.avplayeritem
@interface AVPlayerItem : NSObject
/// https://docs.rs/crate/cidre/0.11.10/source/src/av/player/item.rs
+ (instancetype)playerItemWithURL:(NSURL*)url;
/// https://developer.apple.com/documentation/avfoundation/avplayeritem/status-swift.property
@property (readonly) AVPlayerItemStatus status;
/// https://developer.apple.com/documentation/avfoundation/avplayeritem/error : nil unless it has failed
@property (readonly) NSError* error;
/// https://developer.apple.com/documentation/avfoundation/avplayeritem/forwardplaybackendtime : invalid for the item's own end
@property CMTime forwardPlaybackEndTime;
/// https://developer.apple.com/documentation/avfoundation/avplayeritem/add(_:)-16ctk
- (void)addOutput:(AVPlayerItemVideoOutput*)output;
@end

/// https://developer.apple.com/documentation/avfoundation/avplayer
@interface AVPlayer : NSObject
/// https://learn.microsoft.com/en-us/dotnet/api/avfoundation.avplayer.fromplayeritem?view=net-ios-26.4-10.0
+ (instancetype)playerWithPlayerItem:(AVPlayerItem*)item;
/// https://developer.apple.com/documentation/avfoundation/avplayer/volume
@property float volume;
/// https://developer.apple.com/documentation/avfoundation/avplayer/ismuted
/// https://learn.microsoft.com/en-us/dotnet/api/avfoundation.avplayer.muted
@property (getter=isMuted) BOOL muted;
/// https://developer.apple.com/documentation/avfoundation/avplayer/play()
- (void)play;
/// https://developer.apple.com/documentation/avfoundation/avplayer/pause()
- (void)pause;
/// https://developer.apple.com/documentation/avfoundation/avplayer/currenttime()
- (CMTime)currentTime;
/// https://developer.apple.com/documentation/avfoundation/avplayer/seek(to:tolerancebefore:toleranceafter:completionhandler:)
- (void)seekToTime:(CMTime)time
      toleranceBefore:(CMTime)toleranceBefore
       toleranceAfter:(CMTime)toleranceAfter
    completionHandler:(void (^)(BOOL finished))completionHandler;
/// https://developer.apple.com/documentation/avfoundation/avplayer/addperiodictimeobserver(forinterval:queue:using:) :
/// what it returns has to be given to removeTimeObserver, and is held until then by the caller alone. Without a queue: the main one.
- (id)addPeriodicTimeObserverForInterval:(CMTime)interval queue:(dispatch_queue_t)queue usingBlock:(void (^)(CMTime time))block;
/// https://learn.microsoft.com/en-us/dotnet/api/avfoundation.avplayer.removetimeobserver
- (void)removeTimeObserver:(id)observer;
@end
