#include "painter/AlertBox.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "painter/Style.h"

namespace quorvel::painter {

namespace {

constexpr int textWidth = 340;

QLabel* wrappedLabel(const QString& text, const Font& font) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setAccessibleName(text);
    label->setFont(fontFor(font));
    label->setWordWrap(true);
    label->setMinimumWidth(textWidth);
    return label;
}

/// A call stack would make a label higher than the screen.
QWidget* informativeView(const std::string& text) {
    constexpr qsizetype maxLabelLength = 400, maxLabelLines = 6;
    const QString shown = QString::fromStdString(text);
    if (shown.size() <= maxLabelLength && shown.count(u'\n') < maxLabelLines) return wrappedLabel(shown, {});
    auto* view = new QPlainTextEdit(shown);
    view->setReadOnly(true);
    view->setTabChangesFocus(true);
    view->setFont(fontFor({FontRole::monospaced, 11}));
    view->setAccessibleName(QStringLiteral("Details"));
    view->setMinimumSize(textWidth + 140, 200);
    return view;
}

}  // namespace

AlertBox::AlertBox(const std::string& messageText, const std::string& informativeText)
    : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint) {
    setWindowTitle(QStringLiteral("Quorvel"));
    auto* picture = new QLabel;
    const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    const QIcon information = style()->standardIcon(QStyle::SP_MessageBoxInformation, nullptr, this);
    picture->setPixmap((windowIcon().isNull() ? information : windowIcon()).pixmap(size));

    auto* texts = new QVBoxLayout;
    texts->setSpacing(8);
    texts->addStretch();
    texts->addWidget(wrappedLabel(QString::fromStdString(messageText), {FontRole::boldSystem, 13}));
    if (!informativeText.empty()) texts->addWidget(informativeView(informativeText));
    texts->addStretch();

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* okay = buttons->button(QDialogButtonBox::Ok);
    okay->setText(QStringLiteral("OK"));
    okay->setIcon(QIcon());
    okay->setFont(fontFor({}));
    okay->setAccessibleName(okay->text());
    okay->setDefault(true);

    auto* upper = new QHBoxLayout;
    upper->setSpacing(16);
    upper->addWidget(picture, 0, Qt::AlignTop);
    upper->addLayout(texts, 1);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(20, 20, 20, 16);
    all->setSpacing(16);
    all->addLayout(upper);
    all->addWidget(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);
    okay->setFocus();
}

}  // namespace quorvel::painter
