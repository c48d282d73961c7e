#pragma once

#include <QAbstractButton>

#include "platform/Window.h"

namespace quorvel::painter {

/// A title without a border, underlined and in the colour of links.
class LinkButton final : public QAbstractButton {
public:
    LinkButton(const Button& button, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    bool isFocusVisible = false;
};

}  // namespace quorvel::painter
