#include <sys/wait.h>

#include "platform/linux/painter/PainterChannelFixture.h"

namespace quorvel {
namespace {

using PainterChannelTest = PainterChannelFixture;

TEST_F(PainterChannelTest, startsNothingBeforeItIsNeeded) {
    const auto window = makeLog();
    window->setText("second");
    window->reloadTable();
    loop.queue.post(quit());
    loop.run();
    EXPECT_EQ(starts(), 0);
}

TEST_F(PainterChannelTest, tellsWhatChangesAndReportsButtons) {
    script({hello + "read setText\n" + press + "read closeWindow\n" +
            "say [\"buttonPressed\",[2,\"Reset\"]]\nread end\n"});
    auto window = makeLog();
    const auto other = channel->makeWindow({}, delegate);
    window->setText("second");
    delegate->rows = {{"name", "1.0"}};
    window->show();
    window->reloadTable();
    window->setText("third");
    loop.run();
    EXPECT_EQ(received(), "hello showWindow setRows setText ");
    EXPECT_EQ(countOf("second"), 1);
    EXPECT_EQ(countOf("[\"name\",\"1.0\"]"), 2);
    EXPECT_EQ(delegate->timesAsked, 2);
    window.reset();
    loop.run();
    EXPECT_EQ(delegate->pressed, (Lines{"Refresh", "Reset"}));
}

TEST_F(PainterChannelTest, aButtonOfAWindowThatIsGoneDoesNothing) {
    script({hello + press + "say [\"buttonPressed\",[77,\"\"]]\n" +
            "say [\"alertDismissed\",[77]]\nread runAlert\n" + "say [\"alertDismissed\",[4]]\nread end\n"});
    makeLog()->show();
    const auto unheard = channel->makeWindow({}, std::weak_ptr<WindowDelegate>());
    channel->runAlert("message", "", quit());
    loop.run();
    EXPECT_TRUE(delegate->pressed.empty());
}

TEST_F(PainterChannelTest, replacesAPainterThatDiesAndShowsEverythingAgain) {
    script({hello + "read setPasteboard\n", hello + "read setPasteboard\n" + press + "read end\n"});
    const auto window = makeLog(), hidden = makeLog();
    window->show();
    window->setText("second");
    channel->runAlert("message", "", [] {});
    channel->setText("copied");
    loop.run();
    EXPECT_EQ(received(),
              "hello showWindow setText runAlert setPasteboard hello showWindow runAlert setPasteboard ");
    EXPECT_EQ(countOf("second"), 2) << "the text set last is what comes back";
    EXPECT_EQ(starts(), 2);
}

TEST_F(PainterChannelTest, anAlertThatIsShownAlreadyComesToTheFront) {
    script({hello + "read runAlert\nread runAlert\nread runAlert\n" + "say [\"alertDismissed\",[1]]\n" +
            "read runAlert\n" + "say [\"alertDismissed\",[3]]\nread end\n"});
    int dismissals = 0;
    const auto again = [&] {
        if (++dismissals == 2) channel->runAlert("message", "", quit());
    };
    channel->runAlert("message", "", again);
    channel->runAlert("message", "more", [] { FAIL() << "nobody dismissed it"; });
    channel->runAlert("message", "", again);
    loop.run();
    EXPECT_EQ(dismissals, 2);
    EXPECT_EQ(countOf("[1,\"message"), 2);
    EXPECT_EQ(countOf("[2,\"message"), 1);
}

/// A painter says hello once it has a display.
TEST_F(PainterChannelTest, tellsThatTheDisplayIsGoneWhenItWasThereBefore) {
    const std::string dies = hello + "read showWindow\n", findsNone;
    const std::vector<std::pair<Lines, int>> rows{
        {{dies, findsNone}, 1}, {{dies, dies}, 0}, {{findsNone, findsNone}, 0}};
    for (const auto& [scripts, expected] : rows) {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path))
            std::filesystem::remove(entry);
        open();
        script(scripts);
        int losses = 0;
        channel->onDisplayLost([&] { ++losses; });
        const auto window = makeLog();
        window->show();
        channel->runAlert("message", "", quit());
        loop.run();
        EXPECT_EQ(starts(), 2);
        EXPECT_EQ(losses, expected) << testing::PrintToString(scripts);
    }
}

TEST_F(PainterChannelTest, givesUpWhenTheNextOneDiesTooUntilSomethingIsAskedFor) {
    script({hello + "read runAlert\n", hello + "read runAlert\n", hello + "read showWindow\n" + press});
    const auto window = makeLog();
    window->show();
    int dismissals = 0;
    channel->runAlert("message", "", [&] {
        ++dismissals;
        loop.queue.quit();
    });
    loop.run();
    EXPECT_EQ(starts(), 2);
    EXPECT_EQ(dismissals, 1);
    window->show();
    loop.run();
    EXPECT_EQ(starts(), 3);
    EXPECT_EQ(delegate->pressed, Lines{"Refresh"});
    EXPECT_EQ(dismissals, 1);
}

TEST_F(PainterChannelTest, keepsReplacingPaintersThatLastedLongEnough) {
    PainterLimits limits;
    limits.restartPause = std::chrono::milliseconds(0);
    open(limits);
    const std::string dies = hello + "read showWindow\n";
    script({dies, dies, dies, dies + press});
    const auto window = makeLog();
    window->show();
    loop.run();
    EXPECT_EQ(starts(), 4);
}

TEST_F(PainterChannelTest, endsAndReplacesAPainterThatTalksNonsense) {
    const Lines nonsense = {
        "say nonsense\nhang\n",
        "say \nhang\n",
        "say [\"hello\",[1]]\nhang\n",
        "say [\"buttonPressed\",[1,\"\"]]\nhang\n",
        hello + hello + "hang\n",
        hello + "say [\"buttonPressed\",[-1,\"\"]]\nhang\n",
        hello + "say " + std::string(painter::maxEventSize + 1, 'x') + "\nhang\n",
    };
    PainterLimits limits;
    limits.restartPause = std::chrono::milliseconds(0);
    open(limits);
    auto all = nonsense;
    all.push_back(hello + "read showWindow\n" + press + "read end\n");
    script(all);
    const auto window = makeLog();
    window->show();
    loop.run();
    EXPECT_EQ(starts(), static_cast<int>(all.size()));
    EXPECT_EQ(delegate->pressed, Lines{"Refresh"}) << "nothing that nonsense said counts";
    for (std::size_t index = 0; index < nonsense.size(); ++index) {
        const auto pid = std::stoi(folder.read("started" + std::to_string(index)));
        // Either taken away already, or dead: the script would have it stay for ever.
        waitpid(pid, nullptr, 0);
    }
}

TEST_F(PainterChannelTest, doesNotWaitForEverForAHello) {
    PainterLimits limits;
    limits.helloTime = std::chrono::milliseconds(1);
    open(limits);
    script({"hang\n", "hang\n"});
    channel->runAlert("message", "", quit());
    loop.run();
}

TEST_F(PainterChannelTest, neverWaitsForAPainterThatDoesNotRead) {
    PainterLimits limits;
    limits.mostWaiting = 1024 * 1024;
    open(limits);
    script({hello + "hang\n", hello + "read showWindow\n" + press + "read end\n"});
    const auto window = makeLog();
    window->show();
    const std::string text(300'000, 'x');
    for (int count = 0; count < 6; ++count)
        window->setText(text);
    loop.run();
    EXPECT_EQ(starts(), 2);
    EXPECT_EQ(countOf(text), 1) << "the second painter is told the present state, not its history";
}

TEST_F(PainterChannelTest, aPainterThatEndsWithNothingToShowStaysEnded) {
    script({hello + "read showWindow\nsay [\"windowClosed\",[1,2,[5,6,700,500]]]\n" + press,
            hello + "read showWindow\n" + press + "read end\n"});
    const auto window = makeLog();
    window->show();
    loop.run();
    EXPECT_EQ(starts(), 1);
    window->setText("second");
    window->show();
    loop.run();
    EXPECT_EQ(starts(), 2);
    EXPECT_EQ(countOf(",[5,6,700,500],"), 1) << "it comes back where it was left";
    EXPECT_EQ(countOf("second"), 1);
}

TEST_F(PainterChannelTest, aClosingThatCrossesTheNextShowingDoesNotCount) {
    script({hello +
            "read showWindow\nread showWindow\n"
            "say [\"windowClosed\",[1,2,[0,0,9,9]]]\n" +
            press + "read setText\n" + press + "read end\n"});
    const auto window = makeLog();
    window->show();
    window->show();
    loop.run();
    window->setText("still open");
    loop.run();
    EXPECT_EQ(countOf("still open"), 1);
}

TEST_F(PainterChannelTest, aPasteboardThatAnotherProgramTookIsNotTakenBack) {
    script({hello + "read setPasteboard\nsay [\"pasteboardLost\",[2]]\n" + press + "read showWindow\n",
            hello + "read showWindow\n" + press + "read end\n"});
    const auto window = makeLog();
    channel->setText("copied");
    loop.run();
    window->show();
    loop.run();
    EXPECT_EQ(countOf("copied"), 1);
}

TEST_F(PainterChannelTest, alertsEndAlsoWhereNoPainterCanBeStarted) {
    channel = std::make_unique<PainterChannel>(loop.queue, Lines{(folder.path / "missing").string()});
    bool isInside = true;
    int dismissals = 0;
    channel->runAlert("message", "", [&] {
        EXPECT_FALSE(isInside);
        ++dismissals;
        loop.queue.quit();
    });
    isInside = false;
    loop.run();
    EXPECT_EQ(dismissals, 1);
}

TEST_F(PainterChannelTest, whatIsTooLongToSendEndsAtOnce) {
    script({hello + "read end\n"});
    channel->runAlert("message", std::string(painter::maxRequestSize, 'x'), quit());
    loop.run();
}

TEST_F(PainterChannelTest, windowsAndCompletionsOutliveTheChannelWithoutHarm) {
    script({hello + "read end\n"});
    const auto window = makeLog();
    window->show();
    channel->runAlert("message", "", [] { FAIL() << "its owner is gone"; });
    channel.reset();
    window->show();
    window->setText("second");
    window->reloadTable();
    loop.queue.post(quit());
    loop.run();
}

}  // namespace
}  // namespace quorvel
