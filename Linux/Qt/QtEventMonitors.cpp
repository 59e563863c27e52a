#include "Linux/Qt/QtEventMonitors.h"

#include "Linux/X11/X11KeyWatch.h"

#include <QGuiApplication>

#include <algorithm>
#include <utility>

namespace pellaro {

namespace {

std::unique_ptr<X11KeyWatch> watchOfQtConnection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return nullptr;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(x11->connection())).data;
    return std::make_unique<X11KeyWatch>(x11->connection(), screen->root);
}

} // namespace

class QtEventMonitors::Monitor : public EventMonitor {
public:
    Monitor(Handlers &handlers, LocalHandler handler)
        : m_handlers(handlers), m_handler(std::make_shared<const LocalHandler>(std::move(handler))) {
        m_handlers.push_back(m_handler);
    }
    ~Monitor() override { std::erase(m_handlers, m_handler); }
    Monitor(const Monitor &) = delete;
    Monitor &operator=(const Monitor &) = delete;

private:
    Handlers &m_handlers;
    const std::shared_ptr<const LocalHandler> m_handler;
};

QtEventMonitors::QtEventMonitors() : m_watch(watchOfQtConnection()) {
    if (m_watch)
        qGuiApp->installNativeEventFilter(this);
}

QtEventMonitors::~QtEventMonitors() = default; // Qt takes the filter out itself

bool QtEventMonitors::seesOtherPrograms() const {
    return m_watch && m_watch->seesOtherPrograms();
}

std::unique_ptr<EventMonitor> QtEventMonitors::addGlobalKeyDownMonitor(GlobalHandler handler) {
    if (!seesOtherPrograms())
        return nullptr;
    return std::make_unique<Monitor>(m_global, [handler = std::move(handler)](const KeyEvent &event) {
        handler(event);
        return KeyEventResult::passOn;
    });
}

std::unique_ptr<EventMonitor> QtEventMonitors::addLocalKeyDownMonitor(LocalHandler handler) {
    return m_watch ? std::make_unique<Monitor>(m_local, std::move(handler)) : nullptr;
}

bool QtEventMonitors::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto &event = *static_cast<const xcb_generic_event_t *>(message);
    // Qt would take the time of what the user does in other programs for that of something done here.
    const bool isNotForQt = m_watch->isRawKey(event);
    const auto press = m_watch->press(event);
    if (!press)
        return isNotForQt;
    const bool isOurs = press->where == KeyPress::Where::thisProgram;
    return ask(isOurs ? m_local : m_global, press->event) == KeyEventResult::swallow || isNotForQt;
}

/// The newest first. A handler may end its own monitor and others, and add some, which are asked from the next press on.
KeyEventResult QtEventMonitors::ask(const Handlers &handlers, const KeyEvent &event) {
    Handlers atPress = handlers;
    std::ranges::reverse(atPress);
    for (const auto &handler : atPress) {
        const bool isStillThere = std::ranges::find(handlers, handler) != handlers.end();
        if (isStillThere && (*handler)(event) == KeyEventResult::swallow)
            return KeyEventResult::swallow;
    }
    return KeyEventResult::passOn;
}

} // namespace pellaro
