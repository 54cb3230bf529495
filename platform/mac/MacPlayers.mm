#include "platform/mac/MacPlayers.h"

#include "platform/mac/MediaConversion.h"
#include "platform/mac/ObjectiveC.h"
#include "platform/mac/PictureScaling.h"
#include "platform/mac/SystemExceptions.h"

#import <AVFoundation/AVFoundation.h>
#include <map>
#include <utility>

/// Hears when an item can be played, or cannot. That comes on any thread.
@interface VelmoraItemObserver : NSObject {
    std::function<void()> _changed;
}
- (void)setChanged:(std::function<void()>)changed;
@end

@implementation VelmoraItemObserver

- (void)setChanged:(std::function<void()>)changed
{
    _changed = std::move(changed);
}

- (void)observeValueForKeyPath:(NSString*)keyPath ofObject:(id)object change:(NSDictionary<NSString*, id>*)change context:(void*)context
{
    _changed();
}

@end

namespace velmora::mac_backend {

namespace {

using platform::Player;

/// How often it is looked whether there is another picture: as often as a screen shows one.
constexpr std::int32_t picturesPerSecond = 60;

NSString* statusKey()
{
    return textFrom("status");
}

AVPlayerItemVideoOutput* makeOutput()
{
    NSMutableDictionary<NSString*, id>* const attributes = [[NSMutableDictionary alloc] init];
    [attributes setObject:[NSNumber numberWithUnsignedInt:kCVPixelFormatType_32BGRA]
                   forKey:(__bridge NSString*)kCVPixelBufferPixelFormatTypeKey];
    return [[AVPlayerItemVideoOutput alloc] initWithPixelBufferAttributes:attributes];
}

class MacPlayer final : public Player {
public:
    MacPlayer(const std::filesystem::path& file, std::shared_ptr<Executor> mainExecutor)
        : mainExecutor_(std::move(mainExecutor))
        , item_([AVPlayerItem playerItemWithURL:urlOf(file)])
        , output_(makeOutput())
        , observer_([[VelmoraItemObserver alloc] init])
    {
        [item_ addOutput:output_];
        const auto self = self_;
        [observer_ setChanged:[self, executor = mainExecutor_] { later(executor, self, &MacPlayer::statusDidChange); }];
        [item_ addObserver:observer_ forKeyPath:statusKey() options:0 context:nullptr];
        end_ = [NSNotificationCenter.defaultCenter addObserverForName:AVPlayerItemDidPlayToEndTimeNotification
                                                               object:item_
                                                                queue:NSOperationQueue.mainQueue
                                                           usingBlock:^(NSNotification*) {
                                                               if (*self)
                                                                   (*self)->didStop();
                                                           }];
        player_ = [AVPlayer playerWithPlayerItem:item_];
        pictures_ = [player_ addPeriodicTimeObserverForInterval:CMTimeMake(1, picturesPerSecond)
                                                          queue:nil
                                                     usingBlock:^(CMTime) {
                                                         if (*self)
                                                             (*self)->lookForPicture();
                                                     }];
    }
    MacPlayer(const MacPlayer&) = delete;
    MacPlayer& operator=(const MacPlayer&) = delete;
    ~MacPlayer() override
    {
        @autoreleasepool {
            *self_ = nullptr;
            [player_ pause];
            for (const auto& [token, each] : observers_)
                [player_ removeTimeObserver:each.system];
            observers_.clear();
            [player_ removeTimeObserver:pictures_];
            [NSNotificationCenter.defaultCenter removeObserver:end_];
            [item_ removeObserver:observer_ forKeyPath:statusKey() context:nullptr];
            pictures_ = nil;
            end_ = nil;
            observer_ = nil;
            player_ = nil;
            output_ = nil;
            item_ = nil;
        }
    }

    void play() override
    {
        @autoreleasepool {
            isPlaying_ = true;
            if (endTime_ && CMTimeCompare([player_ currentTime], toCMTime(*endTime_)) >= 0)
                return later(mainExecutor_, self_, &MacPlayer::didStop);
            [player_ play];
        }
    }

    void pause() override
    {
        @autoreleasepool {
            [player_ pause];
            if (isPlaying_)
                later(mainExecutor_, self_, &MacPlayer::didStop);
        }
    }

    void seek(MediaTime time) override
    {
        @autoreleasepool {
            const auto self = self_;
            const auto executor = mainExecutor_;
            // One that is overtaken by another is answered as not finished; the other one's answer is still to come.
            [player_ seekToTime:toCMTime(time)
                  toleranceBefore:kCMTimeZero
                   toleranceAfter:kCMTimeZero
                completionHandler:^(BOOL finished) {
                    if (finished)
                        later(executor, self, &MacPlayer::pictureDidChange);
                }];
        }
    }

    void setForwardPlaybackEndTime(std::optional<MediaTime> time) override
    {
        @autoreleasepool {
            endTime_ = time;
            item_.forwardPlaybackEndTime = time ? toCMTime(*time) : kCMTimeInvalid;
        }
    }

    void setVolume(double volume) override
    {
        @autoreleasepool {
            player_.volume = static_cast<float>(volume);
        }
    }

    void setMuted(bool isMuted) override
    {
        @autoreleasepool {
            player_.muted = isMuted;
        }
    }

    TimeObserverToken addPeriodicTimeObserver(MediaTime interval, TimeObserver observer) override
    {
        @autoreleasepool {
            const auto token = ++lastToken_;
            const auto self = self_;
            const id system = [player_ addPeriodicTimeObserverForInterval:toCMTime(interval)
                                                                    queue:nil
                                                               usingBlock:^(CMTime time) {
                                                                   // It is told of jumps as well.
                                                                   if (*self && (*self)->isPlaying_)
                                                                       (*self)->tell(token, fromCMTime(time));
                                                               }];
            observers_.emplace(token, Observer{system, std::move(observer)});
            return token;
        }
    }

    void removeTimeObserver(TimeObserverToken token) override
    {
        @autoreleasepool {
            const auto found = observers_.find(token);
            if (found == observers_.end())
                return;
            [player_ removeTimeObserver:found->second.system];
            observers_.erase(found);
        }
    }

    void setPictureObserver(std::function<void()> changed) override { pictureChanged_ = std::move(changed); }

    bool drawPicture(const platform::PictureTarget& target) override
    {
        @autoreleasepool {
            takePicture();
            if (!picture_)
                return false;
            drawFitted(*picture_, target);
            return true;
        }
    }

    void setFailureObserver(std::function<void(const Error&)> failed) override
    {
        failed_ = std::move(failed);
        // It may have failed before anybody asked.
        later(mainExecutor_, self_, &MacPlayer::statusDidChange);
    }

private:
    struct Observer {
        id system;
        TimeObserver observer;
    };

    /// On the main thread, after what is running there, unless the player has gone by then.
    static void later(const std::shared_ptr<Executor>& executor, const std::shared_ptr<MacPlayer*>& self, void (MacPlayer::*what)())
    {
        executor->async([self, what] {
            if (*self)
                ((*self)->*what)();
        });
    }

    void statusDidChange()
    {
        @autoreleasepool {
            const AVPlayerItemStatus status = item_.status;
            if (status == AVPlayerItemStatusReadyToPlay)
                pictureDidChange();
            if (status == AVPlayerItemStatusFailed && failed_)
                std::exchange(failed_, nullptr)(errorOf(item_.error, "The clip cannot be played."));
        }
    }

    void didStop()
    {
        @autoreleasepool {
            if (!std::exchange(isPlaying_, false))
                return;
            const auto time = fromCMTime([player_ currentTime]);
            std::vector<TimeObserverToken> tokens;
            for (const auto& [token, each] : observers_)
                tokens.push_back(token);
            const auto self = self_;
            for (const auto token : tokens) {
                tell(token, time);
                if (!*self)
                    return;
            }
        }
    }

    /// An observer may remove itself, or end the player.
    void tell(TimeObserverToken token, MediaTime time)
    {
        if (const auto found = observers_.find(token); found != observers_.end()) {
            const auto observer = found->second.observer;
            observer(time);
        }
    }

    void lookForPicture()
    {
        @autoreleasepool {
            if ([output_ hasNewPixelBufferForItemTime:[player_ currentTime]])
                pictureDidChange();
        }
    }

    void pictureDidChange()
    {
        if (const auto changed = pictureChanged_)
            changed();
    }

    /// What there is no newer one of stays.
    void takePicture()
    {
        const CMTime now = [player_ currentTime];
        if (![output_ hasNewPixelBufferForItemTime:now])
            return;
        const CfHandle<CVPixelBufferRef> pixels{[output_ copyPixelBufferForItemTime:now itemTimeForDisplay:nullptr]};
        if (!pixels)
            return;
        if (auto picture = pictureOf(pixels.get()))
            picture_ = std::move(picture);
    }

    const std::shared_ptr<Executor> mainExecutor_;
    const std::shared_ptr<MacPlayer*> self_ = std::make_shared<MacPlayer*>(this);  // null when it has gone; on the main thread only
    AVPlayerItem* item_;
    AVPlayerItemVideoOutput* output_;
    VelmoraItemObserver* observer_;
    AVPlayer* player_ = nil;
    id pictures_ = nil;
    id<NSObject> end_ = nil;
    bool isPlaying_ = false;
    std::optional<MediaTime> endTime_;
    std::map<TimeObserverToken, Observer> observers_;
    TimeObserverToken lastToken_ = 0;
    std::function<void()> pictureChanged_;
    std::function<void(const Error&)> failed_;
    PixelBufferRef picture_;
};

class MacPlayers final : public platform::PlayerFactory {
public:
    explicit MacPlayers(std::shared_ptr<Executor> mainExecutor) : mainExecutor_(std::move(mainExecutor)) { }

    /// The system has loaded what it needs with the program.
    void prepare(UniqueFunction<void()> completion) override { completion(); }

    Result<std::unique_ptr<Player>> makePlayer(const std::filesystem::path& file) override
    {
        @autoreleasepool {
            Result<std::unique_ptr<Player>> made = fail("Velmora.Player", 1, "The clip cannot be played.");
            if (auto thrown = thrownBy([&] { made = std::make_unique<MacPlayer>(file, mainExecutor_); }))
                return fail(std::move(*thrown));
            return made;
        }
    }

private:
    const std::shared_ptr<Executor> mainExecutor_;
};

}  // namespace

std::shared_ptr<platform::PlayerFactory> makePlayers(std::shared_ptr<Executor> mainExecutor)
{
    return std::make_shared<MacPlayers>(std::move(mainExecutor));
}

}  // namespace velmora::mac_backend
