#pragma once

#include <QTextEdit>

namespace pellaro {

/// Plain text on a window's own background that wraps between words and, where a word is too long, such as a path, inside it.
class WrappedText final : public QTextEdit {
public:
    explicit WrappedText(const QString &text, QWidget *parent = nullptr);

    /// Takes the size that the text needs within these limits, in pixels; text that needs more height scrolls.
    void fit(int maxWidth, int maxHeight);

protected:
    void changeEvent(QEvent *event) override;

private:
    [[nodiscard]] int widestLine() const;
    void adoptWindowColors();
};

} // namespace pellaro
