#pragma once

#include <QLabel>

#include "platform/Window.h"

namespace quorvel::painter {

/// A centred text on one line, never markup. Its colour is taken from the palette each time it is drawn, so
/// that a change of theme shows at once.
class RoleLabel final : public QLabel {
public:
    RoleLabel(const Label& label, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ColorRole role;
};

}  // namespace quorvel::painter
