#include "ui/StatusItemController.h"

#include <utility>

namespace quorvel {

namespace {

constexpr double iconPoints = 24;

Image baseImage(const ImageCatalog& catalog) {
    if (const auto own = catalog.imageNamed("StatusBarIconTemplate")) return *own;
    return catalog.systemSymbol("menubar.arrow.down.rectangle").value_or(Image());
}

}  // namespace

StatusItemController::StatusItemController(StatusBar& statusBar, const ImageCatalog& catalog)
    : statusItem(statusBar.makeStatusItem()), catalog(catalog) {
    updateIcon(false);
    statusItem->setToolTip("Quorvel");
}

void StatusItemController::updateIcon(bool colorIcon) {
    auto image = baseImage(catalog);
    image.size = iconPoints;
    image.isTemplate = !colorIcon;
    idleImage = std::make_shared<Image>(std::move(image));
    // A picture that cannot be inverted stands for both: a running check is then not visible on the icon.
    auto inverted = invertedImage(*idleImage);
    fetchingImage = inverted ? std::make_shared<Image>(*std::move(inverted)) : idleImage;
    showImage();
}

void StatusItemController::setFetching(bool value) {
    isFetching = value;
    showImage();
}

void StatusItemController::showImage() {
    statusItem->setImage(isFetching ? fetchingImage : idleImage);
}

}  // namespace quorvel
