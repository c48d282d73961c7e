#include "platform/linux/painter/PainterChannel.h"

#include <algorithm>
#include <iostream>
#include <string_view>
#include <utility>

#include "platform/Weakly.h"
#include "platform/linux/painter/RemoteTrayItem.h"

namespace quorvel {

using namespace painter;
using std::chrono::steady_clock;

namespace {

/// Without the tokens of this program's own start, which its windows would use up.
bool isForPainter(std::string_view variable) {
    return !variable.starts_with("XDG_ACTIVATION_TOKEN=") && !variable.starts_with("DESKTOP_STARTUP_ID=");
}

std::size_t lineSize(std::string_view received) {
    return received.find('\n') + 1;  // 0 without a line feed
}

}  // namespace

/// A window as the program holds it.
class PainterChannel::RemoteWindow final : public Window {
public:
    RemoteWindow(PainterChannel& owner, WindowContent ownContent, std::weak_ptr<WindowDelegate> ownDelegate)
        : channel(owner.self),
          number(++owner.lastNumber),
          content(std::move(ownContent)),
          delegate(std::move(ownDelegate)) {
        owner.windows[number] = this;
    }
    ~RemoteWindow() override {
        const auto owner = channel.lock();
        if (!owner) return;
        if (isShown) owner->send(CloseWindow{number});
        owner->windows.erase(number);
    }
    RemoteWindow(const RemoteWindow&) = delete;
    RemoteWindow& operator=(const RemoteWindow&) = delete;

    void show() override {
        const auto owner = channel.lock();
        if (!owner) return;
        isShown = true;
        showing = ++owner->lastNumber;
        if (!owner->startIfNeeded()) owner->send(request());
    }
    void setText(const std::string& text) override {
        for (View& view : content.views) {
            if (auto* textView = std::get_if<TextView>(&view)) textView->text = text;
        }
        const auto owner = channel.lock();
        if (owner && isShown) owner->send(SetText{number, text});
    }
    void reloadTable() override {
        const auto owner = channel.lock();
        if (owner && isShown) owner->send(SetRows{number, rows()});
    }

    ShowWindow request() const { return {number, showing, content, rows(), placement, ""}; }
    void closed(const WindowClosed& event) {
        // A window shown again while its user closed it is open.
        if (showing != event.showing) return;
        isShown = false;
        if (event.placement.width > 0) placement = event.placement;
    }
    void pressed(const std::string& title) const {
        if (const auto present = delegate.lock()) present->buttonPressed(title);
    }

    bool isShown = false;

private:
    TableRows rows() const {
        const auto present = delegate.lock();
        return present ? present->tableRows() : TableRows();
    }

    const std::weak_ptr<PainterChannel> channel;
    const std::uint64_t number;
    WindowContent content;
    const std::weak_ptr<WindowDelegate> delegate;
    std::uint64_t showing = 0;
    std::optional<Placement> placement;
};

PainterChannel::PainterChannel(EventQueue& mainQueue, std::vector<std::string> painter)
    : queue(mainQueue), command(std::move(painter)) {}

PainterChannel::~PainterChannel() = default;

std::unique_ptr<Window> PainterChannel::makeWindow(WindowContent content,
                                                   std::weak_ptr<WindowDelegate> delegate) {
    return std::make_unique<RemoteWindow>(*this, std::move(content), std::move(delegate));
}

std::unique_ptr<TrayItem> PainterChannel::makeTrayItem(IconProvider* icons) {
    return std::make_unique<RemoteTrayItem>(*this, icons);
}

void PainterChannel::popUpMenu() {
    if (trayItem) trayItem->popUpMenu();
}

void PainterChannel::runAlert(const std::string& messageText, const std::string& informativeText,
                              Task dismissed) {
    auto found = std::ranges::find_if(alerts, [&](const auto& entry) {
        return entry.second.messageText == messageText && entry.second.informativeText == informativeText;
    });
    if (found == alerts.end())
        found = alerts.emplace(++lastNumber, Alert{messageText, informativeText, {}}).first;
    found->second.dismissed.push_back(std::move(dismissed));
    if (!startIfNeeded()) send(RunAlert{found->first, messageText, informativeText, ""});
}

void PainterChannel::setText(const std::string& text) {
    pasteboard = SetPasteboard{++lastNumber, text};
    if (!startIfNeeded()) send(*pasteboard);
}

bool PainterChannel::isNeeded() const {
    const auto isShown = [](const auto& entry) { return entry.second->isShown; };
    return std::ranges::any_of(windows, isShown) || !alerts.empty() || pasteboard ||
           (trayItem && trayItem->showing);
}

/// False when a painter runs already. A new one is sent all there is.
bool PainterChannel::startIfNeeded() {
    if (worker) return false;
    auto started = Worker::start(queue,
                                 {.command = command,
                                  .passesOn = isForPainter,
                                  .messageSize = lineSize,
                                  .maxMessageSize = maxEventSize,
                                  .maxUnsent = 2 * maxRequestSize},
                                 {[this](const std::string& line) { received(line); },
                                  [this](const std::string& reason) { ended(reason); }});
    saidHello = false;
    if (started) {
        worker = *std::move(started);
        sendAll();
    } else {
        std::cerr << "quorvel: The painter did not start. " << started.error() << '\n';
        giveUp();
    }
    return true;
}

void PainterChannel::sendAll() {
    send(Hello{});
    for (const auto& [number, window] : windows) {
        if (window->isShown) send(window->request());
    }
    for (const auto& [number, alert] : alerts)
        send(RunAlert{number, alert.messageText, alert.informativeText, ""});
    if (pasteboard) send(*pasteboard);
    if (trayItem) {
        trayItem->sendIcon();
        trayItem->sendPopUp();
    }
}

void PainterChannel::send(Request request) {
    if (!worker) return;
    const auto giveToken = [this](auto& some) {
        if constexpr (requires { some.activationToken; })
            some.activationToken = std::exchange(activationToken, {});
    };
    std::visit(giveToken, request);
    worker->send(encode(request) + '\n');
}

/// The end of a painter that shows nothing is the rule. Where there is no display, there is no tray either.
void PainterChannel::ended(const std::string& reason) {
    worker.reset();
    if (hadDisplay && !saidHello && displayLost) queue.post(std::exchange(displayLost, {}));
    hadDisplay = hadDisplay || saidHello;
    if (trayItem) trayItem->close(trayItem->popUp);
    if (!saidHello) loseTrayIcon();
    if (!isNeeded()) return;
    std::cerr << "quorvel: The painter is gone. " << reason << '\n';
    const auto now = steady_clock::now();
    if (lastRestart && now - *lastRestart < restartPause) {
        giveUp();
        // A display that is ending may have taken both; another painter finds out whether it is still there.
        const auto look = [](PainterChannel& channel) { channel.startIfNeeded(); };
        if (displayLost) queue.postAfter(restartPause, weakly(self, look));
        return;
    }
    lastRestart = now;
    startIfNeeded();
}

void PainterChannel::giveUp() {
    for (const auto& [number, window] : windows)
        window->isShown = false;
    for (auto& [number, alert] : std::exchange(alerts, {})) {
        for (auto& task : alert.dismissed)
            queue.post(std::move(task));
    }
    pasteboard.reset();
    if (trayItem) trayItem->close(trayItem->popUp);
    loseTrayIcon();
}

void PainterChannel::loseTrayIcon() {
    if (!trayItem || !trayItem->showing) return;
    queue.post(std::exchange(trayItem->missing, {}));
    trayItem->close(trayItem->showing);
}

void PainterChannel::received(const std::string& line) {
    const auto event = decodeEvent(std::string_view(line).substr(0, line.size() - 1));
    const auto* const hello = event ? std::get_if<Hello>(&*event) : nullptr;
    const bool fits = saidHello ? event && !hello : hello && hello->version == protocolVersion;
    if (!fits) return worker->end(Worker::protocolBroken);
    saidHello = true;
    std::visit([this](const auto& some) { handle(some); }, *event);
}

void PainterChannel::handle(const WindowClosed& closed) {
    const auto found = windows.find(closed.window);
    if (found != windows.end()) found->second->closed(closed);
}

void PainterChannel::handle(const ButtonPressed& pressed) {
    const auto found = windows.find(pressed.window);
    if (found != windows.end()) found->second->pressed(pressed.title);
}

void PainterChannel::handle(const AlertDismissed& dismissed) {
    auto alert = alerts.extract(dismissed.alert);
    if (!alert) return;
    for (auto& task : alert.mapped().dismissed)
        task();
}

void PainterChannel::handle(const PasteboardLost& lost) {
    if (pasteboard && pasteboard->content == lost.content) pasteboard.reset();
}

void PainterChannel::handle(const TrayIconMissing& missing) {
    if (trayItem && trayItem->showing == missing.showing) loseTrayIcon();
}

void PainterChannel::handle(const MenuItemChosen& chosen) {
    if (trayItem) trayItem->choose(chosen.item);
}

void PainterChannel::handle(const MenuClosed& closed) {
    if (trayItem && trayItem->popUp == closed.popUp) trayItem->close(trayItem->popUp);
}

}  // namespace quorvel
