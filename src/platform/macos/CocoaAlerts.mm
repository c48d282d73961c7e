#import "platform/macos/CocoaAlerts.h"

#import <AppKit/AppKit.h>
#include <algorithm>
#include <utility>
#include <vector>

#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

namespace quorvel {

struct CocoaAlerts::Shown {
    std::string messageText, informativeText;
    std::vector<Task> dismissed;
    Kept<NSAlert> alert{[[NSAlert alloc] init]};
};

void CocoaAlerts::runAlert(const std::string& messageText, const std::string& informativeText,
                           Task dismissed) {
    const Pool pool;
    const auto same = std::ranges::find_if(shown, [&](const auto& other) {
        return other->messageText == messageText && other->informativeText == informativeText;
    });
    [NSApp activateIgnoringOtherApps:YES];
    if (same != shown.end()) {
        (*same)->dismissed.push_back(std::move(dismissed));
        return [[(*same)->alert.get() window] makeKeyAndOrderFront:nil];
    }
    const auto mine = std::make_shared<Shown>(
        Shown{.messageText = messageText, .informativeText = informativeText, .dismissed = {}});
    mine->dismissed.push_back(std::move(dismissed));
    [mine->alert.get() setMessageText:cocoaText(messageText)];
    [mine->alert.get() setInformativeText:cocoaText(informativeText)];
    shown.push_back(mine);
    [mine->alert.get() runModal];
    shown.remove(mine);
    for (auto& task : mine->dismissed)
        task();
}

}  // namespace quorvel
