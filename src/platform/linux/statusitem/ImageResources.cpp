#include "platform/linux/statusitem/ImageResources.h"

#include <algorithm>

#include "platform/linux/icons/Png.h"

namespace quorvel {
namespace {

/// As installed in the icon theme.
constexpr const char* statusThemeName = "com.ob.quorvel-status";
constexpr std::string_view templateEnding = "Template";

}  // namespace

std::optional<Image> ImageResources::imageNamed(const std::string& name) const {
    const auto pictures = embeddedPictures();
    const auto found = std::ranges::find(pictures, name, &EmbeddedPicture::name);
    if (found == pictures.end()) return std::nullopt;

    Image image;
    for (const auto png : found->pngs)
        image.bitmaps.push_back(decodedPng(png).value());
    image.size = image.bitmaps.front().width;
    image.isTemplate = name.ends_with(templateEnding);
    if (image.isTemplate) image.themeName = statusThemeName;
    return image;
}

std::optional<Image> ImageResources::systemSymbol(const std::string& /*name*/) const {
    return std::nullopt;
}

}  // namespace quorvel
