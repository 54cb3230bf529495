// Login items: https://developer.apple.com/documentation/servicemanagement/smappservice ; compared with its pages: the selectors and what the
// states mean.
#pragma once

#import <Foundation/Foundation.h>

/// https://docs.rs/objc2-service-management/latest/objc2_service_management/struct.SMAppServiceStatus.html (not its numbers)
typedef NSInteger SMAppServiceStatus;

/// https://docs.rs/crate/objc2-service-management/0.2.0/source/src/generated/SMAppService.rs
enum : SMAppServiceStatus {
    SMAppServiceStatusNotRegistered = 0,
    SMAppServiceStatusEnabled = 1,
    SMAppServiceStatusRequiresApproval = 2,
    SMAppServiceStatusNotFound = 3
};

/// https://developer.apple.com/documentation/servicemanagement/smappservice
@interface SMAppService : NSObject
/// https://developer.apple.com/documentation/servicemanagement/smappservice/mainapp
@property (class, readonly) SMAppService* mainAppService;
/// https://developer.apple.com/documentation/servicemanagement/smappservice/status-swift.property
@property (readonly) SMAppServiceStatus status;
/// https://developer.apple.com/documentation/servicemanagement/smappservice/register()
- (BOOL)registerAndReturnError:(NSError* __autoreleasing*)error;
/// https://developer.apple.com/documentation/servicemanagement/smappservice/unregister()
- (BOOL)unregisterAndReturnError:(NSError* __autoreleasing*)error;
@end
