#include "ui/IgnoredListWindowController.h"

#include <algorithm>
#include <utility>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

constexpr const char* resetTitle = "Reset All";

TableRows sortedRows(const IgnoredVersions& entries, const std::string& locale) {
    TableRows rows;
    for (const auto& [bundleID, entry] : entries)
        rows.push_back({entry.appName, entry.version});
    const text::NameCollator collator(locale);
    // Rows of equal names stay in the order of their identifiers, from one question to the next.
    std::ranges::stable_sort(rows, {}, [&](const auto& row) { return collator.sortKey(row.front()); });
    return rows;
}

}  // namespace

IgnoredListWindowController::IgnoredListWindowController(IgnoredVersionsStore store, std::string locale,
                                                         std::function<void()> onReset)
    : store(std::move(store)), locale(std::move(locale)), onReset(std::move(onReset)) {}

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
    return sortedRows(store.load(), locale);
}

void IgnoredListWindowController::resetAll() const {
    store.removeAll();
    window->reloadTable();
    onReset();
}

}  // namespace quorvel
