#include "ui/StatusItemController.h"

#include <utility>

namespace quorvel {

namespace {

constexpr double iconPoints = 24;

Image baseImage(const ImageCatalog& catalog) {
    if (auto own = catalog.imageNamed("StatusBarIconTemplate")) return std::move(*own);
    if (auto symbol = catalog.systemSymbol("menubar.arrow.down.rectangle")) return std::move(*symbol);
    return {};
}

}  // namespace

StatusItemController::StatusItemController(StatusBar& statusBar, const ImageCatalog& catalog)
    : statusItem(statusBar.makeStatusItem()), catalog(catalog) {
    updateIcon(false);
    statusItem->setToolTip("Quorvel");
}

void StatusItemController::updateIcon(bool colorIcon) {
    auto images = makeImages(colorIcon);
    idleImage = std::move(images.idle);
    fetchingImage = std::move(images.fetching);
    showImage();
}

void StatusItemController::setFetching(bool value) {
    isFetching = value;
    showImage();
}

StatusItemController::Images StatusItemController::makeImages(bool colorIcon) const {
    Image idle = baseImage(catalog);
    idle.size = iconPoints;
    idle.isTemplate = !colorIcon;
    // A picture that cannot be inverted stands for both: a running check is then not visible on the icon.
    Image fetching = invertedImage(idle).value_or(idle);
    return {.idle = std::move(idle), .fetching = std::move(fetching)};
}

void StatusItemController::showImage() {
    statusItem->setImage(isFetching ? fetchingImage : idleImage);
}

}  // namespace quorvel
