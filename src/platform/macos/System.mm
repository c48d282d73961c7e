#include "platform/System.h"

#import <Foundation/Foundation.h>

#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

namespace quorvel {

std::string userLocale() {
    const Pool pool;
    return textFrom([[NSLocale currentLocale] localeIdentifier]);
}

std::filesystem::path applicationSupportFolder() {
    const Pool pool;
    NSArray* const folders =
        NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSUserDomainMask, YES);
    return textFrom([folders firstObject]);
}

}  // namespace quorvel
