#pragma once

#include "platform/Desktop.h"

namespace quorvel {

/// The system's workspace: the user's browser, mail program and file manager.
class CocoaWorkspace final : public Workspace {
public:
    void openURL(const std::string& url) override;
    std::size_t maxURLSize() const override;
    void selectFile(const std::filesystem::path& path) override;
};

}  // namespace quorvel
