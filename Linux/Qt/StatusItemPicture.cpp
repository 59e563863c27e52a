#include "Linux/Qt/StatusItemPicture.h"

#include "Linux/Qt/QtSymbols.h"

#include <QPainter>
#include <QStringList>

#include <algorithm>

namespace pellaro {

namespace {

QImage drawTitle(const QString &title, const QSize &pixels, const QColor &color) {
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QFont font;
    font.setBold(true);
    font.setPixelSize(std::max(1, pixels.height() * 3 / 4));
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(image.rect(), Qt::AlignCenter, title);
    return image;
}

} // namespace

QImage statusItemPicture(const StatusItemContents &contents, const QtSymbols &symbols, const QSize &pixels, const QColor &tint) {
    if (contents.position == ImagePosition::noImage || !contents.image)
        return drawTitle(contents.title, pixels, tint);
    return symbols.render(*contents.image, pixels, tint);
}

QImage rimmedPicture(const std::function<QImage(const QSize &, const QColor &)> &draw, const QSize &pixels, const QColor &color,
                     const QColor &rim) {
    constexpr double strength = 0.35; // enough to be seen on its contrary, and hardly seen on its like
    const int width = std::max(1, pixels.height() / 24);
    const QSize inside = pixels - QSize(2 * width, 2 * width);
    const QImage around = draw(inside, rim);
    QImage result(pixels, QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setOpacity(strength);
    for (const int y : {-width, 0, width})
        for (const int x : {-width, 0, width})
            painter.drawImage(width + x, width + y, around);
    painter.setOpacity(1);
    painter.drawImage(width, width, draw(inside, color));
    return result;
}

QColor usualPanelColor(const QString &desktop, const QColor &windows) {
    const QStringList names = desktop.split(':');
    const bool isDark = names.contains("GNOME", Qt::CaseInsensitive) || names.contains("Unity", Qt::CaseInsensitive);
    return isDark ? QColor(Qt::black) : windows;
}

} // namespace pellaro
