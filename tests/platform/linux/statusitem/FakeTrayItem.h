#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/statusitem/TrayItem.h"
#include "support/FakeQueue.h"

namespace quorvel {

/// Notes when it was asked to show itself, on a queue of the test; a tray is there once the test says so.
struct FakeTrayItem final : TrayItem {
    explicit FakeTrayItem(FakeQueue* testQueue = nullptr) : queue(testQueue) {}

    void setImage(std::shared_ptr<const Image> newImage) override { image = *newImage; }
    void setToolTip(const std::string& text) override { toolTip = text; }
    void setMenu(std::shared_ptr<const Menu> newMenu) override { menu = std::move(newMenu); }
    void show(std::function<void()> onMissing) override {
        shows.push_back(std::chrono::duration_cast<std::chrono::seconds>(queue->now).count());
        isShown = hasTray;
        missing = std::move(onMissing);
        if (!hasTray) queue->post(missing);
    }
    void hide() override {
        isShown = false;
        ++hides;
    }

    void lose() {
        if (std::exchange(isShown, false)) queue->post(missing);
    }

    FakeQueue* queue;
    /// In seconds.
    std::vector<long> shows;
    bool hasTray = false;
    bool isShown = false;
    int hides = 0;
    std::function<void()> missing;
    Image image;
    std::string toolTip;
    std::shared_ptr<const Menu> menu;
};

}  // namespace quorvel
