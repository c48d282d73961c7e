#include <gtest/gtest.h>

#include "support/FakeStatusBar.h"
#include "ui/StatusItemController.h"

namespace quorvel {
namespace {

const Image ownPicture{
    .themeName = "own", .bitmaps = {{1, 1, {10, 20, 30, 40}}}, .size = 16, .isTemplate = false};
const Image systemPicture{
    .themeName = "system", .bitmaps = {{1, 1, {0, 255, 1, 0}}}, .size = 99, .isTemplate = true};

/// What of an image tells it from others.
std::string describe(const Image& image) {
    std::string text = image.themeName + " " + std::to_string(static_cast<int>(image.size)) +
                       (image.isTemplate ? " template" : " plain");
    for (const auto& bitmap : image.bitmaps) {
        for (const int byte : bitmap.rgba)
            text += " " + std::to_string(byte);
    }
    return text;
}

TEST(StatusItemController, takesItsOwnPictureElseTheSystemsElseNone) {
    const std::string name = "StatusBarIconTemplate", symbol = "menubar.arrow.down.rectangle";
    // Idle and with a running check, as a template and then in colour.
    const struct {
        FakeImageCatalog::Pictures named, symbols;
        std::string images[4];
    } rows[] = {
        {{{name, ownPicture}},
         {{symbol, systemPicture}},
         {"own 24 template 10 20 30 40", "own-inverted 24 plain 245 235 225 40",
          "own-inverted 24 plain 245 235 225 40", "own 24 plain 10 20 30 40"}},
        {{},
         {{symbol, systemPicture}},
         {"system 24 template 0 255 1 0", "system-inverted 24 plain 255 0 254 0",
          "system-inverted 24 plain 255 0 254 0", "system 24 plain 0 255 1 0"}},
        {{}, {}, {" 24 template", " 24 template", " 24 plain", " 24 plain"}},
    };
    for (const auto& row : rows) {
        FakeImageCatalog catalog;
        catalog.named = row.named;
        catalog.symbols = row.symbols;
        FakeStatusBar bar;
        StatusItemController controller(bar, catalog);
        EXPECT_EQ(bar.toolTip, "Quorvel");
        EXPECT_EQ(describe(bar.image), row.images[0]);
        controller.setFetching(true);
        EXPECT_EQ(describe(bar.image), row.images[1]);
        controller.updateIcon(true);
        EXPECT_EQ(describe(bar.image), row.images[2]) << "a running check stays visible";
        controller.setFetching(false);
        EXPECT_EQ(describe(bar.image), row.images[3]);
    }
}

}  // namespace
}  // namespace quorvel
