#pragma once

#include <QDialog>
#include <string>

namespace quorvel::painter {

/// An alert with an OK button. Its texts are shown as they are, never as markup. Owned by the painter.
class AlertBox final : public QDialog {
public:
    AlertBox(const std::string& messageText, const std::string& informativeText);
};

}  // namespace quorvel::painter
