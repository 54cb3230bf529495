// What the back end uses of ScreenCaptureKit, one page for each class and selector below
// https://developer.apple.com/documentation/screencapturekit/ ("preciseIdentifier" there is the selector). Compared with pages: the
// selectors of SCStream, SCStreamOutput, SCStreamDelegate, SCShareableContent and SCContentFilter; the properties of SCWindow;
// SCFrameStatus (https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scframestatus);
// SCStreamErrorCode (https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamerrorcode). Unconfirmed: the widths of those of
// SCStreamConfiguration's properties that have no page of their own. Methods that pages call optional are required here, so that a
// misspelt one is an error.
#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>
#include <sys/types.h>

@class SCStream;

/// https://docs.rs/screen-capture-kit/0.7.0/src/screen_capture_kit/stream.rs.html has the numbers of this and of what follows
typedef NSInteger SCStreamOutputType;
enum : SCStreamOutputType { SCStreamOutputTypeScreen = 0, SCStreamOutputTypeAudio = 1 };
typedef NSInteger SCFrameStatus;
enum : SCFrameStatus {
    SCFrameStatusComplete = 0,
    SCFrameStatusIdle = 1,
    SCFrameStatusBlank = 2,
    SCFrameStatusSuspended = 3,
    SCFrameStatusStarted = 4,
    SCFrameStatusStopped = 5
};
extern "C" {
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamframeinfokeys.status
extern NSString* const SCStreamFrameInfoStatus;
}

/// https://developer.apple.com/documentation/screencapturekit/scrunningapplication
@interface SCRunningApplication : NSObject
/// https://developer.apple.com/documentation/screencapturekit/scrunningapplication ,
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scrunningapplication (their name)
@property (readonly) NSString* bundleIdentifier;
/// https://developer.apple.com/documentation/screencapturekit/scrunningapplication
@property (readonly) NSString* applicationName;
/// https://developer.apple.com/documentation/screencapturekit/scrunningapplication/processid
@property (readonly) pid_t processID;
@end

/// https://developer.apple.com/documentation/screencapturekit/scwindow
@interface SCWindow : NSObject
/// https://developer.apple.com/documentation/screencapturekit/scwindow : "The Core Graphics window identifier"
@property (readonly) CGWindowID windowID;
/// https://developer.apple.com/documentation/screencapturekit/scwindow
@property (readonly) CGRect frame;
/// https://developer.apple.com/documentation/screencapturekit/scwindow
@property (readonly) NSString* title;
/// https://developer.apple.com/documentation/screencapturekit/scwindow
@property (readonly) NSInteger windowLayer;
/// https://developer.apple.com/documentation/screencapturekit/scwindow/owningapplication : may be nil
@property (readonly) SCRunningApplication* owningApplication;
/// https://developer.apple.com/documentation/screencapturekit/scwindow/isonscreen : the property is called onScreen
@property (readonly, getter=isOnScreen) BOOL onScreen;
@end

/// https://developer.apple.com/documentation/screencapturekit/scdisplay
@interface SCDisplay : NSObject
/// https://developer.apple.com/documentation/screencapturekit/scdisplay/displayid
@property (readonly) CGDirectDisplayID displayID;
/// https://developer.apple.com/documentation/screencapturekit/scdisplay/frame
@property (readonly) CGRect frame;
@end

/// https://docs.rs/objc2-screen-capture-kit/latest/objc2_screen_capture_kit/struct.SCShareableContent.html
@interface SCShareableContent : NSObject
/// https://developer.apple.com/documentation/screencapturekit/scshareablecontent/getexcludingdesktopwindows(_:onscreenwindowsonly:completionhandler:)
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludesDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenWindowsOnly
                                 completionHandler:(void (^)(SCShareableContent* content, NSError* error))completionHandler;
/// https://developer.apple.com/documentation/screencapturekit/scshareablecontent
@property (readonly) NSArray<SCWindow*>* windows;
/// https://developer.apple.com/documentation/screencapturekit/scshareablecontent
@property (readonly) NSArray<SCDisplay*>* displays;
/// https://developer.apple.com/documentation/screencapturekit/scshareablecontent/applications
@property (readonly) NSArray<SCRunningApplication*>* applications;
@end

/// https://developer.apple.com/documentation/screencapturekit/sccontentfilter
@interface SCContentFilter : NSObject
/// https://developer.apple.com/documentation/screencapturekit/sccontentfilter/init(desktopindependentwindow:)
- (instancetype)initWithDesktopIndependentWindow:(SCWindow*)window;
/// https://developer.apple.com/documentation/screencapturekit/sccontentfilter/init(display:including:exceptingwindows:)
- (instancetype)initWithDisplay:(SCDisplay*)display
          includingApplications:(NSArray<SCRunningApplication*>*)applications
               exceptingWindows:(NSArray<SCWindow*>*)exceptingWindows;
@end

/// https://developer.apple.com/documentation/screencapturekit/scstreamconfiguration
@interface SCStreamConfiguration : NSObject
/// https://docs.rs/objc2-screen-capture-kit/latest/objc2_screen_capture_kit/struct.SCStreamConfiguration.html : pixels
@property (nonatomic, assign) size_t width;
/// https://docs.rs/objc2-screen-capture-kit/latest/objc2_screen_capture_kit/struct.SCStreamConfiguration.html : pixels
@property (nonatomic, assign) size_t height;
/// https://docs.rs/objc2-screen-capture-kit/latest/objc2_screen_capture_kit/struct.SCStreamConfiguration.html : a UInt32
@property (nonatomic, assign) OSType pixelFormat;
/// https://docs.rs/objc2-screen-capture-kit/latest/objc2_screen_capture_kit/struct.SCStreamConfiguration.html
@property (nonatomic, assign) CMTime minimumFrameInterval;
/// https://developer.apple.com/documentation/screencapturekit/scstreamconfiguration
@property (nonatomic, assign) CGRect sourceRect;
/// https://developer.apple.com/documentation/screencapturekit/scstreamconfiguration/showscursor
@property (nonatomic, assign) BOOL showsCursor;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration (its name)
@property (nonatomic, assign) BOOL capturesAudio;
/// https://developer.apple.com/documentation/screencapturekit/scstreamconfiguration/samplerate : 8000, 16000, 24000 or 48000
@property (nonatomic, assign) NSInteger sampleRate;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration (its name)
@property (nonatomic, assign) NSInteger channelCount;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration (its name)
@property (nonatomic, assign) BOOL excludesCurrentProcessAudio;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration.ignoreshadowssinglewindow
@property (nonatomic, assign) BOOL ignoreShadowsSingleWindow;
@property (nonatomic, assign) BOOL ignoreShadowsDisplay;
@end

/// https://developer.apple.com/documentation/screencapturekit/scstreamoutput
@protocol SCStreamOutput <NSObject>
/// https://developer.apple.com/documentation/screencapturekit/scstreamoutput/stream(_:didoutputsamplebuffer:of:)
- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type;
@end

/// https://developer.apple.com/documentation/screencapturekit/scstreamdelegate
@protocol SCStreamDelegate <NSObject>
/// https://developer.apple.com/documentation/screencapturekit/scstreamdelegate/stream(_:didstopwitherror:)
- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error;
@end

/// https://developer.apple.com/documentation/screencapturekit/scstream
@interface SCStream : NSObject
/// https://developer.apple.com/documentation/screencapturekit/scstream/init(filter:configuration:delegate:)
- (instancetype)initWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
                      delegate:(id<SCStreamDelegate>)delegate;
/// https://developer.apple.com/documentation/screencapturekit/scstream/addstreamoutput(_:type:samplehandlerqueue:)
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)queue
                  error:(NSError* __autoreleasing*)error;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstream.startcapture
- (void)startCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler;
/// https://developer.apple.com/documentation/screencapturekit/scstream/stopcapture(completionhandler:)
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler;
@end
