#include "platform/linux/painter/PainterChannel.h"

#include <utility>

#include "platform/linux/painter/PainterSession.h"
#include "platform/linux/process/ChildProcess.h"

namespace quorvel {

namespace {

/// A window as the program holds it; what it shows is the session's, under its number.
class PaintedWindow final : public Window {
public:
    PaintedWindow(const std::shared_ptr<PainterSession>& owner, std::uint64_t ownNumber)
        : session(owner), number(ownNumber) {}
    ~PaintedWindow() override {
        if (const auto present = session.lock()) present->removeWindow(number);
    }
    PaintedWindow(const PaintedWindow&) = delete;
    PaintedWindow& operator=(const PaintedWindow&) = delete;

    void show() override {
        if (const auto present = session.lock()) present->showWindow(number);
    }
    void setText(const std::string& text) override {
        if (const auto present = session.lock()) present->setText(number, text);
    }
    void reloadTable() override {
        if (const auto present = session.lock()) present->reloadTable(number);
    }

private:
    std::weak_ptr<PainterSession> session;
    std::uint64_t number;
};

/// The status item as the program holds it; what it shows is the session's.
class PaintedStatusItem final : public TrayItem {
public:
    explicit PaintedStatusItem(const std::shared_ptr<PainterSession>& owner) : session(owner) {}
    ~PaintedStatusItem() override {
        if (const auto present = session.lock()) present->removeStatusItem();
    }
    PaintedStatusItem(const PaintedStatusItem&) = delete;
    PaintedStatusItem& operator=(const PaintedStatusItem&) = delete;

    void setImage(const Image& image) override {
        if (const auto present = session.lock()) present->setStatusImage(image);
    }
    void setToolTip(const std::string& text) override {
        if (const auto present = session.lock()) present->setStatusToolTip(text);
    }
    void setMenu(std::shared_ptr<const Menu> menu) override {
        if (const auto present = session.lock()) present->setStatusMenu(std::move(menu));
    }
    void show(std::function<void()> missing) override {
        if (const auto present = session.lock()) present->showTrayIcon(std::move(missing));
    }
    void hide() override {
        if (const auto present = session.lock()) present->hideTrayIcon();
    }

private:
    std::weak_ptr<PainterSession> session;
};

}  // namespace

std::vector<std::string> painterCommand() {
    return {helperProgram("quorvel-painter")};
}

PainterChannel::PainterChannel(EventQueue& queue, std::vector<std::string> command, PainterLimits limits)
    : session(std::make_shared<PainterSession>(queue, std::move(command), limits)) {}

PainterChannel::~PainterChannel() = default;

std::unique_ptr<Window> PainterChannel::makeWindow(WindowContent content,
                                                   std::weak_ptr<WindowDelegate> delegate) {
    const auto number = session->addWindow(std::move(content), std::move(delegate));
    return std::make_unique<PaintedWindow>(session, number);
}

void PainterChannel::runAlert(const std::string& messageText, const std::string& informativeText,
                              Task dismissed) {
    session->runAlert(messageText, informativeText, std::move(dismissed));
}

void PainterChannel::setText(const std::string& text) {
    session->setPasteboard(text);
}

std::unique_ptr<TrayItem> PainterChannel::makeTrayItem(IconProvider* icons) {
    session->addStatusItem(icons);
    return std::make_unique<PaintedStatusItem>(session);
}

void PainterChannel::popUpMenu() {
    session->popUpMenu();
}

void PainterChannel::onDisplayLost(Task lost) {
    session->onDisplayLost(std::move(lost));
}

void PainterChannel::setActivationToken(std::string token) {
    session->setActivationToken(std::move(token));
}

}  // namespace quorvel
