#include "TestWindow.h"

#include <stdexcept>
#include <utility>

namespace pellaro::test {

namespace {

xcb_visualid_t visualOfDepth(const X11Connection &connection, int depth) {
    for (auto each = xcb_screen_allowed_depths_iterator(&connection.screen()); each.rem > 0; xcb_depth_next(&each)) {
        if (each.data->depth == depth && each.data->visuals_len > 0)
            return xcb_depth_visuals(each.data)->visual_id;
    }
    throw std::runtime_error("the server has no visual of this depth");
}

} // namespace

TestWindow::TestWindow(const std::string &displayName, const Options &options)
    : m_connection(displayName), m_color(options.color), m_width(options.frame.width), m_height(options.frame.height) {
    create(options);
    m_thread = std::thread([this] { serve(); });
}

TestWindow::~TestWindow() {
    m_stop.signal();
    m_thread.join();
}

void TestWindow::create(const Options &options) {
    xcb_connection_t *connection = m_connection.raw();
    const int depth = options.depth ? options.depth : m_connection.screen().root_depth;
    const xcb_visualid_t visual = visualOfDepth(m_connection, depth);
    const xcb_colormap_t colors = m_connection.newID();
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colors, m_connection.root(), visual);
    m_window = m_connection.newID();
    const std::uint32_t values[] = {options.hasBackground ? options.color : std::uint32_t(XCB_BACK_PIXMAP_NONE), 0,
                                    options.isManaged ? 0u : 1u, XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY, colors};
    const std::uint32_t background = options.hasBackground ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP;
    xcb_create_window(connection, static_cast<std::uint8_t>(depth), m_window, m_connection.root(),
                      static_cast<std::int16_t>(options.frame.x), static_cast<std::int16_t>(options.frame.y),
                      static_cast<std::uint16_t>(options.frame.width), static_cast<std::uint16_t>(options.frame.height),
                      static_cast<std::uint16_t>(options.border), XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      background | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
    m_context = m_connection.newID();
    xcb_create_gc(connection, m_context, m_window, 0, nullptr);
    if (options.title)
        setTitle("_NET_WM_NAME", "UTF8_STRING", *options.title);
    // The place is the user's wish and means the content: window managers keep to it (ICCCM, USPosition and static gravity).
    std::vector<std::uint32_t> hints(18);
    hints[0] = 1u | 2u | 512u;
    hints[17] = XCB_GRAVITY_STATIC;
    setWords("WM_NORMAL_HINTS", "WM_SIZE_HINTS", hints);
    if (options.isMapped)
        map();
}

void TestWindow::serve() {
    const SigpipeBlock block;
    constexpr std::int64_t pause = 5'000'000; // events that another thread has taken in with a reply wake nobody
    while (!m_stop.waitWith(m_connection.fileDescriptor(), pause)) {
        const std::lock_guard lock(m_mutex);
        while (const auto event = m_isHanging ? nullptr : m_connection.nextEvent())
            handle(*event);
        m_connection.flush();
    }
}

void TestWindow::handle(const xcb_generic_event_t &event) {
    if ((event.response_type & 0x7f) == XCB_CONFIGURE_NOTIFY) {
        const auto &configure = reinterpret_cast<const xcb_configure_notify_event_t &>(event);
        if (std::exchange(m_width, configure.width) != configure.width || std::exchange(m_height, configure.height) != configure.height) {
            m_height = configure.height;
            drawAll({0, 0, m_width, m_height});
        }
    } else if ((event.response_type & 0x7f) == XCB_EXPOSE) {
        const auto &expose = reinterpret_cast<const xcb_expose_event_t &>(event);
        drawAll({expose.x, expose.y, expose.width, expose.height});
    }
}

void TestWindow::drawAll(const PixelRect &part) {
    draw(part, m_colorOf ? m_colorOf(m_width, m_height) : m_color);
    for (const auto &[rect, color] : m_parts)
        draw(rect.intersected(part), color);
}

void TestWindow::draw(const PixelRect &part, std::uint32_t color) {
    xcb_change_gc(m_connection.raw(), m_context, XCB_GC_FOREGROUND, &color);
    const xcb_rectangle_t area{static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y), static_cast<std::uint16_t>(part.width),
                               static_cast<std::uint16_t>(part.height)};
    xcb_poly_fill_rectangle(m_connection.raw(), m_window, m_context, 1, &area);
}

void TestWindow::sync() const {
    (void)m_connection.await(xcb_get_input_focus_reply, xcb_get_input_focus(m_connection.raw()));
}

PixelRect TestWindow::frame() const {
    const std::lock_guard lock(m_mutex);
    const auto geometry = m_connection.await(xcb_get_geometry_reply, xcb_get_geometry(m_connection.raw(), m_window));
    const auto place = m_connection.await(xcb_translate_coordinates_reply,
                                          xcb_translate_coordinates(m_connection.raw(), m_window, m_connection.root(), 0, 0));
    return geometry && place ? PixelRect{place->dst_x, place->dst_y, geometry->width, geometry->height} : PixelRect{};
}

bool TestWindow::isViewable() const {
    const std::lock_guard lock(m_mutex);
    const auto attributes = m_connection.await(xcb_get_window_attributes_reply, xcb_get_window_attributes(m_connection.raw(), m_window));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

void TestWindow::fill(std::uint32_t color) {
    const std::lock_guard lock(m_mutex);
    m_color = color;
    m_parts.clear();
    drawAll({0, 0, m_width, m_height});
    sync();
}

void TestWindow::fillPart(const PixelRect &part, std::uint32_t color) {
    const std::lock_guard lock(m_mutex);
    m_parts.emplace_back(part, color);
    draw(part, color);
    sync();
}

void TestWindow::fillBySize(std::function<std::uint32_t(int, int)> colorOf) {
    const std::lock_guard lock(m_mutex);
    m_colorOf = std::move(colorOf);
    drawAll({0, 0, m_width, m_height});
    sync();
}

void TestWindow::setHanging(bool isHanging) {
    const std::lock_guard lock(m_mutex);
    m_isHanging = isHanging;
}

void TestWindow::map() {
    const std::lock_guard lock(m_mutex);
    xcb_map_window(m_connection.raw(), m_window);
    sync();
}

void TestWindow::unmap() {
    const std::lock_guard lock(m_mutex);
    xcb_unmap_window(m_connection.raw(), m_window);
    sync();
}

void TestWindow::configure(std::uint16_t mask, const std::vector<std::uint32_t> &values) {
    const std::lock_guard lock(m_mutex);
    xcb_configure_window(m_connection.raw(), m_window, mask, values.data());
    sync();
}

void TestWindow::move(int x, int y) {
    configure(XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)});
}

void TestWindow::resize(int width, int height) {
    configure(XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)});
}

void TestWindow::raise() {
    configure(XCB_CONFIG_WINDOW_STACK_MODE, {XCB_STACK_MODE_ABOVE});
}

void TestWindow::tellManager(xcb_window_t window, const std::string &message, std::uint32_t value, std::uint32_t second) {
    const std::lock_guard lock(m_mutex);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(message);
    event.data.data32[0] = value;
    event.data.data32[1] = second;
    xcb_send_event(m_connection.raw(), 0, m_connection.root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&event));
    sync();
}

void TestWindow::iconify() {
    constexpr std::uint32_t iconicState = 3;
    tellManager(m_window, "WM_CHANGE_STATE", iconicState, 0);
}

void TestWindow::sendToDesktop(std::uint32_t desktop) {
    constexpr std::uint32_t fromPager = 2;
    tellManager(m_window, "_NET_WM_DESKTOP", desktop, fromPager);
}

void TestWindow::showDesktop(std::uint32_t desktop) {
    tellManager(m_connection.root(), "_NET_CURRENT_DESKTOP", desktop, XCB_CURRENT_TIME);
}

void TestWindow::close() {
    const std::lock_guard lock(m_mutex);
    xcb_destroy_window(m_connection.raw(), m_window);
    sync();
}

void TestWindow::setTitle(const std::string &property, const std::string &type, const std::string &text) {
    const std::lock_guard lock(m_mutex);
    xcb_change_property(m_connection.raw(), XCB_PROP_MODE_REPLACE, m_window, atom(property), atom(type), 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    sync();
}

void TestWindow::setWords(const std::string &property, const std::string &type, const std::vector<std::uint32_t> &values) {
    const std::lock_guard lock(m_mutex);
    xcb_change_property(m_connection.raw(), XCB_PROP_MODE_REPLACE, m_window, atom(property), atom(type), 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
    sync();
}

void TestWindow::setAtom(const std::string &property, const std::string &value) {
    const xcb_atom_t number = [&] {
        const std::lock_guard lock(m_mutex);
        return atom(value);
    }();
    setWords(property, "ATOM", {number});
}

xcb_atom_t TestWindow::atom(const std::string &name) const {
    const auto reply = m_connection.await(xcb_intern_atom_reply,
                                          xcb_intern_atom(m_connection.raw(), false, static_cast<std::uint16_t>(name.size()), name.data()));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace pellaro::test
