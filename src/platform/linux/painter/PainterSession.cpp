#include "platform/linux/painter/PainterSession.h"

#include <algorithm>
#include <iostream>

namespace quorvel {

using namespace painter;
using std::chrono::steady_clock;

PainterSession::PainterSession(EventQueue& mainQueue, std::vector<std::string> painter,
                               const PainterLimits& givenLimits)
    : queue(mainQueue), command(std::move(painter)), limits(givenLimits) {}

std::uint64_t PainterSession::addWindow(WindowContent content, std::weak_ptr<WindowDelegate> delegate) {
    windows[++lastNumber] = {std::move(content), std::move(delegate), 0, std::nullopt, false};
    return lastNumber;
}

void PainterSession::removeWindow(std::uint64_t number) {
    if (process && windows.at(number).isShown) send(CloseWindow{number});
    windows.erase(number);
}

void PainterSession::showWindow(std::uint64_t number) {
    auto& window = windows.at(number);
    window.isShown = true;
    window.showing = ++lastNumber;
    if (!start()) sendWindow(number);
}

void PainterSession::setText(std::uint64_t number, const std::string& text) {
    auto& window = windows.at(number);
    for (View& view : window.content.views) {
        if (auto* textView = std::get_if<TextView>(&view)) textView->text = text;
    }
    if (process && window.isShown) send(SetText{number, text});
}

void PainterSession::reloadTable(std::uint64_t number) {
    const auto& window = windows.at(number);
    const auto delegate = window.delegate.lock();
    if (process && window.isShown && delegate) send(SetRows{number, delegate->tableRows()});
}

void PainterSession::runAlert(const std::string& messageText, const std::string& informativeText,
                              Task dismissed) {
    auto found = std::ranges::find_if(alerts, [&](const auto& entry) {
        return entry.second.messageText == messageText && entry.second.informativeText == informativeText;
    });
    if (found == alerts.end())
        found = alerts.emplace(++lastNumber, ScreenAlert{messageText, informativeText, {}}).first;
    found->second.dismissed.push_back(std::move(dismissed));
    if (!start()) sendAlert(found->first);
}

void PainterSession::setPasteboard(std::string text) {
    pasteboard = SetPasteboard{++lastNumber, std::move(text)};
    if (!start()) send(*pasteboard);
}

void PainterSession::addStatusItem(IconProvider* itemIcons) {
    status = {
        .image = {}, .toolTip = "", .menu = nullptr, .numbers = MenuLayout(itemIcons), .arrival = nullptr};
    if (itemIcons) status->arrival = itemIcons->onArrival([this](const auto&) { sendMenu(); });
}

void PainterSession::removeStatusItem() {
    hideTrayIcon();
    popUp.reset();
    status.reset();
}

void PainterSession::setStatusImage(const Image& image) {
    status->image = image;
    sendTrayIcon();
}

void PainterSession::setStatusToolTip(const std::string& text) {
    status->toolTip = text;
    sendTrayIcon();
}

void PainterSession::setStatusMenu(std::shared_ptr<const Menu> menu) {
    status->menu = std::move(menu);
    if (!isMenuUsed()) return;
    status->numbers.setMenu(status->menu);
    sendMenu();
}

void PainterSession::sendMenu() {
    sendTrayIcon();
    if (process && popUp) send(SetMenu{*popUp, status->numbers.content()});
}

void PainterSession::showTrayIcon(std::function<void()> missing) {
    useMenu();
    trayIcon = {++lastNumber, std::move(missing)};
    if (!start()) sendTrayIcon();
}

void PainterSession::hideTrayIcon() {
    if (!trayIcon) return;
    trayIcon.reset();
    releaseMenu();
    if (process) send(HideTrayIcon{});
}

void PainterSession::popUpMenu() {
    if (!status || !status->menu) return;
    useMenu();
    popUp = ++lastNumber;
    if (!start()) sendPopUp();
}

void PainterSession::useMenu() {
    if (!isMenuUsed()) status->numbers.setMenu(status->menu);
}

/// A menu that nobody shows costs nothing.
void PainterSession::releaseMenu() {
    if (!isMenuUsed()) status->numbers.setMenu(nullptr);
}

bool PainterSession::isNeeded() const {
    const auto isShown = [](const auto& entry) { return entry.second.isShown; };
    return std::ranges::any_of(windows, isShown) || !alerts.empty() || pasteboard || trayIcon;
}

/// False when a painter runs already. A new one is told all there is.
bool PainterSession::start() {
    if (process) return false;
    ++runs;
    auto started = PainterProcess::start(
        queue.event(), command, limits,
        {posting<Event>(&PainterSession::received), posting<std::string>(&PainterSession::ended)});
    if (started) {
        process = std::move(*started);
        sendAll();
    } else {
        std::cerr << "quorvel: The painter did not start. " << started.error() << '\n';
        giveUp();
    }
    return true;
}

/// Leads from the event loop's callbacks, which no exception may leave, to the main queue.
template <typename Argument>
std::function<void(Argument)> PainterSession::posting(void (PainterSession::*take)(const Argument&)) {
    return [weak = weak_from_this(), mainQueue = &queue, run = runs, take](Argument argument) {
        mainQueue->post([weak, run, take, argument = std::move(argument)] {
            const auto present = weak.lock();
            if (present && present->runs == run) ((*present).*take)(argument);
        });
    };
}

void PainterSession::sendAll() {
    send(Hello{});
    for (const auto& [number, window] : windows) {
        if (window.isShown) sendWindow(number);
    }
    for (const auto& [number, alert] : alerts) {
        sendAlert(number);
    }
    if (pasteboard) send(*pasteboard);
    sendTrayIcon();
    if (popUp) sendPopUp();
}

void PainterSession::send(const Request& request) {
    const std::string line = encode(request);
    if (line.size() > maxRequestSize) return leaveOut(request);
    process->send(line);
}

/// What is too long to be sent is over at once, as if the user had closed it.
void PainterSession::leaveOut(const Request& request) {
    std::cerr << "quorvel: What should be shown is longer than " << maxRequestSize
              << " bytes and is left out.\n";
    const auto event = posting<Event>(&PainterSession::received);
    if (const auto* show = std::get_if<ShowWindow>(&request))
        event(WindowClosed{show->window, show->showing, show->placement.value_or(Placement())});
    if (const auto* run = std::get_if<RunAlert>(&request)) event(AlertDismissed{run->alert});
    if (const auto* set = std::get_if<SetPasteboard>(&request)) event(PasteboardLost{set->content});
    if (const auto* tray = std::get_if<ShowTrayIcon>(&request)) event(TrayIconMissing{tray->showing});
    if (const auto* menu = std::get_if<PopUpMenu>(&request)) event(MenuClosed{menu->popUp});
}

void PainterSession::sendWindow(std::uint64_t number) {
    const auto& window = windows.at(number);
    const auto delegate = window.delegate.lock();
    send(ShowWindow{number, window.showing, window.content, delegate ? delegate->tableRows() : TableRows(),
                    window.placement, std::exchange(activationToken, {})});
}

void PainterSession::sendAlert(std::uint64_t number) {
    const auto& alert = alerts.at(number);
    send(RunAlert{number, alert.messageText, alert.informativeText, std::exchange(activationToken, {})});
}

void PainterSession::sendTrayIcon() {
    if (process && trayIcon)
        send(ShowTrayIcon{trayIcon->showing, status->image, status->toolTip, status->numbers.content()});
}

void PainterSession::sendPopUp() {
    send(PopUpMenu{*popUp, status->numbers.content(), std::exchange(activationToken, {})});
}

/// The end of a painter that shows nothing is the rule. Where there is no display, there is no tray either.
void PainterSession::ended(const std::string& reason) {
    const bool hasDisplay = process->hasSaidHello();
    noticeDisplay(hasDisplay);
    process.reset();
    if (popUp) take(MenuClosed{*popUp});
    if (trayIcon && !hasDisplay) loseTrayIcon();
    if (!isNeeded()) return;
    std::cerr << "quorvel: The painter is gone. " << reason << '\n';
    const auto now = steady_clock::now();
    if (lastRestart && now - *lastRestart < limits.restartPause) return giveUp();
    lastRestart = now;
    start();
}

void PainterSession::noticeDisplay(bool isThere) {
    if (hadDisplay && !isThere && displayLost) queue.post(std::exchange(displayLost, {}));
    hadDisplay = hadDisplay || isThere;
}

void PainterSession::giveUp() {
    for (auto& [number, window] : windows) {
        window.isShown = false;
    }
    for (auto& [number, alert] : std::exchange(alerts, {})) {
        for (auto& task : alert.dismissed)
            queue.post(std::move(task));
    }
    pasteboard.reset();
    if (popUp) take(MenuClosed{*popUp});
    if (trayIcon) loseTrayIcon();
}

void PainterSession::loseTrayIcon() {
    queue.post(std::move(trayIcon->missing));
    trayIcon.reset();
    releaseMenu();
}

void PainterSession::received(const Event& event) {
    std::visit([this](const auto& some) { take(some); }, event);
}

void PainterSession::take(const WindowClosed& closed) {
    const auto found = windows.find(closed.window);
    // A window shown again while its user closed it is open.
    if (found == windows.end() || found->second.showing != closed.showing) return;
    found->second.isShown = false;
    if (closed.placement.width > 0) found->second.placement = closed.placement;
}

void PainterSession::take(const ButtonPressed& pressed) {
    const auto found = windows.find(pressed.window);
    const auto delegate = found == windows.end() ? nullptr : found->second.delegate.lock();
    if (delegate) delegate->buttonPressed(pressed.title);
}

void PainterSession::take(const AlertDismissed& dismissed) {
    auto alert = alerts.extract(dismissed.alert);
    if (!alert) return;
    for (auto& task : alert.mapped().dismissed)
        task();
}

void PainterSession::take(const PasteboardLost& lost) {
    if (pasteboard && pasteboard->content == lost.content) pasteboard.reset();
}

void PainterSession::take(const TrayIconMissing& missing) {
    if (trayIcon && trayIcon->showing == missing.showing) loseTrayIcon();
}

void PainterSession::take(const MenuItemChosen& chosen) {
    if (!isMenuUsed() || !std::in_range<MenuLayout::Id>(chosen.item)) return;
    // Held here: the action itself may bring the menu that takes the place of this one.
    if (const auto target = status->numbers.target(static_cast<MenuLayout::Id>(chosen.item)))
        target->menuAction();
}

void PainterSession::take(const MenuClosed& closed) {
    if (popUp != closed.popUp) return;
    popUp.reset();
    releaseMenu();
}

}  // namespace quorvel
