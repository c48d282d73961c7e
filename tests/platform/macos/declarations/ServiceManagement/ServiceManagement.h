#pragma once

#import <Foundation/Foundation.h>

/// As the vendor documents them: Service Management, and a string of Core Foundation.
@interface SMAppService : NSObject
+ (SMAppService*)mainAppService;
- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
@end

typedef const struct __CFString* CFStringRef;
typedef unsigned char Boolean;
#define CFSTR(cStr) reinterpret_cast<CFStringRef>(@"" cStr)
extern "C" Boolean SMLoginItemSetEnabled(CFStringRef identifier, Boolean enabled);
