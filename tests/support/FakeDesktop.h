#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Desktop.h"

/// A desktop in memory, which writes down what it was asked.
namespace quorvel {

class FakeWindowServer final : public WindowServer {
public:
    /// A window as the test keeps it, also when its controller has gone.
    struct Shown {
        WindowContent content;
        std::weak_ptr<WindowDelegate> delegate;
        int shows = 0;
        int reloads = 0;
        /// What the text view holds.
        std::string text;

        /// The user's press of a button that the window has.
        void press(const std::string& title) const {
            for (const auto& view : content.views) {
                const auto* button = std::get_if<Button>(&view);
                if (button != nullptr && button->title == title) return delegate.lock()->buttonPressed(title);
            }
            throw std::out_of_range("no button " + title);
        }

        TableRows rows() const { return delegate.lock()->tableRows(); }
    };

    std::unique_ptr<Window> makeWindow(WindowContent content,
                                       std::weak_ptr<WindowDelegate> delegate) override {
        auto shown = std::make_shared<Shown>();
        for (const auto& view : content.views) {
            if (const auto* textView = std::get_if<TextView>(&view)) shown->text = textView->text;
        }
        shown->content = std::move(content);
        shown->delegate = std::move(delegate);
        windows.push_back(shown);
        return std::make_unique<OpenWindow>(std::move(shown));
    }

    std::vector<std::shared_ptr<Shown>> windows;

private:
    class OpenWindow final : public Window {
    public:
        explicit OpenWindow(std::shared_ptr<Shown> shown) : shown(std::move(shown)) {}
        void show() override { ++shown->shows; }
        void setText(const std::string& text) override { shown->text = text; }
        void reloadTable() override { ++shown->reloads; }

    private:
        std::shared_ptr<Shown> shown;
    };
};

class FakeAlerts final : public Alerts {
public:
    void runAlert(const std::string& messageText, const std::string& informativeText,
                  Task dismissed) override {
        shown.push_back(messageText + "|" + informativeText);
        waiting.push_back(std::move(dismissed));
    }

    /// The user's press of OK in the newest alert.
    void dismiss() {
        Task dismissed = std::move(waiting.back());
        waiting.pop_back();
        dismissed();
    }

    /// Message text, a bar, informative text.
    std::vector<std::string> shown;
    std::vector<Task> waiting;
};

class FakePasteboard final : public Pasteboard {
public:
    void setText(const std::string& text) override { content = text; }

    std::string content;
};

class FakeWorkspace final : public Workspace {
public:
    void openURL(const std::string& url) override { opened.push_back(url); }
    void selectFile(const std::filesystem::path& path) override { selected.push_back(path); }
    std::size_t maxURLSize() const override { return maxSize; }

    std::size_t maxSize = 1'000'000;
    std::vector<std::string> opened;
    std::vector<std::filesystem::path> selected;
};

class FakeLoginItem final : public LoginItem {
public:
    bool isOffered() const override { return offered; }
    bool registerItem() override { return request("register"); }
    bool unregisterItem() override { return request("unregister"); }

    bool offered = true;
    bool succeeds = true;
    std::vector<std::string> requests;

private:
    bool request(const char* name) {
        requests.emplace_back(name);
        return succeeds;
    }
};

class FakeApplication final : public Application {
public:
    void terminate() override { ++terminations; }

    int terminations = 0;
};

}  // namespace quorvel
