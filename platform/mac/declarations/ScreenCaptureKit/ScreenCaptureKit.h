// What the back end uses of ScreenCaptureKit, one page for each class and selector below
// https://developer.apple.com/documentation/screencapturekit/ ("preciseIdentifier" there is the selector). Compared with pages: the
// selectors of SCStream, SCStreamOutput, SCStreamDelegate, SCShareableContent and SCContentFilter; the properties of SCWindow (the getter
// of onScreen is unconfirmed); SCFrameStatus (https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scframestatus);
// SCStreamErrorCode (https://learn.microsoft.com/en-us/dotnet/api/screencapturekit.scstreamerrorcode). Unconfirmed: the numbers of
// SCStreamOutputType, the widths of SCStreamConfiguration's properties. Methods that pages call optional are required here, so that a
// misspelt one is an error.
#pragma once

#import <CoreMedia/CoreMedia.h>
#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>
#include <sys/types.h>

@class SCStream;

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

@interface SCWindow : NSObject
@property (readonly) CGWindowID windowID;
@property (readonly) CGRect frame;
@property (readonly) NSString* title;
@property (readonly) NSInteger windowLayer;
@property (readonly) SCRunningApplication* owningApplication;
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

@interface SCStreamConfiguration : NSObject
@property (nonatomic, assign) size_t width;
@property (nonatomic, assign) size_t height;
@property (nonatomic, assign) OSType pixelFormat;
@property (nonatomic, assign) CMTime minimumFrameInterval;
@property (nonatomic, assign) CGRect sourceRect;
@property (nonatomic, assign) BOOL showsCursor;
@property (nonatomic, assign) BOOL capturesAudio;
@property (nonatomic, assign) NSInteger sampleRate;
@property (nonatomic, assign) NSInteger channelCount;
@property (nonatomic, assign) BOOL excludesCurrentProcessAudio;
@property (nonatomic, assign) BOOL ignoreShadowsSingleWindow;
@property (nonatomic, assign) BOOL ignoreShadowsDisplay;
@end

@protocol SCStreamOutput <NSObject>
- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type;
@end

@protocol SCStreamDelegate <NSObject>
- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error;
@end

@interface SCStream : NSObject
- (instancetype)initWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
                      delegate:(id<SCStreamDelegate>)delegate;
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)queue
                  error:(NSError* __autoreleasing*)error;
- (void)startCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler;
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler;
@end
