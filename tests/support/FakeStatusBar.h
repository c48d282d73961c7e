#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/StatusBar.h"

namespace quorvel {

/// A status bar for one item, which shows what it was told last.
class FakeStatusBar final : public StatusBar {
public:
    std::unique_ptr<StatusItem> makeStatusItem() override {
        ++itemsMade;
        return std::make_unique<Item>(*this);
    }

    int itemsMade = 0;
    Image image;
    std::string toolTip;
    std::shared_ptr<const Menu> menu;
    int menusSet = 0;

private:
    class Item final : public StatusItem {
    public:
        explicit Item(FakeStatusBar& bar) : bar(bar) {}
        void setImage(std::shared_ptr<const Image> picture) override { bar.image = *picture; }
        void setToolTip(const std::string& text) override { bar.toolTip = text; }
        void setMenu(std::shared_ptr<const Menu> newMenu) override {
            bar.menu = std::move(newMenu);
            ++bar.menusSet;
        }

    private:
        FakeStatusBar& bar;
    };
};

/// Has the pictures that the test put in.
class FakeImageCatalog final : public ImageCatalog {
public:
    using Pictures = std::map<std::string, Image>;

    std::optional<Image> imageNamed(const std::string& name) const override { return find(named, name); }
    std::optional<Image> systemSymbol(const std::string& name) const override { return find(symbols, name); }

    Pictures named;
    Pictures symbols;

private:
    static std::optional<Image> find(const Pictures& pictures, const std::string& name) {
        const auto found = pictures.find(name);
        return found == pictures.end() ? std::nullopt : std::optional(found->second);
    }
};

}  // namespace quorvel
