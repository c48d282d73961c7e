#pragma once

#include <memory>
#include <string>

#include "platform/Image.h"
#include "platform/Menu.h"

namespace quorvel {

/// The program's place in the system's status bar. Stays until it is destroyed. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;
    /// Never null. Shared, since a picture in all its sizes is larger than what is said of it.
    virtual void setImage(std::shared_ptr<const Image> image) = 0;
    virtual void setToolTip(const std::string& text) = 0;
    /// Shown when the user opens the item; replaces the menu before it as a whole.
    virtual void setMenu(std::shared_ptr<const Menu> menu) = 0;
};

class StatusBar {
public:
    virtual ~StatusBar() = default;
    virtual std::unique_ptr<StatusItem> makeStatusItem() = 0;
};

/// Pictures that come with the program or with the system; none when there is no such picture.
class ImageCatalog {
public:
    virtual ~ImageCatalog() = default;
    virtual std::optional<Image> imageNamed(const std::string& name) const = 0;
    virtual std::optional<Image> systemSymbol(const std::string& name) const = 0;
};

}  // namespace quorvel
