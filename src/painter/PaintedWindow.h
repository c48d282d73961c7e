#pragma once

#include <QWidget>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/painterprotocol/PainterMessages.h"

class QPlainTextEdit;

namespace quorvel::painter {

class RowsTable;

/// A window of the program as widgets. Closing it hides it, so that it comes back as it was left. Owned by
/// the painter.
class PaintedWindow final : public QWidget {
public:
    PaintedWindow(const WindowContent& content, std::function<void(const std::string&)> buttonPressed,
                  std::function<void()> closed);

    /// Brings the window to the front; when it was never open, to the placement, else to the screen's centre.
    void present(const std::optional<Placement>& placement);
    void setText(const std::string& text);
    void setRows(const TableRows& rows);
    Placement placement() const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct PlacedView {
        QWidget* widget;
        Frame frame;
        bool growsWithWindow;
    };

    QWidget* add(const Label& label);
    QWidget* add(const Button& button);
    QWidget* add(const TextView& view);
    QWidget* add(const TableView& table);
    void setSizes(const WindowContent& content);
    void layOut();
    void place(const std::optional<Placement>& placement);

    double contentWidth;
    double contentHeight;
    std::function<void(const std::string&)> buttonPressed;
    std::function<void()> closed;
    std::vector<PlacedView> views;
    /// Null when it has none.
    QPlainTextEdit* textView = nullptr;
    RowsTable* tableView = nullptr;
    bool wasPlaced = false;
};

}  // namespace quorvel::painter
