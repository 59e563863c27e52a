#include "X11ErrorCount.h"

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

namespace {

std::atomic<int> errors{0};

template <typename Function> Function *original(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

int pellaro::test::x11ErrorCount() {
    return errors;
}

// These stand in front of the library's functions of the same names, through which every error reaches a program: as an event, or
// in place of a reply.

extern "C" __attribute__((visibility("default"))) xcb_generic_event_t *xcb_poll_for_event(xcb_connection_t *connection) {
    static auto *const poll = original<decltype(xcb_poll_for_event)>("xcb_poll_for_event");
    xcb_generic_event_t *event = poll(connection);
    if (event && event->response_type == 0)
        ++errors;
    return event;
}

extern "C" __attribute__((visibility("default"))) void *xcb_wait_for_reply(xcb_connection_t *connection, unsigned int request,
                                                                           xcb_generic_error_t **error) {
    static auto *const wait = original<decltype(xcb_wait_for_reply)>("xcb_wait_for_reply");
    xcb_generic_error_t *own = nullptr;
    void *reply = wait(connection, request, error ? error : &own);
    if (error ? *error : own)
        ++errors;
    std::free(own);
    return reply;
}
