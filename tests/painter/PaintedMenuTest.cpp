#include <QApplication>
#include <QBuffer>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "painter/PaintedMenu.h"
#include "painter/PainterFixture.h"

namespace quorvel::painter {
namespace {

using Item = MenuContent::Item;

Item item(std::uint64_t number, const std::string& title) {
    Item made;
    made.number = number;
    made.title = title;
    return made;
}

std::vector<std::uint8_t> pngOf(const QColor& color, int side) {
    QPixmap picture(side, side);
    picture.fill(color);
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    picture.save(&file, "PNG");
    return {file.data().begin(), file.data().end()};
}

/// An update with its submenu, a check mark, and "Quit" with its key.
MenuContent sample() {
    Item updates = item(1, "New Versions Available (1)"), mark = item(3, "Color Icon"), separator,
         quit = item(4, "Quit");
    updates.submenu = std::vector{item(2, "R&D_&amp;\n1.0 \u2192 2.0")};
    updates.submenu->front().picture = pngOf(Qt::red, 32);
    mark.state = MenuItem::State::on;
    separator.isSeparator = true;
    quit.keyEquivalent = "q";
    return {{updates, mark, separator, quit}};
}

TEST(PaintedMenuTest, showsEveryKindOfItemAsItIs) {
    PaintedMenu menu([](std::uint64_t) {});
    menu.setContent(sample());
    const auto actions = menu.actions();
    ASSERT_EQ(actions.size(), 4);
    EXPECT_TRUE(actions[1]->isCheckable() && actions[1]->isChecked());
    EXPECT_FALSE(actions[0]->isCheckable());
    EXPECT_TRUE(actions[2]->isSeparator());
    EXPECT_EQ(actions[3]->shortcut(), QKeySequence(QStringLiteral("Ctrl+Q")));
    const auto* const update = actions[0]->menu()->actions().at(0);
    // A doubled ampersand is drawn as one, and a line separator begins the second line.
    EXPECT_EQ(update->text(), QStringLiteral("R&&D_&&amp;\u20281.0 \u2192 2.0"));
    const auto icon = update->icon().pixmap(QSize(16, 16)).toImage();
    EXPECT_EQ(icon.deviceIndependentSize(), QSizeF(16, 16)) << "twice the pixels of its points";
    EXPECT_EQ(icon.pixelColor(8, 8), QColor(Qt::red));
}

TEST(PaintedMenuTest, drawsATitleOfTwoLinesOneBelowTheOther) {
    PaintedMenu menu([](std::uint64_t) {});
    const auto draw = [&](const std::string& title) {
        menu.setContent({{item(1, title)}});
        // Within the frame of the menu.
        const QRect place = menu.actionGeometry(menu.actions().front()).adjusted(1, 1, -1, -1);
        const int half = place.height() / 2;
        const QImage picture = menu.grab(place).toImage();
        return std::pair{picture.copy(0, 0, place.width(), half), picture.copy(0, half, place.width(), half)};
    };
    const auto both = draw("HHHHHHHH\nHHHH"), first = draw("HHHHHHHH\n ");
    QImage blank = first.second;
    blank.fill(blank.pixelColor(0, 0));
    EXPECT_GT(both.first.height() * 2, draw("H").first.height() * 3) << "the second line has its room";
    EXPECT_EQ(both.first, first.first);
    EXPECT_EQ(first.second, blank) << "each stays in its half";
    EXPECT_NE(both.second, blank);
    EXPECT_NE(first.first, blank);
}

class PaintedPopUpTest : public PainterFixture {
protected:
    void popUp(std::uint64_t number) { painter.perform(PopUpMenu{number, sample(), ""}); }
    static QWidget* open() { return QApplication::activePopupWidget(); }
};

const std::string closed = encode(MenuClosed{7});

TEST_F(PaintedPopUpTest, reportsTheChoiceAndThenTheClosing) {
    struct Row {
        std::vector<QKeyCombination> keys;
        std::vector<std::string> expected;
    };
    const QKeyCombination quit = Qt::CTRL | Qt::Key_Q;
    const auto choice = [](std::uint64_t item) { return std::vector{encode(MenuItemChosen{item}), closed}; };
    const Row rows[] = {{{Qt::Key_Down, Qt::Key_Down, Qt::Key_Return}, choice(3)},
                        {{Qt::Key_Down, Qt::Key_Right, Qt::Key_Return}, choice(2)},
                        {{Qt::Key_Down, Qt::Key_Right, quit}, choice(4)},
                        {{Qt::Key_Escape}, {closed}}};
    for (const auto& [keys, expected] : rows) {
        reported.clear();
        popUp(7);
        for (const auto key : keys) {
            ASSERT_NE(open(), nullptr);
            QTest::keyClick(open(), key.key(), key.keyboardModifiers());
        }
        EXPECT_EQ(events(expected.size()), expected);
        EXPECT_EQ(open(), nullptr);
    }
}

TEST_F(PaintedPopUpTest, closesWhenAnotherProgramBecomesActiveAndThePainterIsNeededNoMore) {
    popUp(7);
    // The time to linger is over at once.
    QApplication::processEvents();
    QApplication::processEvents();
    EXPECT_FALSE(isOver) << "a menu is open";
    Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
    EXPECT_EQ(events(1), std::vector{closed});
    EXPECT_EQ(open(), nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return isOver; }));
}

TEST_F(PaintedPopUpTest, changesInItsPlaceWhileItIsOpenAndOnlyThen) {
    popUp(6);
    popUp(7);
    for (const auto key : {Qt::Key_Down, Qt::Key_Down})
        QTest::keyClick(open(), key);
    auto changed = sample();
    changed.items[1].number = 9;
    painter.perform(SetMenu{7, changed});
    painter.perform(SetMenu{6, {{item(8, "of another")}}});
    QTest::keyClick(open(), Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !reported.empty() && reported.back() == closed; }));
    EXPECT_EQ(std::ranges::count(reported, encode(MenuItemChosen{9})), 1) << "it stays at its item";
    painter.perform(SetMenu{7, sample()});
    EXPECT_EQ(open(), nullptr);
}

TEST_F(PaintedPopUpTest, withoutATrayItSaysSoAndIsNotNeededForIt) {
    painter.perform(ShowTrayIcon{5, {}, "Quorvel", sample()});
    EXPECT_EQ(events(1), std::vector{encode(TrayIconMissing{5})});
    EXPECT_TRUE(QTest::qWaitFor([&] { return isOver; }));
}

}  // namespace
}  // namespace quorvel::painter
