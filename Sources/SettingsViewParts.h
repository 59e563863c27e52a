#pragma once

#include <QIcon>
#include <QLabel>
#include <QToolButton>

#include <string>

class QAbstractButton;
class QFrame;

// What the tabs of the settings window are put together from. Thread: main.
namespace pellaro {

/// The text in the user's language of this moment, see `L`.
[[nodiscard]] QString localized(std::string english, std::string german);

/// Space at the sides of every section.
inline constexpr int sectionPadding = 16;
/// Space between what stands in a row, and between rows that belong together.
inline constexpr int rowSpacing = 8;

/// What a text is for decides its colour in the light and in the dark.
enum class Tone { primary, secondary, accent, good, bad, warning };
[[nodiscard]] QColor toneColor(Tone tone, const QPalette &palette);

/// What a control that stands out has of its own: the accent colour, and a text that is readable on it.
[[nodiscard]] QPalette prominent(const QPalette &palette);

/// Relative to the desktop's own font.
enum class TextSize { caption, callout, body, subheadline, symbols, title };
[[nodiscard]] QFont textFont(const QFont &base, TextSize size);

/// A widget with colours or a font of its own that depend on the desktop's. The settings view asks it anew when those change.
class FollowsDesktop {
public:
    virtual ~FollowsDesktop() = default;
    virtual void adoptLook() = 0;
};

/// A text whose colour and size follow the desktop's.
class SettingsText : public QLabel, public FollowsDesktop {
public:
    SettingsText(const char *name, TextSize size, Tone tone, QWidget *parent);
    /// Its text, which is also what a screen reader says.
    void say(const QString &text);
    void adoptLook() override;

private:
    const TextSize m_size;
    const Tone m_tone;
};

/// The title of a section.
class SettingsSectionHeader final : public SettingsText {
public:
    SettingsSectionHeader(const char *name, QWidget *parent);
    void adoptLook() override;
};

/// One line that leaves out its middle when there is too little room, and shows all of it in its tool tip.
class ElidedText final : public SettingsText {
public:
    using SettingsText::SettingsText;
    void say(const QString &text);
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

/// One of the program's symbols, drawn in the colour of its tone.
class SymbolView final : public QWidget {
public:
    SymbolView(const char *symbol, int size, Tone tone, QWidget *parent);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_symbol;
    const int m_size;
    const Tone m_tone;
};

/// The symbol of that name; transparent when there is no such drawing.
[[nodiscard]] QPixmap symbolPixmap(const QString &name, int size, const QColor &color, qreal pixelRatio);

/// A line between two sections.
[[nodiscard]] QFrame *makeDivider(Qt::Orientation orientation, QWidget *parent);

/// A button that is only its text until the pointer comes.
[[nodiscard]] QToolButton *makeBorderlessButton(const char *name, QWidget *parent);

/// What the button says, to the eye and to a screen reader.
void setLabel(QAbstractButton &button, const QString &text);

} // namespace pellaro
