#include "Sources/SettingsViewParts.h"

#include "Sources/L10n.h"

#include <QApplication>
#include <QFile>
#include <QFrame>
#include <QPainter>
#include <QPixmapCache>

namespace pellaro {

namespace {

double factor(TextSize size) {
    switch (size) {
    case TextSize::caption:
        return 0.85;
    case TextSize::callout:
        return 0.95;
    case TextSize::symbols:
        return 1.15;
    case TextSize::title:
        return 1.7;
    case TextSize::body:
    case TextSize::subheadline:
        break;
    }
    return 1;
}

} // namespace

QString localized(std::string english, std::string german) {
    return QString::fromStdString(L(std::move(english), std::move(german)));
}

QColor toneColor(Tone tone, const QPalette &palette) {
    const bool dark = palette.color(QPalette::Window).lightness() < 128;
    switch (tone) {
    case Tone::secondary: {
        QColor color = palette.color(QPalette::Active, QPalette::WindowText);
        color.setAlphaF(0.7F);
        return color;
    }
    case Tone::accent:
        return palette.color(QPalette::Active, QPalette::Highlight);
    case Tone::good:
        return dark ? QColor(0x57, 0xc4, 0x6b) : QColor(0x1a, 0x70, 0x32);
    case Tone::bad:
        return dark ? QColor(0xff, 0x8a, 0x80) : QColor(0xb3, 0x26, 0x1e);
    case Tone::warning:
        return dark ? QColor(0xff, 0xb0, 0x57) : QColor(0x9a, 0x4a, 0x00);
    case Tone::primary:
        break;
    }
    return palette.color(QPalette::Active, QPalette::WindowText);
}

QPalette prominent(const QPalette &palette) {
    // Styles brighten what they fill a button with, and white on the plain accent colour is faint enough.
    constexpr int darker = 140;
    QPalette colors;
    colors.setColor(QPalette::Button, palette.color(QPalette::Active, QPalette::Highlight).darker(darker));
    colors.setColor(QPalette::ButtonText, palette.color(QPalette::Active, QPalette::HighlightedText));
    return colors;
}

QFont textFont(const QFont &base, TextSize size) {
    QFont font = base;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor(size));
    else
        font.setPixelSize(qRound(font.pixelSize() * factor(size)));
    return font;
}

SettingsText::SettingsText(const char *name, TextSize size, Tone tone, QWidget *parent) : QLabel(parent), m_size(size), m_tone(tone) {
    setObjectName(name);
    setTextFormat(Qt::PlainText);
    SettingsText::adoptLook();
}

void SettingsText::say(const QString &text) {
    setAccessibleName(text);
    setText(text);
}

void SettingsText::adoptLook() {
    QPalette colors; // of its own has it this colour and no other
    colors.setColor(QPalette::WindowText, toneColor(m_tone, QApplication::palette()));
    setPalette(colors);
    setFont(textFont(QApplication::font(), m_size));
}

SettingsSectionHeader::SettingsSectionHeader(const char *name, QWidget *parent)
    : SettingsText(name, TextSize::subheadline, Tone::secondary, parent) {
    SettingsSectionHeader::adoptLook();
}

void SettingsSectionHeader::adoptLook() {
    SettingsText::adoptLook();
    QFont semibold = font();
    semibold.setWeight(QFont::DemiBold);
    setFont(semibold);
}

void ElidedText::say(const QString &text) {
    SettingsText::say(text);
    setToolTip(text);
}

QSize ElidedText::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedText::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(contentsRect(), Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width()));
}

SymbolView::SymbolView(const char *symbol, int size, Tone tone, QWidget *parent)
    : QWidget(parent), m_symbol(symbol), m_size(size), m_tone(tone) {
    setFixedSize(size, size);
}

QSize SymbolView::sizeHint() const {
    return {m_size, m_size};
}

void SymbolView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.drawPixmap(0, 0, symbolPixmap(m_symbol, m_size, toneColor(m_tone, palette()), devicePixelRatioF()));
}

QPixmap symbolPixmap(const QString &name, int size, const QColor &color, qreal pixelRatio) {
    // Drawn once for each look: symbols are asked for at every repaint, and each drawing would stay in Qt's cache of pictures anyway.
    const QString key = QString("pellaro-symbol:%1:%2:%3:%4").arg(name).arg(size).arg(color.rgba()).arg(pixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    const QString file = "symbols:" + name + ".svg";
    if (QFile::exists(file))
        pixmap = QIcon(file).pixmap(QSize(size, size), pixelRatio);
    if (pixmap.isNull())
        return pixmap;
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QFrame *makeDivider(Qt::Orientation orientation, QWidget *parent) {
    auto *line = new QFrame(parent);
    line->setFrameShape(orientation == Qt::Horizontal ? QFrame::HLine : QFrame::VLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

QToolButton *makeBorderlessButton(const char *name, QWidget *parent) {
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

void setLabel(QAbstractButton &button, const QString &text) {
    if (button.accessibleName() == text)
        return; // its mnemonic stays too
    button.setAccessibleName(text);
    button.setText(text);
}

} // namespace pellaro
