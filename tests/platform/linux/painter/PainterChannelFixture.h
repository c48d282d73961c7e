#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/painter/ChannelHost.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

using Lines = std::vector<std::string>;

inline const std::string hello = "say " + encode(painter::Event(painter::Hello())) + "\n";
/// The first window has the number 1.
inline const std::string press = "say [\"buttonPressed\",[1,\"Refresh\"]]\n";

/// A channel to painters that do what their scripts say.
class PainterChannelFixture : public testing::Test {
protected:
    /// What the painter's starts do, in turn.
    void script(const Lines& starts) {
        for (std::size_t index = 0; index < starts.size(); ++index)
            folder.write(std::to_string(index), starts[index]);
    }

    int starts() const {
        int count = 0;
        while (std::filesystem::exists(folder.path / ("started" + std::to_string(count))))
            ++count;
        return count;
    }

    /// The types of all that the painters were told, in order.
    std::string received() const {
        std::istringstream lines(folder.read("received"));
        std::string types;
        for (std::string line; std::getline(lines, line);)
            types += line.substr(2, line.find('"', 2) - 2) + ' ';
        return types;
    }

    int countOf(const std::string& text) const {
        const std::string all = folder.read("received");
        int count = 0;
        for (auto at = all.find(text); at != all.npos; at = all.find(text, at + 1))
            ++count;
        return count;
    }

    std::unique_ptr<Window> makeLog() {
        return channel->makeWindow({"Error Log", 600, 400, true, {TextView{{}, {}, 8, "first"}}}, delegate);
    }

    void open(const PainterLimits& limits = {}) {
        channel =
            std::make_unique<PainterChannel>(loop.queue, Lines{FAKE_PAINTER, folder.path.string()}, limits);
    }

    Task quit() {
        return [this] { loop.queue.quit(); };
    }

    void SetUp() override { open(); }

    TemporaryFolder folder;
    MainLoop loop;
    std::unique_ptr<PainterChannel> channel;
    std::shared_ptr<WindowLog> delegate = std::make_shared<WindowLog>(loop.queue);
};

}  // namespace quorvel
