#include "painter/Painter.h"

#include <QClipboard>
#include <QGuiApplication>
#include <algorithm>
#include <utility>

#include "painter/AlertBox.h"
#include "painter/PaintedMenu.h"
#include "painter/PaintedTrayIcon.h"
#include "painter/PaintedWindow.h"

namespace quorvel::painter {

namespace {

/// Qt uses the token up with the next window that it activates.
void useActivationToken(const std::string& token) {
    if (!token.empty()) qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
}

}  // namespace

Painter::Painter(std::chrono::milliseconds linger, std::function<void(const Event&)> onEvent,
                 std::function<void()> nothingToDo)
    : report(std::move(onEvent)) {
    end.setSingleShot(true);
    end.setInterval(linger);
    QObject::connect(&end, &QTimer::timeout, &end, [this, nothingToDo = std::move(nothingToDo)] {
        if (!isNeeded()) nothingToDo();
    });
    QObject::connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, &end,
                     [this] { clipboardChanged(); });
    considerEnd();
}

Painter::~Painter() = default;

void Painter::perform(const Request& request) {
    std::visit([this](const auto& some) { handle(some); }, request);
    considerEnd();
}

void Painter::handle(const ShowWindow& request) {
    auto& shown = windows[request.window];
    if (!shown.window) shown.window = makeWindow(request.window, request.content);
    shown.showing = request.showing;
    for (const View& view : request.content.views) {
        if (const auto* text = std::get_if<TextView>(&view)) shown.window->setText(text->text);
    }
    shown.window->setRows(request.rows);
    useActivationToken(request.activationToken);
    shown.window->present(request.placement);
}

std::unique_ptr<PaintedWindow> Painter::makeWindow(std::uint64_t number, const WindowContent& content) {
    const auto pressed = [this, number](const std::string& title) { report(ButtonPressed{number, title}); };
    const auto closed = [this, number] {
        const auto& shown = windows.at(number);
        report(WindowClosed{number, shown.showing, shown.window->placement()});
        // The window counts as shown until it has handled its closing.
        QTimer::singleShot(0, &end, [this] { considerEnd(); });
    };
    return std::make_unique<PaintedWindow>(content, pressed, closed);
}

void Painter::handle(const CloseWindow& request) {
    windows.erase(request.window);
}

void Painter::handle(const SetText& request) {
    const auto found = windows.find(request.window);
    if (found != windows.end()) found->second.window->setText(request.text);
}

void Painter::handle(const SetRows& request) {
    const auto found = windows.find(request.window);
    if (found != windows.end()) found->second.window->setRows(request.rows);
}

void Painter::handle(const RunAlert& request) {
    auto& box = alerts[request.alert];
    if (!box) box = makeAlert(request);
    useActivationToken(request.activationToken);
    box->show();
    box->raise();
    box->activateWindow();
}

std::unique_ptr<AlertBox> Painter::makeAlert(const RunAlert& request) {
    auto box = std::make_unique<AlertBox>(request.messageText, request.informativeText);
    QObject::connect(box.get(), &QDialog::finished, &end, [this, number = request.alert] {
        report(AlertDismissed{number});
        // Not inside its own signal.
        QTimer::singleShot(0, &end, [this, number] {
            alerts.erase(number);
            considerEnd();
        });
    });
    return box;
}

void Painter::handle(const SetPasteboard& request) {
    pasteboard.reset();
    QGuiApplication::clipboard()->setText(QString::fromStdString(request.text));
    pasteboard = request.content;
    clipboardChanged();
}

void Painter::handle(const ShowTrayIcon& request) {
    if (!trayIcon) {
        trayIcon =
            std::make_unique<PaintedTrayIcon>([this](std::uint64_t item) { report(MenuItemChosen{item}); });
    }
    if (trayIcon->show(request)) return;
    trayIcon.reset();
    report(TrayIconMissing{request.showing});
}

void Painter::handle(const HideTrayIcon&) {
    trayIcon.reset();
}

void Painter::handle(const PopUpMenu& request) {
    popUp.number = request.popUp;
    popUp.menu = std::make_unique<PaintedMenu>([this](std::uint64_t item) { report(MenuItemChosen{item}); });
    popUp.menu->setContent(request.menu);
    // The menu hides before its choice is reported; the closing is reported after both.
    QObject::connect(popUp.menu.get(), &QMenu::aboutToHide, &end, [this, number = request.popUp] {
        QTimer::singleShot(0, &end, [this, number] { menuClosed(number); });
    });
    useActivationToken(request.activationToken);
    popUp.menu->popUp();
}

void Painter::menuClosed(std::uint64_t number) {
    report(MenuClosed{number});
    if (popUp.number == number) popUp.menu.reset();
    considerEnd();
}

void Painter::handle(const SetMenu& request) {
    if (popUp.menu && popUp.number == request.popUp) popUp.menu->setContent(request.menu);
}

void Painter::clipboardChanged() {
    if (pasteboard && !QGuiApplication::clipboard()->ownsClipboard())
        report(PasteboardLost{*std::exchange(pasteboard, std::nullopt)});
    considerEnd();
}

bool Painter::isNeeded() const {
    const auto isVisible = [](const auto& entry) { return entry.second.window->isVisible(); };
    return std::ranges::any_of(windows, isVisible) || !alerts.empty() || trayIcon || popUp.menu ||
           QGuiApplication::clipboard()->ownsClipboard();
}

/// Every request, and every end of something shown, restarts the time.
void Painter::considerEnd() {
    if (isNeeded()) {
        end.stop();
    } else {
        end.start();
    }
}

}  // namespace quorvel::painter
