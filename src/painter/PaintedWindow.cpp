#include "painter/PaintedWindow.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTextDocument>
#include <algorithm>
#include <utility>

#include "painter/Controls.h"
#include "painter/Style.h"

namespace quorvel::painter {

namespace {

Qt::WindowFlags flagsFor(const WindowContent& content) {
    const Qt::WindowFlags flags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                  Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
    return content.isResizable ? flags | Qt::WindowMaximizeButtonHint : flags;
}

}  // namespace

PaintedWindow::PaintedWindow(const WindowContent& content,
                             std::function<void(const std::string&)> onButtonPressed,
                             std::function<void()> onClosed)
    : QWidget(nullptr, flagsFor(content)),
      contentWidth(content.width),
      contentHeight(content.height),
      buttonPressed(std::move(onButtonPressed)),
      closed(std::move(onClosed)) {
    setWindowTitle(lineFrom(content.title));
    setAccessibleName(windowTitle());
    for (const View& view : content.views) {
        std::visit(
            [&](const auto& some) {
                using Kind = std::decay_t<decltype(some)>;
                constexpr bool isScrolled = std::is_same_v<Kind, TextView> || std::is_same_v<Kind, TableView>;
                views.push_back({add(some), some.frame, isScrolled && content.isResizable});
            },
            view);
    }
    // Else the first button has the focus unseen, and the first Tab goes on to the second.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
    setSizes(content);
    new QShortcut(QKeySequence(Qt::Key_Escape), this, [this] { close(); });
    new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this, [this] { close(); });
}

QWidget* PaintedWindow::add(const Label& label) {
    return new RoleLabel(label, this);
}

QWidget* PaintedWindow::add(const Button& button) {
    QAbstractButton* widget = nullptr;
    if (button.style == Button::Style::link) {
        widget = new LinkButton(button, this);
    } else {
        // An ampersand would mark the next letter as the button's shortcut.
        widget = new QPushButton(lineFrom(button.title).replace(u'&', QStringLiteral("&&")), this);
        widget->setFont(fontFor({}));
        widget->setAccessibleName(lineFrom(button.title));
    }
    connect(widget, &QAbstractButton::clicked, this, [this, title = button.title] { buttonPressed(title); });
    return widget;
}

QWidget* PaintedWindow::add(const TextView& view) {
    auto* const widget = textView = new QPlainTextEdit(this);
    widget->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    widget->setTabChangesFocus(true);
    widget->setCursorWidth(0);
    widget->setFrameShape(QFrame::NoFrame);
    widget->setFont(fontFor(view.font));
    widget->document()->setDocumentMargin(view.inset);
    widget->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    widget->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    widget->setAccessibleName(windowTitle());
    widget->setPlainText(QString::fromStdString(view.text));
    return widget;
}

QWidget* PaintedWindow::add(const TableView& table) {
    tableView = new RowsTable(table, this);
    tableView->setAccessibleName(windowTitle());
    return tableView;
}

void PaintedWindow::setSizes(const WindowContent& content) {
    const QSize size(pixels(content.width), pixels(content.height));
    if (!content.isResizable) return setFixedSize(size);
    // Small enough for any use, and large enough that what stays where it is stays in sight.
    QSize least(240, 160);
    for (const auto& view : views) {
        const double width = view.growsWithWindow ? view.widget->minimumWidth() : view.frame.width + 8;
        least = least.expandedTo(QSize(pixels(view.frame.x + width), 0));
        if (!view.growsWithWindow) view.widget->raise();
    }
    setMinimumSize(least.boundedTo(size));
    resize(size);
    for (const auto& view : views) {
        if (view.growsWithWindow) view.widget->setFocus();
    }
}

void PaintedWindow::resizeEvent(QResizeEvent*) {
    layOut();
}

/// Turns the origin from the bottom left to the top left. What grows keeps its distance to all four edges,
/// what does not keeps its distance to the left and the bottom.
void PaintedWindow::layOut() {
    const double addedWidth = width() - contentWidth, addedHeight = height() - contentHeight;
    for (const auto& view : views) {
        Frame frame = view.frame;
        if (view.growsWithWindow) {
            frame.width += addedWidth;
            frame.height += addedHeight;
        }
        view.widget->setGeometry(pixels(frame.x), pixels(height() - frame.y - frame.height),
                                 std::max(0, pixels(frame.width)), std::max(0, pixels(frame.height)));
    }
}

void PaintedWindow::setText(const std::string& text) {
    const QString shown = QString::fromStdString(text);
    // The same text again would lose what is selected and how far it is scrolled.
    if (textView != nullptr && textView->toPlainText() != shown) textView->setPlainText(shown);
}

void PaintedWindow::setRows(const TableRows& rows) {
    if (tableView != nullptr) tableView->setRows(rows);
}

Placement PaintedWindow::placement() const {
    return {x(), y(), width(), height()};
}

void PaintedWindow::present(const std::optional<Placement>& placement) {
    if (!isVisible() && !std::exchange(wasPlaced, true)) place(placement);
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void PaintedWindow::place(const std::optional<Placement>& placement) {
    if (placement) {
        const QRect wanted(placement->x, placement->y, placement->width, placement->height);
        resize(wanted.size());
        // The screen that it was on may be gone.
        if (QGuiApplication::screenAt(wanted.center()) != nullptr) return move(wanted.topLeft());
    }
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    move(available.center() - rect().center());
}

/// Outside of dialogs, buttons know the space bar alone.
void PaintedWindow::keyPressEvent(QKeyEvent* event) {
    auto* button = qobject_cast<QAbstractButton*>(focusWidget());
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (button == nullptr || !isReturn || event->isAutoRepeat()) return QWidget::keyPressEvent(event);
    button->click();
}

void PaintedWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    closed();
}

}  // namespace quorvel::painter
