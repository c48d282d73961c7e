#include <QApplication>
#include <QBitmap>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTableWidget>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <set>

#include "painter/AlertBox.h"
#include "painter/MenuStyle.h"
#include "painter/PainterFixture.h"
#include "painter/Style.h"

namespace quorvel::painter {
namespace {

/// Without a display, and the same on every desktop.
class Toolkit : public testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QApplication>(count, arguments.data());
        QApplication::setQuitOnLastWindowClosed(false);
        QApplication::setStyle(new MenuStyle);
    }
    void TearDown() override { application.reset(); }

private:
    int count = 1;
    std::string name = "test";
    std::vector<char*> arguments{name.data(), nullptr};
    std::unique_ptr<QApplication> application;
};

const auto* const toolkit = testing::AddGlobalTestEnvironment(new Toolkit);

const WindowContent fixed{
    "Fixed",
    400,
    320,
    false,
    {Label{{0, 220, 400, 30}, "MMM", {FontRole::boldSystem, 18}},
     Label{{0, 164, 400, 18}, "<i>ID</i>", {FontRole::system, 11}, ColorRole::tertiaryLabel},
     Button{{50, 120, 140, 22}, "Website", Button::Style::link},
     Button{{210, 120, 140, 22}, "Terms & Use", Button::Style::link}}};
const WindowContent texts{"Texts",
                          600,
                          400,
                          true,
                          {TextView{{0, 40, 600, 360}, {FontRole::monospaced, 11}, 8, "<b>log</b>"},
                           Button{{8, 8, 80, 24}, "Refresh"}, Button{{96, 8, 80, 24}, "Copy & go"}}};
const WindowContent rows{
    "Rows",
    480,
    320,
    true,
    {TableView{{0, 44, 480, 276}, 20, {}, {{"name", "Name", 280}, {"version", "Version", 160}}},
     Button{{8, 8, 90, 28}, "Reset All"}}};

using PaintedWindowTest = PainterFixture;

void press(QWidget* window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : window, key, modifiers);
}

/// How often the widget is laid before all others.
class Raises final : public QObject {
public:
    explicit Raises(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::ZOrderChange ? 1 : 0;
        return false;
    }
    int count = 0;
};

template <typename Kind>
Kind* child(const QWidget* window, int index = 0) {
    return window->findChildren<Kind*>().at(index);
}

TEST_F(PaintedWindowTest, viewsStandFromTheBottomLeftAndWhatScrollsGrowsWithTheWindow) {
    const struct {
        const WindowContent& content;
        QSize size;
        std::vector<QRect> expected;
    } table[] = {
        {fixed, {400, 320}, {{0, 70, 400, 30}, {0, 138, 400, 18}, {50, 178, 140, 22}, {210, 178, 140, 22}}},
        {texts, {700, 300}, {{0, 0, 700, 260}, {8, 268, 80, 24}, {96, 268, 80, 24}}},
        {rows, {460, 500}, {{0, 0, 460, 456}, {8, 464, 90, 28}}},
    };
    for (const auto& [content, size, expected] : table) {
        auto* const shown = open(content);
        const QPoint off = shown->frameGeometry().center() - shown->screen()->availableGeometry().center();
        EXPECT_LE(off.manhattanLength(), 4) << "half the window's decoration at most";
        shown->resize(size);
        std::vector<QRect> all;
        for (const auto* widget : shown->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            all.push_back(widget->geometry());
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
        }
        EXPECT_EQ(all, expected) << content.title << ' ' << size.width();
        EXPECT_EQ(shown->minimumSize() == shown->maximumSize(), !content.isResizable);
        EXPECT_EQ(shown->windowFlags().testFlag(Qt::WindowMaximizeButtonHint), content.isResizable);
    }
}

TEST_F(PaintedWindowTest, keysReachEveryControlAndCloseTheWindow) {
    const std::pair<WindowContent, std::size_t> table[] = {{fixed, 2}, {texts, 3}, {rows, 2}};
    for (const auto& [content, controls] : table) {
        auto* const shown = open(content);
        std::set<QWidget*> reached;
        for (int count = 0; count < 6; ++count) {
            press(shown, Qt::Key_Tab);
            reached.insert(QApplication::focusWidget());
        }
        EXPECT_EQ(reached.size(), controls) << content.title;
        press(shown, Qt::Key_Escape);
        EXPECT_FALSE(shown->isVisible()) << content.title;
        --window;
        EXPECT_EQ(open(content), shown) << "as it was left";
        press(shown, Qt::Key_W, Qt::ControlModifier);
        EXPECT_FALSE(shown->isVisible()) << content.title;
    }
    EXPECT_EQ(open(texts)->focusWidget()->metaObject()->className(), std::string("QPlainTextEdit"));
}

TEST_F(PaintedWindowTest, aPressedButtonGivesItsTitle) {
    auto* const copy = child<QPushButton>(open(texts), 1);
    QTest::mouseClick(copy, Qt::LeftButton);
    EXPECT_EQ(copy->text(), QStringLiteral("Copy && go")) << "no mnemonic";
    auto* const links = open(fixed);
    auto* const link = child<QAbstractButton>(links, 1);
    QTest::mouseClick(link, Qt::LeftButton);
    const QImage clicked = link->grab().toImage();
    press(links, Qt::Key_Return);
    const auto terms = encode(ButtonPressed{2, "Terms & Use"});
    EXPECT_EQ(reported, (std::vector{encode(ButtonPressed{1, "Copy & go"}), terms, terms}));
    press(links, Qt::Key_Backtab);
    press(links, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), link);
    EXPECT_NE(link->grab().toImage(), clicked) << "who uses keys sees the focus";
}

TEST_F(PaintedWindowTest, labelsStandInTheMiddleInTheFontAndTheColourOfTheirRole) {
    for (const auto role : {ColorRole::label, ColorRole::secondaryLabel, ColorRole::tertiaryLabel}) {
        auto* const label = child<QLabel>(open(
            {"T", 200, 120, false, {Label{{20, 10, 160, 100}, "MMM", {FontRole::boldSystem, 30}, role}}}));
        const QImage picture = label->grab().toImage();
        const auto inked = QRegion(QBitmap::fromImage(
            picture.createMaskFromColor(colorFor(role, label->palette()).rgb(), Qt::MaskOutColor)));
        EXPECT_GT(inked.boundingRect().width(), 40);
        EXPECT_LE((inked.boundingRect().center() - picture.rect().center()).manhattanLength(), 6);
        EXPECT_EQ(label->font().pixelSize(), 30);
        EXPECT_TRUE(label->font().bold());
    }
    EXPECT_FALSE(child<QLabel>(open(fixed), 1)->font().bold());
}

TEST_F(PaintedWindowTest, theTableShowsItsRowsEachOnOneLine) {
    auto* const shown = open(rows);
    painter.perform(SetRows{
        1, {{"<b>Name</b>\nnext", "1.0"}, {"only a name"}, {"a", "b", "more than there are columns"}}});
    auto* const table = child<QTableWidget>(shown);
    EXPECT_EQ(table->item(0, 0)->text(), QStringLiteral("<b>Name</b> next"));
    EXPECT_EQ(table->item(1, 1), nullptr);
    EXPECT_EQ(table->rowCount(), 3);
    EXPECT_EQ(table->rowHeight(1), 20);
    EXPECT_EQ(table->horizontalHeaderItem(1)->text(), QStringLiteral("Version"));
    shown->resize(1, 1);
    EXPECT_FALSE(table->horizontalScrollBar()->isVisible());
    EXPECT_GT(table->columnWidth(1), 140) << "both columns stay in sight";
    table->setCurrentCell(0, 0);
    QTest::keyClick(table, Qt::Key_F2);
    EXPECT_TRUE(table->findChildren<QLineEdit*>().isEmpty()) << "nothing can be edited";
}

TEST_F(PaintedWindowTest, aTextCannotBeChangedAndKeepsItsPlaceUntilItIsAnother) {
    auto* const log = child<QPlainTextEdit>(open(texts));
    QTest::keyClick(log, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(log->textCursor().selectedText(), QStringLiteral("<b>log</b>"));
    QTest::keyClick(log, Qt::Key_X);
    EXPECT_EQ(log->toPlainText(), QStringLiteral("<b>log</b>"));
    const std::string lines(500, '\n');
    painter.perform(SetText{1, lines});
    log->verticalScrollBar()->setValue(100);
    painter.perform(SetText{1, lines});
    EXPECT_EQ(log->verticalScrollBar()->value(), 100);
    painter.perform(SetText{1, lines + "more"});
    EXPECT_EQ(log->verticalScrollBar()->value(), 0);
}

TEST_F(PaintedWindowTest, comesBackWhereItWasLeftUnlessThatScreenIsGone) {
    auto* const left = open(texts, Placement{30, 40, 650, 450});
    left->close();
    EXPECT_EQ(reported, std::vector{encode(WindowClosed{1, 1, {30, 40, 650, 450}})});
    left->resize(620, 420);
    --window;
    open(texts, Placement{30, 40, 650, 450});
    EXPECT_EQ(left->size(), QSize(620, 420)) << "a window that is still there keeps its own size";
    left->showMinimized();
    const Raises raises(left);
    painter.perform(ShowWindow{1, 2, texts, {}, std::nullopt, ""});
    EXPECT_FALSE(left->isMinimized());
    EXPECT_EQ(raises.count, 1) << "it comes to the front";
    const auto* const lost = open(texts, Placement{20'000, 40, 650, 450});
    EXPECT_NE(QGuiApplication::screenAt(lost->geometry().center()), nullptr);
    EXPECT_EQ(lost->size(), QSize(650, 450));
}

TEST_F(PaintedWindowTest, aRequestReachesTheWindowOrTheAlertOfItsNumber) {
    const auto* const table =
        child<QTableWidget>(show(ShowWindow{1, 1, rows, {{"a"}, {"b"}}, std::nullopt, "token"}));
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token");
    qunsetenv("XDG_ACTIVATION_TOKEN");
    const auto* const text = child<QPlainTextEdit>(show(ShowWindow{2, 2, texts, {}, std::nullopt, ""}));
    QWidget* const alert = show(RunAlert{1, "first", "", ""});
    show(RunAlert{2, "second", "", ""});
    for (const std::uint64_t number : {3U, 2U, 1U}) {
        EXPECT_EQ(table->rowCount(), 2);
        painter.perform(SetRows{number, {{"c"}}});
        painter.perform(SetText{number, std::to_string(number)});
    }
    EXPECT_EQ(table->rowCount(), 1);
    EXPECT_EQ(text->toPlainText(), QStringLiteral("2"));
    const Raises raises(alert);
    EXPECT_EQ(show(RunAlert{1, "first", "", ""}), alert);
    EXPECT_EQ(raises.count, 1);
    child<QPushButton>(alert)->click();
    EXPECT_EQ(reported, std::vector{encode(AlertDismissed{1})});
    painter.perform(SetPasteboard{1, "<b>copied</b>"});
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("<b>copied</b>"));
}

TEST_F(PaintedWindowTest, anAlertShowsAllOfALongTextAsItIsAndStillFitsTheScreen) {
    std::string lines;
    for (int line = 0; line < 300; ++line)
        lines += "#" + std::to_string(line) + " <b>somewhere</b>\n";
    const AlertBox alert("It <b>happened</b>.", lines), other("It happened.", std::string(400, 'x'));
    EXPECT_EQ(child<QPlainTextEdit>(&alert)->toPlainText().toStdString(), lines);
    EXPECT_LT(alert.sizeHint().height(), 400);
    EXPECT_TRUE(other.findChildren<QPlainTextEdit*>().isEmpty());
    for (const auto* label : alert.findChildren<QLabel*>() + other.findChildren<QLabel*>())
        EXPECT_TRUE(label->text().isEmpty() || label->textFormat() == Qt::PlainText);
}

TEST_F(PaintedWindowTest, colorsStayLegibleOnLightAndDark) {
    for (const auto& [text, ground] : {std::pair{Qt::black, 0xEFEFEF}, std::pair{Qt::white, 0x303030}}) {
        QPalette palette;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Window, QColor(static_cast<QRgb>(ground)));
        palette.setColor(QPalette::Link, Qt::blue);
        const auto distance = [&](const QColor& color) {
            return std::abs(color.lightness() - palette.color(QPalette::Window).lightness());
        };
        EXPECT_GT(distance(colorFor(ColorRole::tertiaryLabel, palette)), 90);
        EXPECT_GT(distance(linkColor(palette)), 60);
    }
}

}  // namespace
}  // namespace quorvel::painter
