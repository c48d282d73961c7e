#include <gtest/gtest.h>

#include "cli/Console.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

TEST(Progress, saysWhatIsWaitedForAfterASecondWhereItCanBeTakenAway) {
    for (const bool hasControls : {true, false}) {
        char* text = nullptr;
        std::size_t length = 0;
        std::FILE* const stream = open_memstream(&text, &length);
        const auto written = [&] {
            std::fflush(stream);
            return std::string(text, length);
        };
        FakeQueue queue;
        Progress progress(
            queue, {.isTerminal = true, .hasControls = hasControls, .colour = false, .width = std::nullopt},
            stream);
        progress.waitFor("one");
        queue.advance(std::chrono::milliseconds(999));
        EXPECT_EQ(written(), "");
        queue.advance(std::chrono::milliseconds(1));
        progress.waitFor("two");
        progress.show();
        progress.clear();
        progress.clear();
        progress.show();
        EXPECT_EQ(written(), hasControls ? "\r\x1b[Kone\r\x1b[Ktwo\r\x1b[Ktwo\r\x1b[K" : "");
        std::fclose(stream);
        free(text);
    }
}

}  // namespace
}  // namespace quorvel
