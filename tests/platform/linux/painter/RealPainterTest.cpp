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
    auto first = makeLog(), second = makeLog();
    first->show();
    waitForPainter();
    const int painter = childProcess();
    second->show();
    first.reset();
    waitForPainter();
    EXPECT_EQ(childProcess(), painter) << "one painter did all this";
    second.reset();
    waitForNoChild();
    channel->runAlert("message", "", [] {});
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
