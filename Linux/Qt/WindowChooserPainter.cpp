#include "Linux/Qt/WindowChooserPainter.h"

#include "Linux/Qt/WindowChooserItems.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace pellaro {

namespace {

constexpr int itemMargin = 10; // around everything, inside the mark of the selection
constexpr int textSpacing = 8; // between the picture and the title
constexpr int iconSpacing = 6; // between the icon and the title
constexpr double cornerRadius = 6;

QColor mixed(const QColor &over, const QColor &under, double share) {
    const auto mix = [share](int one, int other) { return static_cast<int>(one * share + other * (1 - share)); };
    return {mix(over.red(), under.red()), mix(over.green(), under.green()), mix(over.blue(), under.blue())};
}

/// Where a picture of so many pixels lies in `room`: reduced if need be, in the middle.
QRect placeOf(const QImage &image, const QRect &room, double scale) {
    const QSize size = (QSizeF(image.size()) / scale).toSize().expandedTo({1, 1});
    QRect place({}, size.boundedTo(room.size()) == size ? size : size.scaled(room.size(), Qt::KeepAspectRatio));
    place.moveCenter(room.center());
    return place;
}

/// A window as such, for those whose program gave them no icon.
void drawPlainIcon(QPainter &painter, const QRectF &place, const QColor &color) {
    const double line = std::max(1.0, place.width() / 16);
    const QRectF frame = place.adjusted(line, place.height() * 0.12, -line, -place.height() * 0.12);
    painter.setPen(QPen(color, line));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame, 2 * line, 2 * line);
    painter.drawLine(QPointF(frame.left(), frame.top() + frame.height() * 0.28),
                     QPointF(frame.right(), frame.top() + frame.height() * 0.28));
}

void drawIcon(QPainter &painter, const QRect &place, const QImage &icon, const QColor &color) {
    if (icon.isNull())
        drawPlainIcon(painter, place, color);
    else
        painter.drawImage(place, icon);
}

} // namespace

QSize WindowChooserPainter::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const {
    const int textHeight = std::max(option.fontMetrics.height(), iconSize);
    return {pictureSize.width() + 2 * itemMargin, pictureSize.height() + textSpacing + textHeight + 2 * itemMargin};
}

void WindowChooserPainter::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const {
    const bool isSelected = option.state & QStyle::State_Selected;
    const bool isHovered = option.state & QStyle::State_MouseOver;
    const auto group = option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
    const QColor base = option.palette.color(group, QPalette::Base);
    const QColor highlight = option.palette.color(group, QPalette::Highlight);
    const QColor text = option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QColor faint = mixed(option.palette.color(group, QPalette::Text), base, 0.35);

    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    if (isSelected || isHovered) {
        QPainterPath mark;
        mark.addRoundedRect(QRectF(option.rect).adjusted(1, 1, -1, -1), cornerRadius, cornerRadius);
        painter->fillPath(mark, isSelected ? highlight : mixed(highlight, base, 0.2));
    }

    const QRect room(option.rect.topLeft() + QPoint(itemMargin, itemMargin), pictureSize);
    const auto icon = index.data(WindowChooserItems::iconRole).value<QImage>();
    const auto picture = index.data(WindowChooserItems::thumbnailRole).value<QImage>();
    if (picture.isNull()) {
        QRect place(0, 0, largeIconSize, largeIconSize);
        place.moveCenter(room.center());
        drawIcon(*painter, place, icon, isSelected ? text : faint);
    } else {
        const QRect place = placeOf(picture, room, painter->device()->devicePixelRatioF());
        painter->drawImage(place, picture);
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(isSelected ? text : faint, 1)); // a dark window on a dark ground has an edge too
        painter->drawRect(QRectF(place).adjusted(-0.5, -0.5, 0.5, 0.5));
    }

    QRect line(room.left(), room.bottom() + 1 + textSpacing, room.width(), std::max(option.fontMetrics.height(), iconSize));
    const QString full = index.data(Qt::DisplayRole).toString();
    const QString title = option.fontMetrics.elidedText(full, Qt::ElideRight, line.width() - iconSize - iconSpacing);
    const int width = iconSize + iconSpacing + option.fontMetrics.horizontalAdvance(title);
    line.setLeft(line.left() + std::max(0, (line.width() - width) / 2));
    drawIcon(*painter, QRect(line.left(), line.center().y() - iconSize / 2 + 1, iconSize, iconSize), icon, text);
    painter->setPen(text);
    painter->drawText(line.adjusted(iconSize + iconSpacing, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, title);
    painter->restore();
}

} // namespace pellaro
