#include "platform/linux/StatusNotifierBar.h"

#include "platform/linux/IconTheme.h"
#include "platform/linux/StatusNotifierItem.h"

namespace quorvel {

std::unique_ptr<StatusItem> StatusNotifierBar::makeStatusItem() {
    return std::make_unique<StatusNotifierItem>(bus, IconTheme::ofEnvironment(), icons, tokenGiven);
}

}  // namespace quorvel
