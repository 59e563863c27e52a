#include "Sources/SettingsViewChoices.h"

#include "Sources/SettingsViewMnemonics.h"
#include "Sources/SettingsViewParts.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QEvent>
#include <QStyleOptionButton>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

namespace pellaro {

namespace {

constexpr int symbolSize = 16;
constexpr int symbolGap = 6;
constexpr int rowPadding = 2;
constexpr int segmentPadding = 8;

/// A radio button that looks like a part of a bar.
class Segment final : public QRadioButton {
public:
    explicit Segment(QWidget *parent) : QRadioButton(parent) { adoptPalette(); }
    [[nodiscard]] QSize sizeHint() const override {
        QStyleOptionButton option = styleOption();
        const QSize text(fontMetrics().horizontalAdvance(this->text()) + 2 * segmentPadding, fontMetrics().height());
        return style()->sizeFromContents(QStyle::CT_PushButton, &option, text, this);
    }
    [[nodiscard]] QSize minimumSizeHint() const override {
        return {fontMetrics().horizontalAdvance(text()) + segmentPadding, sizeHint().height()};
    }

protected:
    void paintEvent(QPaintEvent *) override {
        QStylePainter painter(this);
        painter.drawControl(QStyle::CE_PushButton, styleOption());
    }
    void changeEvent(QEvent *event) override {
        QRadioButton::changeEvent(event);
        if (event->type() == QEvent::PaletteChange)
            adoptPalette();
    }
    [[nodiscard]] bool hitButton(const QPoint &point) const override { return rect().contains(point); }

private:
    void adoptPalette() { m_chosenPalette = prominent(palette()).resolve(palette()); }
    [[nodiscard]] QStyleOptionButton styleOption() const {
        QStyleOptionButton option;
        option.initFrom(this);
        option.text = text();
        option.state |= isDown() ? QStyle::State_Sunken : isChecked() ? QStyle::State_On : QStyle::State_Raised;
        if (isChecked()) // a pressed button alone is hard to tell from the others in most styles
            option.palette = m_chosenPalette;
        return option;
    }

    QPalette m_chosenPalette; // kept: styles have a picture of the button for each palette that they are given
};

} // namespace

void keepOneTabStop(const QButtonGroup &group) {
    const QList<QAbstractButton *> buttons = group.buttons();
    for (QAbstractButton *button : buttons) {
        const bool isStop = group.checkedButton() ? button->isChecked() : button == buttons.front();
        button->setFocusPolicy(isStop ? Qt::StrongFocus : Qt::ClickFocus);
    }
}

ChoiceRow::ChoiceRow(const QString &name, QWidget *parent) : QRadioButton(parent) {
    setObjectName(name);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

int ChoiceRow::textLeft() const {
    return rowPadding + symbolSize + symbolGap;
}

QSize ChoiceRow::sizeHint() const {
    const QSize text = fontMetrics().size(Qt::TextShowMnemonic, this->text());
    return {textLeft() + text.width() + 2 * rowPadding, std::max(text.height(), symbolSize) + 2 * rowPadding};
}

QSize ChoiceRow::minimumSizeHint() const {
    return {textLeft() + 2 * symbolSize, sizeHint().height()};
}

bool ChoiceRow::hitButton(const QPoint &point) const {
    return QRect(0, 0, std::min(width(), sizeHint().width()), height()).contains(point);
}

void ChoiceRow::resizeEvent(QResizeEvent *event) {
    QRadioButton::resizeEvent(event);
    setToolTip(width() < sizeHint().width() ? accessibleName() : QString());
}

void ChoiceRow::paintEvent(QPaintEvent *) {
    QStylePainter painter(this);
    const bool leftToRight = layoutDirection() == Qt::LeftToRight;
    const QRect symbol = QStyle::visualRect(layoutDirection(), rect(), {rowPadding, (height() - symbolSize) / 2, symbolSize, symbolSize});
    const QColor color = toneColor(isChecked() ? Tone::accent : Tone::secondary, palette());
    painter.drawPixmap(symbol.topLeft(),
                       symbolPixmap(isChecked() ? "circle.inset.filled" : "circle", symbolSize, color, devicePixelRatioF()));

    const bool whole = width() >= sizeHint().width();
    const int room = width() - textLeft() - rowPadding;
    const QString shown = whole ? text() : fontMetrics().elidedText(accessibleName(), Qt::ElideMiddle, room).replace(u'&', "&&");
    const int textWidth = whole ? sizeHint().width() - textLeft() - 2 * rowPadding : room;
    const QRect place = QStyle::visualRect(layoutDirection(), rect(), {textLeft(), 0, textWidth, height()});
    const int underline = style()->styleHint(QStyle::SH_UnderlineShortcut, nullptr, this) ? Qt::TextShowMnemonic : Qt::TextHideMnemonic;
    const auto side = leftToRight ? Qt::AlignLeft : Qt::AlignRight;
    painter.drawItemText(place, static_cast<int>(side | Qt::AlignVCenter) | underline, palette(), isEnabled(), shown, QPalette::WindowText);
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = place.adjusted(-rowPadding, rowPadding / 2, rowPadding, -rowPadding / 2);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
}

SegmentedPicker::SegmentedPicker(const char *name, QWidget *parent) : QWidget(parent), m_group(new QButtonGroup(this)) {
    setObjectName(name);
    setFocusPolicy(Qt::ClickFocus); // or the mnemonic of its title would not lead to the segment that stands for it
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    connect(m_group, &QButtonGroup::idClicked, this, [this](int tag) {
        if (tag == std::exchange(m_selected, tag))
            return;
        setFocusProxy(m_group->button(tag));
        if (onChosen)
            onChosen(tag);
    });
}

void SegmentedPicker::addSegment(int tag, const QString &label) {
    auto *segment = new Segment(this);
    segment->setObjectName(objectName() + QString::number(tag));
    segment->setProperty(withoutMnemonic, true);
    setLabel(*segment, label);
    m_group->addButton(segment, tag);
    static_cast<QHBoxLayout *>(layout())->addWidget(segment, 1);
}

void SegmentedPicker::select(int tag) {
    m_selected = tag;
    if (auto *segment = m_group->button(tag)) {
        segment->setChecked(true);
        setFocusProxy(segment);
        keepOneTabStop(*m_group);
    }
}

} // namespace pellaro
