#pragma once

#include <QRadioButton>
#include <QWidget>

#include <functional>

class QButtonGroup;

// Ways to choose one of several. To the keyboard and to a screen reader both are radio buttons. Thread: main.
namespace pellaro {

/// The tabulator key leads to the chosen one of the group and then on, to the first where none is chosen. Within the group the arrow
/// keys lead.
void keepOneTabStop(const QButtonGroup &group);

/// One of a column of choices: a symbol that is filled when it is the chosen one, and a text that leaves out its middle when there is
/// too little room.
class ChoiceRow final : public QRadioButton {
public:
    explicit ChoiceRow(const QString &name, QWidget *parent);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    [[nodiscard]] bool hitButton(const QPoint &point) const override;
    void resizeEvent(QResizeEvent *event) override;

private:
    [[nodiscard]] int textLeft() const;
};

/// A row of choices of the same width, drawn as one bar.
class SegmentedPicker final : public QWidget {
public:
    SegmentedPicker(const char *name, QWidget *parent);
    /// Adds a segment behind the others. @param tag what `select` and `onChosen` call it.
    void addSegment(int tag, const QString &label);
    /// Shows which one is chosen; tells nobody.
    void select(int tag);
    /// Called when the user has chosen another segment than the one that was.
    std::function<void(int tag)> onChosen;

private:
    QButtonGroup *const m_group;
    int m_selected = -1;
};

} // namespace pellaro
