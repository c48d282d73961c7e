#include <stdlib.h>

#include "platform/linux/painter/PainterChannelFixture.h"

namespace quorvel {
namespace {

/// The painter itself, on a screen that nobody sees; what a user does there is for the desktop's own tests.
class RealPainterTest : public PainterChannelFixture {
protected:
    void SetUp() override {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
        channel = std::make_unique<PainterChannel>(queue,
                                                   Lines{PROGRAM_FOLDER "/quorvel-painter", "--linger", "1"});
    }

    /// Until the painter has done all it was sent before, which its answer to this proves: that there is no
    /// tray on this screen.
    void waitForPainter() {
        bool isMissing = false;
        const auto item = channel->makeTrayItem(nullptr);
        item->show([&] { isMissing = true; });
        waitFor([&] { return isMissing; });
    }
};

TEST_F(RealPainterTest, staysWhileAWindowIsOpenAndEndsAfterTheLastOneOrWithTheProgram) {
    auto text = makeLog();
    auto table = channel->makeWindow(
        {"Ignored", 480, 320, true, {TableView{{0, 44, 480, 276}, 20, {}, {{"name", "App Name", 280}}}}},
        delegate);
    delegate->rows = {{"name"}};
    text->show();
    waitForPainter();
    const int painter = childProcess();
    table->show();
    table->reloadTable();
    text->setText("second");
    waitForPainter();
    text.reset();
    waitForPainter();
    EXPECT_EQ(childProcess(), painter) << "one painter did all this";
    table.reset();
    waitForNoChild();
    channel->runAlert("message", "<b>more</b>", [] {});
    waitForPainter();
}

TEST_F(RealPainterTest, withoutADisplayAnAlertIsDismissedAtOnce) {
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("DISPLAY", "127.0.0.1:9999", 1);
    bool isDismissed = false;
    channel->runAlert("message", "", [&] { isDismissed = true; });
    waitFor([&] { return isDismissed; });
}

}  // namespace
}  // namespace quorvel
