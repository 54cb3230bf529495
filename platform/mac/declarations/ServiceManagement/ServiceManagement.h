// Login items: https://developer.apple.com/documentation/servicemanagement/smappservice ; compared with its pages: the selectors and what the
// states mean. Unconfirmed: their numbers.
#pragma once

#import <Foundation/Foundation.h>

/// https://docs.rs/objc2-service-management/latest/objc2_service_management/struct.SMAppServiceStatus.html (not its numbers)
typedef NSInteger SMAppServiceStatus;

enum : SMAppServiceStatus {
    SMAppServiceStatusNotRegistered = 0,
    SMAppServiceStatusEnabled = 1,
    SMAppServiceStatusRequiresApproval = 2,
    SMAppServiceStatusNotFound = 3
};

@interface SMAppService : NSObject
@property (class, readonly) SMAppService* mainAppService;
/// https://developer.apple.com/documentation/servicemanagement/smappservice/status-swift.property
@property (readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError* __autoreleasing*)error;
/// https://developer.apple.com/documentation/servicemanagement/smappservice/unregister()
- (BOOL)unregisterAndReturnError:(NSError* __autoreleasing*)error;
@end
