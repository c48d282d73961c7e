#pragma once

#include <QApplication>
#include <QTest>
#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "painter/Painter.h"

namespace quorvel::painter {

/// The painter, which is over as soon as it shows nothing, what it reports, and the user before it.
class PainterFixture : public testing::Test {
protected:
    /// What has become active.
    QWidget* show(const Request& request) {
        const QWidget* const before = QApplication::activeWindow();
        painter.perform(request);
        EXPECT_TRUE(QTest::qWaitFor([&] {
            return QApplication::activeWindow() != nullptr && QApplication::activeWindow() != before;
        }));
        return QApplication::activeWindow();
    }
    /// Of a number of its own, or of that one.
    QWidget* open(const WindowContent& content, const std::optional<Placement>& placement = std::nullopt) {
        return show(ShowWindow{++window, window, content, {}, placement, ""});
    }

    /// What was reported, in order, once `count` events have come.
    std::vector<std::string> events(std::size_t count) {
        EXPECT_TRUE(QTest::qWaitFor([&] { return reported.size() >= count; }));
        return reported;
    }

    std::uint64_t window = 0;
    std::vector<std::string> reported;
    bool isOver = false;
    Painter painter{std::chrono::milliseconds(0),
                    [this](const Event& event) { reported.push_back(encode(event)); },
                    [this] { isOver = true; }};
};

}  // namespace quorvel::painter
