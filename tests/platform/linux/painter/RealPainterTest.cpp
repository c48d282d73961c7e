#include <poll.h>
#include <signal.h>
#include <sstream>
#include <stdlib.h>
#include <sys/wait.h>

#include "platform/linux/painter/ChannelHost.h"
#include "support/TemporaryFolder.h"

// glibc 2.36 declares it for C alone.
extern "C" {
#include <sys/pidfd.h>
}

namespace quorvel {
namespace {

using Lines = std::vector<std::string>;

/// The painter itself, on a screen that nobody sees; what a user does there is for the desktop's own tests.
class RealPainterTest : public testing::Test {
protected:
    void SetUp() override {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
    }

    /// Runs the loop until the painter has done all it was told before, which its answer to this proves: that
    /// there is no tray on this screen.
    void waitForPainter(PainterChannel& told) {
        const auto item = told.makeTrayItem(nullptr);
        item->show([this] { loop.queue.quit(); });
        loop.run();
    }
    void waitForPainter() { waitForPainter(channel); }

    /// The painter, which is this process's only child; -1 when there is none.
    static pid_t child() {
        const auto pid = getpid();
        std::istringstream children(TemporaryFolder::contentOf("/proc/" + std::to_string(pid) + "/task/" +
                                                               std::to_string(pid) + "/children"));
        pid_t found = -1;
        children >> found;
        return found;
    }

    static void waitForEnd(pid_t painter) {
        pollfd process{pidfd_open(painter, 0), POLLIN, 0};
        ASSERT_GE(process.fd, 0);
        EXPECT_EQ(poll(&process, 1, 60'000), 1) << "the painter stays";
        close(process.fd);
        // The loop does not run on to take it away.
        waitpid(painter, nullptr, 0);
    }

    TemporaryFolder folder;
    MainLoop loop;
    PainterChannel channel{loop.queue, Lines{PROGRAM_FOLDER "/quorvel-painter", "--linger", "1"}};
    std::shared_ptr<WindowLog> delegate = std::make_shared<WindowLog>(loop.queue);
};

TEST_F(RealPainterTest, staysWhileAWindowIsOpenAndEndsAfterTheLastOne) {
    auto text = channel.makeWindow(
        {"Error Log", 600, 400, true, {TextView{{0, 40, 600, 360}, {}, 8, "first"}}}, delegate);
    auto table = channel.makeWindow(
        {"Ignored", 480, 320, true, {TableView{{0, 44, 480, 276}, 20, {}, {{"name", "App Name", 280}}}}},
        delegate);
    delegate->rows = {{"name"}};
    text->show();
    waitForPainter();
    const pid_t painter = child();
    table->show();
    table->reloadTable();
    text->setText("second");
    waitForPainter();
    text.reset();
    waitForPainter();
    EXPECT_EQ(child(), painter) << "one painter did all this";
    EXPECT_EQ(delegate->timesAsked, 3);
    table.reset();
    waitForEnd(painter);
}

TEST_F(RealPainterTest, showsItsWindowAgainAfterItWasKilled) {
    const auto window = channel.makeWindow({"Title", 100, 100, false, {}}, delegate);
    window->show();
    waitForPainter();
    const pid_t killed = child();
    kill(killed, SIGKILL);
    waitForEnd(killed);
    // The first answer is that of the dead one: none.
    waitForPainter();
    waitForPainter();
    EXPECT_NE(child(), killed);
    EXPECT_EQ(delegate->timesAsked, 2);
}

TEST_F(RealPainterTest, endsWithTheProgram) {
    auto owner = std::make_unique<PainterChannel>(loop.queue, Lines{PROGRAM_FOLDER "/quorvel-painter"});
    owner->runAlert("message", "<b>more</b>", [] {});
    waitForPainter(*owner);
    const pid_t painter = child();
    owner.reset();
    waitForEnd(painter);
}

TEST_F(RealPainterTest, withoutADisplayAnAlertIsDismissedAtOnce) {
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("DISPLAY", "127.0.0.1:9999", 1);
    channel.runAlert("message", "", [this] { loop.queue.quit(); });
    loop.run();
}

}  // namespace
}  // namespace quorvel
