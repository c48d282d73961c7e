#import "platform/macos/CocoaText.h"

#include "platform/text/Text.h"

namespace quorvel {

NSString* cocoaText(std::string_view text) {
    const std::string valid = text::repairedUtf8(text);
    return [[[NSString alloc] initWithBytes:valid.data() length:valid.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
}

std::string textFrom(NSString* text) {
    const char* const bytes = [text UTF8String];
    // A text may hold a NUL, at which a C string would end.
    return bytes != nullptr ? std::string(bytes, [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding])
                            : std::string();
}

}  // namespace quorvel
