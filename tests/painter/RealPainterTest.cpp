#include <poll.h>
#include <signal.h>
#include <sstream>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "painter/ChannelHost.h"
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

    /// Runs the loop until the painter has done all it was told before, which its answer to this proves.
    void waitForPainter() {
        channel.decodeIcon(folder.path / "missing.icns", [this](const Lines& pngs) {
            EXPECT_TRUE(pngs.empty());
            loop.queue.quit();
        });
        loop.run();
    }

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
    PainterChannel channel{loop.queue, Lines{PAINTER, "--linger", "1"}};
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

/// One picture of 16 by 16 pixels: the planes of red, green and blue in two runs of 128 each, and a mask.
std::string icon() {
    const auto chunk = [](const std::string& type, const std::string& content) {
        const auto size = content.size() + 8;
        return type + std::string{0, 0, static_cast<char>(size >> 8), static_cast<char>(size & 255U)} +
               content;
    };
    const std::string pixels = "\xFD\x10\xFD\x10\xFD\x20\xFD\x20\xFD\x30\xFD\x30";
    return chunk("icns", chunk("is32", pixels) + chunk("s8mk", std::string(256, '\xFF')));
}

TEST_F(RealPainterTest, decodesAnIconAndNothingThatIsNone) {
    const std::string bytes = icon();
    const auto good = folder.write("good.icns", bytes);
    folder.write("large.icns", bytes + std::string(9 * 1024 * 1024, ' '));
    folder.write("other.icns", "\x89PNG\r\n");
    ASSERT_EQ(mkfifo((folder.path / "fifo.icns").c_str(), 0600), 0);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        folder.write("prefix" + std::to_string(length), bytes.substr(0, length));
    int none = 0;
    const auto expectNone = [&](const std::filesystem::path& name) {
        channel.decodeIcon(folder.path / name, [&none, name](const Lines& pngs) {
            EXPECT_TRUE(pngs.empty()) << name;
            ++none;
        });
    };
    for (const char* name : {"large.icns", "other.icns", "fifo.icns", "missing.icns", "."})
        expectNone(name);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        expectNone("prefix" + std::to_string(length));
    channel.decodeIcon(good, [this](const Lines& pngs) {
        loop.queue.quit();
        ASSERT_EQ(pngs.size(), 2U);
        // The side stands in the PNG header's first chunk.
        EXPECT_EQ(pngs[0].substr(0, 24),
                  std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x10\0\0\0\x10", 24));
        EXPECT_EQ(pngs[1].substr(16, 8), std::string("\0\0\0\x20\0\0\0\x20", 8));
    });
    loop.run();
    EXPECT_EQ(none, 5 + static_cast<int>(bytes.size()));
}

TEST_F(RealPainterTest, endsWithTheProgram) {
    auto owner = std::make_unique<PainterChannel>(loop.queue, Lines{PAINTER});
    owner->runAlert("message", "<b>more</b>", [] {});
    owner->decodeIcon("/", [this](const Lines&) { loop.queue.quit(); });
    loop.run();
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
