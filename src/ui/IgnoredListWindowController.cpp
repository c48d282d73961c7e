#include "ui/IgnoredListWindowController.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

constexpr const char* resetTitle = "Reset All";

struct IgnoredRow {
    std::string sortKey;
    std::string bundleID;
    std::string appName;
    std::string version;
};

std::vector<IgnoredRow> sortedRows(IgnoredVersions entries) {
    const text::NameCollator collator;
    std::vector<IgnoredRow> rows;
    for (auto& [bundleID, entry] : entries) {
        auto key = collator.sortKey(entry.appName);
        rows.push_back({std::move(key), bundleID, std::move(entry.appName), std::move(entry.version)});
    }
    // Rows of equal names stay where they are from one question to the next.
    std::ranges::sort(rows, {}, [](const auto& row) { return std::tie(row.sortKey, row.bundleID); });
    return rows;
}

}  // namespace

IgnoredListWindowController::IgnoredListWindowController(IgnoredVersionsStore store,
                                                         std::function<void()> onReset)
    : store(std::move(store)), onReset(std::move(onReset)) {}

WindowContent IgnoredListWindowController::makeContentView() const {
    return {.title = "Ignored Versions",
            .width = 480,
            .height = 320,
            .isResizable = true,
            .views = {TableView{.frame = {0, 44, 480, 276},
                                .rowHeight = 20,
                                .font = {FontRole::system, 13},
                                .columns = {{"name", "App Name", 280}, {"version", "Ignored Version", 160}}},
                      Button{{8, 8, 90, 28}, resetTitle, Button::Style::rounded}}};
}

void IgnoredListWindowController::buttonPressed(const std::string& title) {
    if (title == resetTitle) resetAll();
}

TableRows IgnoredListWindowController::tableRows() {
    TableRows rows;
    for (auto& row : sortedRows(store.load()))
        rows.push_back({std::move(row.appName), std::move(row.version)});
    return rows;
}

void IgnoredListWindowController::resetAll() const {
    store.removeAll();
    window->reloadTable();
    onReset();
}

}  // namespace quorvel
