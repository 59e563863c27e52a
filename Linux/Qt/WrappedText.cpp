#include "Linux/Qt/WrappedText.h"

#include <QApplication>
#include <QEvent>
#include <QScrollBar>
#include <QStyle>

#include <cmath>
#include <memory>

namespace pellaro {

WrappedText::WrappedText(const QString &text, QWidget *parent) : QTextEdit(parent) {
    setAcceptRichText(false);
    setReadOnly(true);
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setLineWrapMode(QTextEdit::WidgetWidth);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setFocusPolicy(Qt::ClickFocus);
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    adoptWindowColors();
    setPlainText(text);
}

void WrappedText::fit(int maxWidth, int maxHeight) {
    // Measured on a copy: the widget's own document has the width that the widget happens to have.
    const std::unique_ptr<QTextDocument> measured(document()->clone());
    measured->setDefaultFont(font());
    int width = std::min(maxWidth, widestLine() + 1);
    measured->setTextWidth(width);
    int height = static_cast<int>(std::ceil(measured->size().height()));
    if (height > maxHeight) {
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setFocusPolicy(Qt::StrongFocus);
        width += verticalScrollBar()->sizeHint().width();
        height = maxHeight;
    }
    setFixedSize(width, height);
}

int WrappedText::widestLine() const {
    int widest = 0;
    for (const QString &line : toPlainText().split('\n'))
        widest = std::max(widest, static_cast<int>(std::ceil(QFontMetricsF(font()).horizontalAdvance(line))));
    return widest;
}

void WrappedText::changeEvent(QEvent *event) {
    QTextEdit::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange)
        adoptWindowColors();
}

void WrappedText::adoptWindowColors() {
    QPalette colors = QApplication::palette();
    colors.setBrush(QPalette::Text, colors.windowText());
    colors.setBrush(QPalette::Base, Qt::transparent);
    setPalette(colors);
}

} // namespace pellaro
