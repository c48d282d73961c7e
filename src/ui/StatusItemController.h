#pragma once

#include <memory>

#include "platform/Image.h"
#include "platform/StatusBar.h"

namespace quorvel {

/// The program's only visible presence: one status item with its icon and tooltip. While a check runs, it
/// shows the icon with inverted colours. The item's menu comes from its owner, the application controller.
/// Main thread.
class StatusItemController {
public:
    /// `catalog` outlives the controller.
    StatusItemController(StatusBar& statusBar, const ImageCatalog& catalog);

    /// Makes both images anew. With `colorIcon` they keep their own colours, else the status bar draws the
    /// idle one in its colour.
    void updateIcon(bool colorIcon);

    void setFetching(bool value);

    const std::unique_ptr<StatusItem> statusItem;

private:
    void showImage();

    const ImageCatalog& catalog;
    std::shared_ptr<const Image> idleImage;
    std::shared_ptr<const Image> fetchingImage;
    bool isFetching = false;
};

}  // namespace quorvel
