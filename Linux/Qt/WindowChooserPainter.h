#pragma once

#include <QStyledItemDelegate>

namespace pellaro {

/// Draws a window in a chooser: its picture, and below it its icon and title. Colours are the palette's.
class WindowChooserPainter final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// Points that a window's picture fits into.
    static constexpr QSize pictureSize{224, 140};
    /// Points; of the icon beside the title.
    static constexpr int iconSize = 16;
    /// Points; of the icon where there is no picture.
    static constexpr int largeIconSize = 64;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

} // namespace pellaro
