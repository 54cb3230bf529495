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
extern NSString* const SCStreamFrameInfoStatus;
}

@interface SCRunningApplication : NSObject
@property (readonly) NSString* bundleIdentifier;
@property (readonly) NSString* applicationName;
@property (readonly) pid_t processID;
@end

/// https://developer.apple.com/documentation/screencapturekit/scwindow
@interface SCWindow : NSObject
/// https://developer.apple.com/documentation/screencapturekit/scwindow : "The Core Graphics window identifier"
@property (readonly) CGWindowID windowID;
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

@interface SCDisplay : NSObject
@property (readonly) CGDirectDisplayID displayID;
@property (readonly) CGRect frame;
@end

@interface SCShareableContent : NSObject
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludesDesktopWindows
                               onScreenWindowsOnly:(BOOL)onScreenWindowsOnly
                                 completionHandler:(void (^)(SCShareableContent* content, NSError* error))completionHandler;
@property (readonly) NSArray<SCWindow*>* windows;
@property (readonly) NSArray<SCDisplay*>* displays;
@property (readonly) NSArray<SCRunningApplication*>* applications;
@end

@interface SCContentFilter : NSObject
- (instancetype)initWithDesktopIndependentWindow:(SCWindow*)window;
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
@property (nonatomic, assign) BOOL showsCursor;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration (its name)
@property (nonatomic, assign) BOOL capturesAudio;
@property (nonatomic, assign) NSInteger sampleRate;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration (its name)
@property (nonatomic, assign) NSInteger channelCount;
/// https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamconfiguration (its name)
@property (nonatomic, assign) BOOL excludesCurrentProcessAudio;
@property (nonatomic, assign) BOOL ignoreShadowsSingleWindow;
@property (nonatomic, assign) BOOL ignoreShadowsDisplay;
@end

/// https://developer.apple.com/documentation/screencapturekit/scstreamoutput
@protocol SCStreamOutput <NSObject>
- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type;
@end

@protocol SCStreamDelegate <NSObject>
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
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler;
@end
