#include "platform/linux/statusitem/StatusNotifierBar.h"

#include "platform/linux/statusitem/IconTheme.h"
#include "platform/linux/statusitem/StatusNotifierItem.h"

namespace quorvel {

std::unique_ptr<StatusItem> StatusNotifierBar::makeStatusItem() {
    return std::make_unique<StatusNotifierItem>(bus, IconTheme::ofEnvironment(), icons, tokenGiven);
}

}  // namespace quorvel
