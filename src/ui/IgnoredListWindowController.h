#pragma once

#include <functional>
#include <string>

#include "persistence/IgnoredVersionsStore.h"
#include "ui/WindowController.h"

namespace quorvel {

/// Lists the ignored versions and forgets them all on request. Keeps no copy of the list: every question for
/// rows reads the file.
class IgnoredListWindowController final : public WindowController {
public:
    /// `locale`: by which names are sorted; see NameCollator. `onReset` runs after the list has been emptied.
    IgnoredListWindowController(IgnoredVersionsStore store, std::string locale,
                                std::function<void()> onReset);

    WindowContent makeContentView() const override;
    void buttonPressed(const std::string& title) override;
    TableRows tableRows() override;

private:
    void resetAll() const;

    const IgnoredVersionsStore store;
    const std::string locale;
    const std::function<void()> onReset;
};

}  // namespace quorvel
