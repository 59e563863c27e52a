#include "Linux/Qt/TrayCanvas.h"

#include "Linux/Qt/PanelTint.h"

#include <algorithm>

namespace pellaro {

TrayCanvas::TrayCanvas(const TrayConnection &connection, xcb_window_t window, xcb_visualid_t visual)
    : m_connection(connection), m_window(window), m_visual(visual) {}

QColor TrayCanvas::clearAndMeasure() const {
    xcb_clear_area(m_connection.xcb(), 0, m_window, 0, 0, 0, 0);
    // A see-through window holds no trace of the panel, but the panel goes on around it.
    return medianColor(m_connection.depthOf(m_visual) == 32 ? pixelsAround() : pixelsBehind());
}

std::vector<QRgb> TrayCanvas::pixelsBehind() const {
    const QRect place = m_connection.geometry(m_window);
    if (place.isEmpty())
        return {};
    const QImage image = m_connection.contents(m_window, m_visual, QRect(QPoint(0, 0), place.size()));
    std::vector<QRgb> pixels;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            pixels.push_back(image.pixel(x, y));
    return pixels;
}

std::vector<QRgb> TrayCanvas::pixelsAround() const {
    constexpr int distance = 2;
    const QRect place = m_connection.geometry(m_window);
    const QRect screen(0, 0, m_connection.screen().width_in_pixels, m_connection.screen().height_in_pixels);
    const QRect area = place.adjusted(-distance, -distance, distance, distance).intersected(screen);
    if (place.isEmpty() || area.isEmpty())
        return {};
    const QImage image = m_connection.contents(m_connection.root(), m_connection.screen().root_visual, area);
    std::vector<QRgb> pixels;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (!place.contains(area.topLeft() + QPoint(x, y)))
                pixels.push_back(image.pixel(x, y));
    return pixels;
}

void TrayCanvas::draw(const QImage &picture) const {
    const auto argb = m_connection.argbFormat();
    const auto format = m_connection.formatOf(m_visual);
    if (!argb || !format || picture.isNull())
        return;
    xcb_connection_t *xcb = m_connection.xcb();
    const auto width = static_cast<std::uint16_t>(picture.width());
    const auto height = static_cast<std::uint16_t>(picture.height());
    const xcb_pixmap_t pixmap = xcb_generate_id(xcb);
    xcb_create_pixmap(xcb, 32, pixmap, m_window, width, height);
    upload(picture, pixmap);
    const xcb_render_picture_t source = xcb_generate_id(xcb);
    const xcb_render_picture_t target = xcb_generate_id(xcb);
    xcb_render_create_picture(xcb, source, pixmap, argb, 0, nullptr);
    xcb_render_create_picture(xcb, target, m_window, format, 0, nullptr);
    xcb_render_composite(xcb, XCB_RENDER_PICT_OP_OVER, source, XCB_RENDER_PICTURE_NONE, target, 0, 0, 0, 0, 0, 0, width, height);
    xcb_render_free_picture(xcb, target);
    xcb_render_free_picture(xcb, source);
    xcb_free_pixmap(xcb, pixmap);
    m_connection.flush();
}

void TrayCanvas::upload(const QImage &picture, xcb_pixmap_t pixmap) const {
    xcb_connection_t *xcb = m_connection.xcb();
    const xcb_gcontext_t context = xcb_generate_id(xcb);
    xcb_create_gc(xcb, context, pixmap, 0, nullptr);
    constexpr int requestHeader = 64;
    const auto room = static_cast<int>(std::min<std::uint32_t>(xcb_get_maximum_request_length(xcb), 0xffff)) * 4 - requestHeader;
    const int rowsAtOnce = std::max(1, room / static_cast<int>(picture.bytesPerLine()));
    for (int y = 0; y < picture.height(); y += rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, picture.height() - y);
        xcb_put_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, static_cast<std::uint16_t>(picture.width()),
                      static_cast<std::uint16_t>(rows), 0, static_cast<std::int16_t>(y), 0, 32,
                      static_cast<std::uint32_t>(rows * picture.bytesPerLine()), picture.constScanLine(y));
    }
    xcb_free_gc(xcb, context);
}

} // namespace pellaro
