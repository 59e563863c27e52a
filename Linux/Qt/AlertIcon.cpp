#include "Linux/Qt/AlertIcon.h"

#include <QIcon>
#include <QPainter>
#include <QPainterPath>

namespace pellaro {

namespace {

QString themeName(AlertStyle style) {
    switch (style) {
    case AlertStyle::informational:
        return "dialog-information";
    case AlertStyle::critical:
        return "dialog-error";
    case AlertStyle::warning:
        break;
    }
    return "dialog-warning";
}

/// The plate and its mark, on a square of 48 units.
void draw(QPainter &painter, AlertStyle style) {
    const bool isWarning = style == AlertStyle::warning;
    const bool isInformation = style == AlertStyle::informational;
    const QColor plate = isWarning ? QColor("#f5b400") : isInformation ? QColor("#3478c6") : QColor("#d63a35");
    const QColor mark = isWarning ? QColor("#2b2100") : QColor(Qt::white);
    painter.setBrush(plate);
    painter.setPen(QPen(plate, 6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    if (isWarning)
        painter.drawPolygon(QPolygonF({{24, 8}, {43, 41}, {5, 41}}));
    else
        painter.drawEllipse(QPointF(24, 24), 18, 18);
    // The exclamation mark's dot is below its stroke, that of the letter i above.
    const double top = isWarning ? 17.5 : 13.5;
    const double bottom = isWarning ? 37.5 : 34.5;
    const double dot = isInformation ? top : bottom;
    const double strokeTop = isInformation ? top + 7.5 : top;
    const double strokeBottom = isInformation ? bottom : bottom - 7.5;
    painter.setPen(QPen(mark, 4.5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(24, strokeTop), QPointF(24, strokeBottom));
    painter.setPen(Qt::NoPen);
    painter.setBrush(mark);
    painter.drawEllipse(QPointF(24, dot), 2.7, 2.7);
}

} // namespace

QPixmap alertIcon(AlertStyle style, int size, double scale) {
    if (const QIcon icon = QIcon::fromTheme(themeName(style)); !icon.isNull())
        return icon.pixmap(QSize(size, size), scale);
    QPixmap pixmap((QSizeF(size, size) * scale).toSize());
    pixmap.setDevicePixelRatio(scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr double units = 48;
    painter.scale(size / units, size / units);
    draw(painter, style);
    return pixmap;
}

} // namespace pellaro
