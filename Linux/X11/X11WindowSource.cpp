#include "Linux/X11/X11WindowSource.h"

#include "Linux/X11/X11CaptureError.h"
#include "Linux/X11/X11PixelFetcher.h"
#include "Linux/X11/X11Properties.h"
#include "Linux/X11/X11WindowCover.h"
#include "Linux/X11/X11Windows.h"

#include <algorithm>
#include <utility>
#include <xcb/composite.h>

namespace pellaro {

namespace {

/// How long a window's program may take to draw it in a new size before what is there is shown: some frames, not yet a pause.
constexpr std::chrono::milliseconds timeToDraw{100};

/// Nobody changes anything on the server while this lives.
class ServerGrab {
public:
    explicit ServerGrab(const X11Connection &connection) : m_connection(connection) { xcb_grab_server(connection.raw()); }
    ~ServerGrab() {
        xcb_ungrab_server(m_connection.raw());
        m_connection.flush();
    }
    ServerGrab(const ServerGrab &) = delete;
    ServerGrab &operator=(const ServerGrab &) = delete;

private:
    const X11Connection &m_connection;
};

xcb_atom_t shadowProperty(const X11Connection &connection) {
    constexpr bool onlyIfExists = false; // a program that starts later may use it
    return internAtoms<1>(connection, {"_GTK_FRAME_EXTENTS"}, onlyIfExists).front();
}

void setRegion(const X11Connection &connection, const X11Region &region, const std::vector<PixelRect> &parts) {
    std::vector<xcb_rectangle_t> rects;
    rects.reserve(parts.size());
    for (const PixelRect &part : parts) {
        rects.push_back({static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y), static_cast<std::uint16_t>(part.width),
                         static_cast<std::uint16_t>(part.height)});
    }
    xcb_xfixes_set_region(connection.raw(), region.id(), static_cast<std::uint32_t>(rects.size()), rects.data());
}

} // namespace

/// A name for the pixels that the server keeps for a window; they live as long as it, whatever becomes of the window.
class X11WindowSource::Pixmap {
public:
    Pixmap(const X11Connection &connection, xcb_window_t window) : m_connection(connection), m_id(connection.newID()) {
        xcb_composite_name_window_pixmap(connection.raw(), window, m_id);
    }
    ~Pixmap() { xcb_free_pixmap(m_connection.raw(), m_id); }
    Pixmap(const Pixmap &) = delete;
    Pixmap &operator=(const Pixmap &) = delete;

    [[nodiscard]] xcb_pixmap_t id() const { return m_id; }

private:
    const X11Connection &m_connection;
    const xcb_pixmap_t m_id;
};

X11WindowSource::X11WindowSource(const X11Connection &connection, xcb_window_t window)
    : m_connection(connection), m_window(window), m_shadowProperty(shadowProperty(connection)), m_damage(connection, window),
      m_foreign(connection), m_waiting(connection) {
    begin();
}

X11WindowSource::~X11WindowSource() {
    xcb_composite_unredirect_window(m_connection.raw(), m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
}

void X11WindowSource::begin() {
    if (!m_connection.extension(xcb_composite_id)) {
        throw x11Error(X11ErrorCode::missingExtension, "Single windows cannot be recorded: the X server lacks the extension Composite.");
    }
    (void)m_connection.await(xcb_composite_query_version_reply, xcb_composite_query_version(m_connection.raw(), 0, 4));
    // What is covered when the server begins to keep the pixels must not change in between.
    const ServerGrab grab(m_connection);
    m_path = pathToWindow(m_connection, m_window);
    const auto geometry = m_connection.await(xcb_get_geometry_reply, xcb_get_geometry(m_connection.raw(), m_window));
    const auto attributes = m_connection.await(xcb_get_window_attributes_reply, xcb_get_window_attributes(m_connection.raw(), m_window));
    if (m_path.size() < 2 || !geometry || !attributes || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
        throw captureError(X11CaptureErrorCode::windowUnavailable, "The window is not there any more.");
    if (!hasBgrxPixels(m_connection, geometry->depth, attributes->visual) || (geometry->depth != 24 && geometry->depth != 32))
        throw x11Error(X11ErrorCode::unsupportedPixels, "The window cannot be recorded: it does not use 24-bit colour in 32-bit pixels.");
    watch();
    const std::vector<PixelRect> hidden = hiddenParts(m_connection, m_path);
    xcb_composite_redirect_window(m_connection.raw(), m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    m_next = lookAtWindow();
    if (!m_next)
        return; // not on the screen yet
    setRegion(m_connection, m_foreign, hidden);
    // The program is asked for them by the server itself, unless someone else has had the window kept apart already.
    for (const PixelRect &part : hidden) {
        xcb_clear_area(m_connection.raw(), true, m_window, static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y),
                       static_cast<std::uint16_t>(part.width), static_cast<std::uint16_t>(part.height));
    }
    adopt();
}

void X11WindowSource::watch() {
    const std::uint32_t ofWindow = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(m_connection.raw(), m_window, XCB_CW_EVENT_MASK, &ofWindow);
    // A window vanishes with its frame, and with nothing more said about itself.
    const std::uint32_t ofAncestors = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    for (std::size_t i = 1; i + 1 < m_path.size(); ++i)
        xcb_change_window_attributes(m_connection.raw(), m_path[i], XCB_CW_EVENT_MASK, &ofAncestors);
}

bool X11WindowSource::isOnPath(xcb_window_t window) const {
    return std::find(m_path.begin(), m_path.end(), window) != m_path.end();
}

void X11WindowSource::readEvent(const xcb_generic_event_t &event) {
    m_damage.readEvent(event);
    switch (event.response_type & 0x7f) {
    case XCB_DESTROY_NOTIFY:
        m_hasEnded = m_hasEnded || reinterpret_cast<const xcb_destroy_notify_event_t &>(event).window == m_window;
        break;
    case XCB_MAP_NOTIFY:
        m_structureChanged = m_structureChanged || isOnPath(reinterpret_cast<const xcb_map_notify_event_t &>(event).window);
        break;
    case XCB_UNMAP_NOTIFY:
        m_structureChanged = m_structureChanged || isOnPath(reinterpret_cast<const xcb_unmap_notify_event_t &>(event).window);
        break;
    case XCB_REPARENT_NOTIFY:
        if (isOnPath(reinterpret_cast<const xcb_reparent_notify_event_t &>(event).window))
            m_structureChanged = m_pathChanged = true;
        break;
    case XCB_CONFIGURE_NOTIFY: {
        const auto &configure = reinterpret_cast<const xcb_configure_notify_event_t &>(event);
        const bool isMove = configure.width == m_size.width && configure.height == m_size.height && configure.border_width == m_border;
        m_structureChanged = m_structureChanged || (configure.window == m_window && !isMove);
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto &property = reinterpret_cast<const xcb_property_notify_event_t &>(event);
        m_shadowChanged = m_shadowChanged || (property.window == m_window && property.atom == m_shadowProperty);
        break;
    }
    default:
        break;
    }
}

void X11WindowSource::request() {
    m_damage.request();
    m_answer.reset();
    if (!m_damage.hasRegion() || (!m_next && m_foreignParts.empty()))
        return;
    xcb_connection_t *connection = m_connection.raw();
    xcb_xfixes_subtract_region(connection, m_foreign.id(), m_damage.region(), m_foreign.id());
    if (m_next)
        xcb_xfixes_subtract_region(connection, m_waiting.id(), m_damage.region(), m_waiting.id());
    m_answer = xcb_xfixes_fetch_region(connection, m_next ? m_waiting.id() : m_foreign.id());
}

void X11WindowSource::receive(PixelRegion &changed) {
    PixelRegion ofNext; // the present picture is not drawn to any more
    m_damage.receive(m_content.area, m_next ? ofNext : changed);
    if (!m_answer)
        return;
    const auto region = m_connection.await(xcb_xfixes_fetch_region_reply, *m_answer);
    if (m_next)
        m_isWaiting = !region || xcb_xfixes_fetch_region_rectangles_length(region.get()) > 0;
    else if (region)
        m_foreignParts = rectsWithin(*region, m_content.area);
}

bool X11WindowSource::follow(bool mustLook) {
    const bool hasNewPixels = std::exchange(m_structureChanged, false);
    if (std::exchange(m_shadowChanged, false) || hasNewPixels || mustLook)
        examine(hasNewPixels);
    if (!m_next || (m_isWaiting && std::chrono::steady_clock::now() < m_deadline))
        return mustLook;
    adopt();
    return true;
}

void X11WindowSource::examine(bool hasNewPixels) {
    if (std::exchange(m_pathChanged, false)) {
        m_path = pathToWindow(m_connection, m_window);
        watch();
    }
    const bool wasWaiting = m_next.has_value();
    const PixelRect sizeBefore = m_size;
    m_next = lookAtWindow();
    if (!m_next)
        return; // not on the screen: as it was last seen
    if (!hasNewPixels && !wasWaiting && m_size == sizeBefore)
        return;
    if (!wasWaiting)
        m_deadline = std::chrono::steady_clock::now() + timeToDraw;
    m_isWaiting = true;
    setRegion(m_connection, m_waiting, {m_next->area});
    setRegion(m_connection, m_foreign, {m_size});
    // What was drawn before the last answers may have been drawn into these pixels already; it will not be said again. The server
    // counts what has just come into being as drawn, so that only time tells it from what the program has drawn.
    if (m_damage.hasRegion())
        xcb_xfixes_subtract_region(m_connection.raw(), m_foreign.id(), m_damage.region(), m_foreign.id());
}

std::optional<X11WindowSource::Picture> X11WindowSource::lookAtWindow() {
    Picture picture{std::make_unique<Pixmap>(m_connection, m_window), {}, 0};
    const auto pixmapCookie = xcb_get_geometry(m_connection.raw(), picture.pixmap->id());
    const auto windowCookie = xcb_get_geometry(m_connection.raw(), m_window);
    const auto shadowCookie = requestProperty(m_connection, m_window, m_shadowProperty);
    const auto pixmap = m_connection.await(xcb_get_geometry_reply, pixmapCookie);
    const auto window = m_connection.await(xcb_get_geometry_reply, windowCookie);
    const auto shadow = m_connection.await(xcb_get_property_reply, shadowCookie);
    if (!window) {
        m_hasEnded = true;
        return std::nullopt;
    }
    if (!pixmap)
        return std::nullopt;
    picture.border = window->border_width;
    const PixelRect whole{0, 0, pixmap->width - 2 * picture.border, pixmap->height - 2 * picture.border};
    if (whole.isEmpty())
        return std::nullopt;
    // The pixmap has the last word on the size: the window may have another one already when it is asked, and will say so.
    m_size = whole;
    m_border = picture.border;
    picture.area = withoutShadow(whole, wordsOf(shadow));
    return picture;
}

void X11WindowSource::adopt() {
    m_isWaiting = false;
    m_content = {m_next->pixmap->id(), m_next->area, m_next->border, m_path};
    m_pixmap = std::move(m_next->pixmap);
    m_next.reset();
    const auto region = m_connection.await(xcb_xfixes_fetch_region_reply, xcb_xfixes_fetch_region(m_connection.raw(), m_foreign.id()));
    m_foreignParts = region ? rectsWithin(*region, m_content.area) : std::vector<PixelRect>();
}

} // namespace pellaro
