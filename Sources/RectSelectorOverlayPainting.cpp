#include "Sources/RectSelectorOverlayPainting.h"

#include "Sources/RectSelectionGeometry.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QRegion>

#include <algorithm>
#include <cmath>

namespace pellaro {

namespace {

constexpr double borderWidth = 2;
constexpr double thinLineWidth = 0.5;
constexpr double bubbleRadius = 6;

QColor black(double alpha) {
    return QColor::fromRgbF(0, 0, 0, static_cast<float>(alpha));
}

QColor white(double alpha) {
    return QColor::fromRgbF(1, 1, 1, static_cast<float>(alpha));
}

QRect toQt(const PixelRect &rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

QRectF toQt(const Rect &rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

/// A painter's coordinates scaled for as long as this lives.
class Scaled {
public:
    Scaled(QPainter &painter, double factor) : m_painter(painter) {
        m_painter.save();
        m_painter.scale(factor, factor);
    }
    ~Scaled() { m_painter.restore(); }
    Scaled(const Scaled &) = delete;
    Scaled &operator=(const Scaled &) = delete;

private:
    QPainter &m_painter;
};

/// Moved by less than a pixel, so that straight edges lie between pixels and look sharp.
double betweenPixels(double points, double pixelsPerPoint) {
    return std::round(points * pixelsPerPoint) / pixelsPerPoint;
}

/// The same for the middle of a thin line, which lies on a pixel.
double onPixel(double points, double pixelsPerPoint) {
    return (std::floor(points * pixelsPerPoint) + 0.5) / pixelsPerPoint;
}

/// In pixels: a line of whole ones, half of it on each side of the region's edge; an odd one goes to the outside, where nothing is
/// recorded.
void paintBorder(QPainter &painter, const QRect &region, double pixelsPerPoint) {
    const int width = std::max(1, static_cast<int>(std::lround(borderWidth * pixelsPerPoint)));
    const int inside = width / 2;
    const int outside = width - inside;
    const QRegion border =
        QRegion(region.adjusted(-outside, -outside, outside, outside)).subtracted(region.adjusted(inside, inside, -inside, -inside));
    for (const QRect &part : border)
        painter.fillRect(part, Qt::white);
}

void paintHandles(QPainter &painter, const Rect &region) {
    painter.setPen(QPen(black(0.5), thinLineWidth));
    painter.setBrush(Qt::white);
    for (const Rect &circle : handles(region))
        painter.drawEllipse(toQt(circle));
}

void paintThirds(QPainter &painter, const Rect &region, double pixelsPerPoint) {
    painter.setPen(QPen(white(0.2), thinLineWidth, Qt::SolidLine, Qt::FlatCap));
    for (const Line &line : thirds(region)) {
        QLineF drawn(line.from.x, line.from.y, line.to.x, line.to.y);
        if (line.from.x == line.to.x)
            drawn.translate(onPixel(line.from.x, pixelsPerPoint) - line.from.x, 0);
        else
            drawn.translate(0, onPixel(line.from.y, pixelsPerPoint) - line.from.y);
        painter.drawLine(drawn);
    }
}

QFont labelFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(12);
    font.setWeight(QFont::Normal);
    return font;
}

QFont hintFont() {
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(13);
    font.setWeight(QFont::Medium);
    return font;
}

template <typename Place>
void paintBubble(QPainter &painter, const QFont &font, const std::string &text, double alpha, double pixelsPerPoint, Place place) {
    const QString string = QString::fromStdString(text);
    const QFontMetricsF metrics(font, painter.device());
    const Bubble bubble = place(Size{metrics.horizontalAdvance(string), metrics.height()});
    const double dx = betweenPixels(bubble.box.x, pixelsPerPoint) - bubble.box.x;
    const double dy = betweenPixels(bubble.box.y, pixelsPerPoint) - bubble.box.y;
    painter.setPen(Qt::NoPen);
    painter.setBrush(black(alpha));
    painter.drawRoundedRect(toQt(bubble.box).translated(dx, dy), bubbleRadius, bubbleRadius);
    painter.setPen(Qt::white);
    painter.setFont(font);
    painter.drawText(QPointF(bubble.text.x + dx, bubble.text.y + dy + metrics.ascent()), string);
}

} // namespace

void paintScreen(QPainter &painter, const QImage &still, const OverlayScale &scale, const QRect &area) {
    const auto mode = painter.compositionMode();
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    if (still.isNull()) {
        painter.fillRect(area, Qt::transparent);
    } else {
        const Scaled pixels(painter, 1 / scale.pixelsPerUnit);
        painter.drawImage(0, 0, still);
    }
    painter.setCompositionMode(mode);
}

void paintSelection(QPainter &painter, const RectSelection &selection, const OverlayScale &scale) {
    const double pixelsPerPoint = scale.pixelsPerPoint;
    const std::optional<Rect> &region = selection.currentRect;
    {
        const Scaled pixels(painter, 1 / scale.pixelsPerUnit);
        QRegion dimmed(toQt(pixelsOfScreen(selection.bounds, pixelsPerPoint)));
        if (region)
            dimmed -= toQt(pixelsOfRegion(*region, pixelsPerPoint));
        for (const QRect &part : dimmed)
            painter.fillRect(part, black(0.45));
        if (region)
            paintBorder(painter, toQt(pixelsOfRegion(*region, pixelsPerPoint)), pixelsPerPoint);
    }
    const Scaled points(painter, pixelsPerPoint / scale.pixelsPerUnit);
    painter.setRenderHint(QPainter::Antialiasing);
    if (region) {
        paintHandles(painter, *region);
        paintThirds(painter, *region, pixelsPerPoint);
        paintBubble(painter, labelFont(), sizeLabelText(*region), 0.65, pixelsPerPoint,
                    [&](const Size &text) { return sizeLabel(*region, text, selection.bounds); });
    }
    const bool isPresent = hasRegion(selection);
    paintBubble(painter, hintFont(), hintText(isPresent), 0.6, pixelsPerPoint,
                [&](const Size &text) { return hint(isPresent, text, selection.bounds); });
}

} // namespace pellaro
