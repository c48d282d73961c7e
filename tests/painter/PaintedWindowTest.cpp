#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QTableView>
#include <QTest>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <utility>

#include "painter/AlertBox.h"
#include "painter/Style.h"
#include "painter/MenuStyle.h"
#include "painter/PaintedWindow.h"
#include "painter/Painter.h"

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

WindowContent about() {
    return {"About <b>Quorvel</b>",
            400,
            320,
            false,
            {Label{{0, 220, 400, 30}, "Quorvel", {FontRole::boldSystem, 18}},
             Label{{0, 164, 400, 18}, "<i>Instance ID</i>", {FontRole::system, 11}, ColorRole::tertiaryLabel},
             Button{{50, 120, 140, 22}, "Orbisto Website", Button::Style::link},
             Button{{210, 120, 140, 22}, "Terms & Use", Button::Style::link}}};
}

WindowContent errorLog() {
    return {"Error Log",
            600,
            400,
            true,
            {TextView{{0, 40, 600, 360}, {FontRole::monospaced, 11}, 8, "<b>log</b>"},
             Button{{8, 8, 80, 24}, "Refresh"}, Button{{96, 8, 80, 24}, "Copy & go"}}};
}

WindowContent ignoredVersions() {
    return {"Ignored Versions",
            480,
            320,
            true,
            {TableView{
                 {0, 44, 480, 276}, 20, {}, {{"name", "App Name", 280}, {"version", "Ignored Version", 160}}},
             Button{{8, 8, 90, 28}, "Reset All"}}};
}

class PaintedWindowTest : public testing::Test {
protected:
    std::unique_ptr<PaintedWindow> open(const WindowContent& content) {
        auto window = std::make_unique<PaintedWindow>(
            content, [this](const std::string& title) { pressed.push_back(title); }, [this] { ++closings; });
        window->present(std::nullopt);
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
        return window;
    }

    std::vector<std::string> pressed;
    int closings = 0;
};

template <typename Kind>
Kind* child(QWidget& window, int index = 0) {
    return window.findChildren<Kind*>().at(index);
}

std::vector<QRect> geometries(const QWidget& window) {
    std::vector<QRect> all;
    for (const auto* widget : window.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        all.push_back(widget->geometry());
    return all;
}

TEST_F(PaintedWindowTest, turnsTheOriginToTheTopLeftAndCentresTheWindow) {
    const auto window = open(about());
    EXPECT_EQ(window->size(), QSize(400, 320));
    EXPECT_EQ(window->minimumSize(), window->maximumSize());
    EXPECT_EQ(
        geometries(*window),
        (std::vector<QRect>{{0, 70, 400, 30}, {0, 138, 400, 18}, {50, 178, 140, 22}, {210, 178, 140, 22}}));
    const QPoint off = window->frameGeometry().center() - window->screen()->availableGeometry().center();
    EXPECT_LE(off.manhattanLength(), 4) << "half the window's decoration at most";
}

TEST_F(PaintedWindowTest, whatScrollsGrowsWithTheWindowAndTheButtonsStayAtTheBottom) {
    struct Row {
        WindowContent content;
        QSize size;
        std::vector<QRect> expected;
    };
    const Row rows[] = {
        {errorLog(), {600, 400}, {{0, 0, 600, 360}, {8, 368, 80, 24}, {96, 368, 80, 24}}},
        {errorLog(), {700, 300}, {{0, 0, 700, 260}, {8, 268, 80, 24}, {96, 268, 80, 24}}},
        {ignoredVersions(), {480, 320}, {{0, 0, 480, 276}, {8, 284, 90, 28}}},
        {ignoredVersions(), {460, 500}, {{0, 0, 460, 456}, {8, 464, 90, 28}}},
    };
    for (const auto& [content, size, expected] : rows) {
        const auto window = open(content);
        window->resize(size);
        EXPECT_EQ(geometries(*window), expected) << content.title << ' ' << size.width();
    }
}

TEST_F(PaintedWindowTest, neverTakesATextForMarkup) {
    const auto aboutWindow = open(about());
    EXPECT_EQ(child<QLabel>(*aboutWindow, 1)->textFormat(), Qt::PlainText);
    EXPECT_EQ(child<QLabel>(*aboutWindow, 1)->text(), QStringLiteral("<i>Instance ID</i>"));
    const auto logWindow = open(errorLog());
    EXPECT_EQ(child<QPlainTextEdit>(*logWindow)->toPlainText(), QStringLiteral("<b>log</b>"));
    const AlertBox alert("<b>message</b>", "<i>more</i>");
    for (const auto* label : alert.findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
        }
    }
    EXPECT_EQ(alert.findChildren<QLabel*>().size(), 3);
}

TEST_F(PaintedWindowTest, aPressedButtonTellsItsTitle) {
    const auto window = open(errorLog());
    QTest::mouseClick(child<QPushButton>(*window, 1), Qt::LeftButton);
    child<QPushButton>(*window, 0)->setFocus();
    QTest::keyClick(child<QPushButton>(*window, 0), Qt::Key_Space);
    const auto links = open(about());
    QTest::mouseClick(child<QAbstractButton>(*links, 1), Qt::LeftButton);
    QTest::keyClick(child<QAbstractButton>(*links, 1), Qt::Key_Return);
    EXPECT_EQ(pressed, (std::vector<std::string>{"Copy & go", "Refresh", "Terms & Use", "Terms & Use"}));
}

TEST_F(PaintedWindowTest, escapeAndControlWCloseWhereverTheFocusIs) {
    for (const auto& content : {about(), errorLog(), ignoredVersions()}) {
        const auto window = open(content);
        closings = 0;
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : window.get(),
                        Qt::Key_Escape);
        EXPECT_FALSE(window->isVisible()) << content.title;
        window->present(std::nullopt);
        EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
        child<QAbstractButton>(*window)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_W, Qt::ControlModifier);
        EXPECT_FALSE(window->isVisible()) << content.title;
        EXPECT_EQ(closings, 2) << content.title;
    }
}

TEST_F(PaintedWindowTest, tabReachesEveryControl) {
    const std::pair<WindowContent, int> rows[] = {{about(), 2}, {errorLog(), 3}, {ignoredVersions(), 2}};
    for (const auto& [content, expected] : rows) {
        const auto window = open(content);
        std::set<QWidget*> reached;
        for (int count = 0; count < 6; ++count) {
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : window.get(),
                            Qt::Key_Tab);
            reached.insert(QApplication::focusWidget());
        }
        EXPECT_EQ(static_cast<int>(reached.size()), expected) << content.title;
    }
}

TEST_F(PaintedWindowTest, theFocusStartsAtWhatScrollsElseBeforeTheFirstLink) {
    EXPECT_EQ(open(errorLog())->focusWidget()->metaObject()->className(), std::string("QPlainTextEdit"));
    EXPECT_EQ(open(ignoredVersions())->focusWidget()->metaObject()->className(), std::string("QTableWidget"));
    const auto window = open(about());
    QTest::keyClick(window.get(), Qt::Key_Tab);
    auto* const link = child<QAbstractButton>(*window, 0);
    EXPECT_EQ(QApplication::focusWidget(), link);
    const QImage reachedByKey = link->grab().toImage();
    window->setFocus();
    link->setFocus(Qt::MouseFocusReason);
    EXPECT_NE(link->grab().toImage(), reachedByKey) << "only who uses keys needs to see the focus";
}

TEST_F(PaintedWindowTest, anAlertShowsAllOfALongTextAndStillFitsTheScreen) {
    std::string lines;
    for (int line = 0; line < 300; ++line)
        lines += "#" + std::to_string(line) + " <b>somewhere</b>\n";
    AlertBox alert("It happened.", lines);
    const auto details = alert.findChildren<QPlainTextEdit*>();
    ASSERT_EQ(details.size(), 1);
    EXPECT_EQ(details[0]->toPlainText().toStdString(), lines);
    EXPECT_LT(alert.sizeHint().height(), 400);
    EXPECT_TRUE(AlertBox("It happened.", "At once.").findChildren<QPlainTextEdit*>().isEmpty());
}

TEST_F(PaintedWindowTest, theTableShowsItsRowsEachOnOneLine) {
    const auto window = open(ignoredVersions());
    window->setRows({{"<b>Name</b>\nnext", "1.0"}, {"only a name"}});
    auto* table = child<QTableView>(*window);
    const auto textAt = [table](int row, int column) {
        return table->model()->index(row, column).data().toString().toStdString();
    };
    EXPECT_EQ(textAt(0, 0), "<b>Name</b> next");
    EXPECT_EQ(textAt(1, 1), "");
    EXPECT_EQ(table->rowHeight(1), 20);
    EXPECT_EQ(table->columnWidth(0), 280);
    EXPECT_GE(table->columnWidth(1), 160) << "the last column takes the rest";
    EXPECT_EQ(table->model()->headerData(1, Qt::Horizontal).toString(), QStringLiteral("Ignored Version"));
    EXPECT_EQ(table->horizontalHeader()->font(),
              table->font());
    window->resize(1, 1);
    EXPECT_FALSE(table->horizontalScrollBar()->isVisible());
    EXPECT_GT(table->columnWidth(1), 140) << "both columns stay in sight";
    window->setFocus();
    const QImage unfocused = table->viewport()->grab().toImage();
    table->setFocus();
    ASSERT_TRUE(table->currentIndex().isValid());
    EXPECT_EQ(table->viewport()->grab().toImage(), unfocused) << "no frame round a cell";
    table->setColumnWidth(0, 1000);
    EXPECT_FALSE(table->horizontalScrollBar()->isVisible());
    window->setRows({});
    EXPECT_EQ(table->model()->rowCount(), 0);
}

TEST_F(PaintedWindowTest, theLogCanBeSelectedButNotChanged) {
    const auto window = open(errorLog());
    auto* const log = child<QPlainTextEdit>(*window);
    QTest::keyClick(log, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(log->textCursor().selectedText(), QStringLiteral("<b>log</b>"));
    QTest::keyClick(log, Qt::Key_X);
    QTest::keyClick(log, Qt::Key_Delete);
    EXPECT_EQ(log->toPlainText(), QStringLiteral("<b>log</b>"));
}

TEST_F(PaintedWindowTest, labelsStandInTheMiddleInTheColourOfTheirRole) {
    for (const auto role : {ColorRole::label, ColorRole::secondaryLabel, ColorRole::tertiaryLabel}) {
        const auto window = open(
            {"T", 200, 120, false, {Label{{20, 10, 160, 100}, "MMM", {FontRole::boldSystem, 30}, role}}});
        const QImage picture = child<QLabel>(*window)->grab().toImage();
        const QRgb expected = colorFor(role, window->palette()).rgb();
        QRect inked;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixel(x, y) == expected) inked |= QRect(x, y, 1, 1);
            }
        }
        EXPECT_GT(inked.width(), 40);
        EXPECT_LE((inked.center() - picture.rect().center()).manhattanLength(), 6) << static_cast<int>(role);
    }
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

TEST_F(PaintedWindowTest, everyWindowCanBeClosedAndComesToTheFrontWhenItIsAskedFor) {
    const auto below = open(about());
    for (const auto& content : {about(), errorLog(), ignoredVersions()}) {
        const auto above = open(content);
        EXPECT_TRUE(above->windowFlags().testFlag(Qt::WindowCloseButtonHint)) << content.title;
        EXPECT_EQ(above->windowFlags().testFlag(Qt::WindowMaximizeButtonHint), content.isResizable);
        below->showMinimized();
        const Raises raises(below.get());
        below->present(std::nullopt);
        EXPECT_FALSE(below->isMinimized());
        EXPECT_TRUE(QTest::qWaitForWindowActive(below.get())) << content.title;
        EXPECT_EQ(raises.count, 1) << content.title;
    }
}

TEST_F(PaintedWindowTest, anAlertThatIsShownComesToTheFrontWhenItIsRunAgain) {
    Painter painter(std::chrono::hours(1), [](const Event&) {}, [] {});
    const auto alerts = [] {
        std::vector<QWidget*> boxes;
        for (auto* const widget : QApplication::topLevelWidgets()) {
            if (widget->inherits("QDialog")) boxes.push_back(widget);
        }
        return boxes;
    };
    painter.perform(Request(RunAlert{1, "first", "", ""}));
    ASSERT_EQ(alerts().size(), 1U);
    QWidget* const first = alerts().front();
    painter.perform(Request(RunAlert{2, "second", "", ""}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() != first; }));
    const Raises raises(first);
    painter.perform(Request(RunAlert{1, "first", "", ""}));
    EXPECT_EQ(alerts().size(), 2U);
    EXPECT_EQ(raises.count, 1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == first; }));
}

TEST_F(PaintedWindowTest, aNewTextIsShownFromItsStartAndTheSameOneKeepsItsPlace) {
    const auto window = open(errorLog());
    const std::string lines(500, '\n');
    window->setText(lines);
    auto* scroller = child<QPlainTextEdit>(*window)->verticalScrollBar();
    scroller->setValue(100);
    window->setText(lines);
    EXPECT_EQ(scroller->value(), 100);
    window->setText(lines + "more");
    EXPECT_EQ(scroller->value(), 0);
}

TEST_F(PaintedWindowTest, fontsHaveAPixelForAPoint) {
    const auto window = open(about());
    EXPECT_EQ(child<QLabel>(*window, 0)->font().pixelSize(), 18);
    EXPECT_TRUE(child<QLabel>(*window, 0)->font().bold());
    EXPECT_EQ(child<QLabel>(*window, 1)->font().pixelSize(), 11);
    EXPECT_EQ(child<QPlainTextEdit>(*open(errorLog()))->font().pixelSize(), 11);
    EXPECT_EQ(child<QPushButton>(*open(errorLog()))->font().pixelSize(), 13);
}

TEST_F(PaintedWindowTest, everyControlHasAName) {
    for (const auto& content : {about(), errorLog(), ignoredVersions()}) {
        const auto window = open(content);
        for (const auto* widget : window->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
            EXPECT_FALSE(widget->accessibleName().isEmpty())
                << content.title << ": " << widget->metaObject()->className();
    }
}

TEST_F(PaintedWindowTest, comesBackWhereItWasLeftUnlessThatScreenIsGone) {
    PaintedWindow left(errorLog(), [](const std::string&) {}, [] {});
    left.present(Placement{30, 40, 650, 450});
    EXPECT_EQ(left.placement(), (Placement{30, 40, 650, 450}));
    left.close();
    left.resize(620, 420);
    left.present(Placement{30, 40, 650, 450});
    EXPECT_EQ(left.size(), QSize(620, 420)) << "a window that is still there keeps its own size";
    PaintedWindow lost(errorLog(), [](const std::string&) {}, [] {});
    lost.present(Placement{20'000, 40, 650, 450});
    EXPECT_NE(QGuiApplication::screenAt(lost.geometry().center()), nullptr);
    EXPECT_EQ(lost.size(), QSize(650, 450));
}

TEST_F(PaintedWindowTest, colorsStayLegibleOnLightAndDark) {
    for (const auto& [text, ground] : {std::pair{Qt::black, 0xEFEFEF}, std::pair{Qt::white, 0x303030}}) {
        QPalette palette;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Window, QColor(static_cast<QRgb>(ground)));
        palette.setColor(QPalette::Link, Qt::blue);
        const auto distance = [&palette](const QColor& color) {
            return std::abs(color.lightness() - palette.color(QPalette::Window).lightness());
        };
        const int label = distance(colorFor(ColorRole::label, palette));
        const int secondary = distance(colorFor(ColorRole::secondaryLabel, palette));
        const int tertiary = distance(colorFor(ColorRole::tertiaryLabel, palette));
        EXPECT_TRUE(label > secondary && secondary > tertiary && tertiary > 90)
            << label << ' ' << secondary << ' ' << tertiary;
        EXPECT_GT(distance(linkColor(palette)), 60);
    }
}

}  // namespace
}  // namespace quorvel::painter
