#include "ui/StatusItemController.h"

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
    idleImage = baseImage(catalog);
    idleImage.size = iconPoints;
    idleImage.isTemplate = !colorIcon;
    // A picture that cannot be inverted stands for both: a running check is then not visible on the icon.
    fetchingImage = invertedImage(idleImage).value_or(idleImage);
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
