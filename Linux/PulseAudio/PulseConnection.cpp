#include "Linux/PulseAudio/PulseConnection.h"

#include <algorithm>
#include <new>
#include <utility>

namespace pellaro {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds firstRetryDelay{100};
constexpr milliseconds lastRetryDelay{1'000};

PulsePropertiesPointer programProperties() {
    PulsePropertiesPointer properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_NAME, "Pellaro");
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ID, "com.pellaro.Pellaro");
    return properties;
}

} // namespace

void PulseConnection::Contexts::operator()(pa_context *context) const {
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_set_subscribe_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(context);
}

PulseConnection::PulseConnection(std::string server, milliseconds patience)
    : m_server(std::move(server)), m_loop(pa_threaded_mainloop_new()), m_retryDelay(firstRetryDelay) {
    if (!m_loop)
        throw std::bad_alloc();
    pa_threaded_mainloop_set_name(m_loop.get(), "pulse-capture");
    connect();
    m_retryTimer.emplace(*this, [this] { retry(); });
    if (pa_threaded_mainloop_start(m_loop.get()) < 0)
        throw pulseError(PA_ERR_INTERNAL);

    int result = PA_ERR_TIMEOUT;
    {
        std::unique_lock lock(m_firstMutex);
        if (m_firstChanged.wait_for(lock, patience, [this] { return m_firstResult.has_value(); }))
            result = *m_firstResult;
    }
    if (result != PA_OK) {
        end();
        m_retryTimer.reset();
        throw pulseError(result);
    }
}

PulseConnection::~PulseConnection() {
    end();
    m_retryTimer.reset();
}

void PulseConnection::end() {
    pa_threaded_mainloop_stop(m_loop.get());
}

void PulseConnection::connect() {
    const auto properties = programProperties();
    m_subscription.reset();
    m_context.reset(pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_loop.get()), nullptr, properties.get()));
    if (!m_context)
        throw std::bad_alloc();
    pa_context_set_state_callback(
        m_context.get(), [](pa_context *, void *self) { static_cast<PulseConnection *>(self)->contextChanged(); }, this);
    // A failure is reported through the callback as well.
    (void)pa_context_connect(m_context.get(), m_server.empty() ? nullptr : m_server.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void PulseConnection::contextChanged() {
    const pa_context_state_t state = pa_context_get_state(m_context.get());
    if (PA_CONTEXT_IS_GOOD(state) && state != PA_CONTEXT_READY)
        return;
    const bool isReady = state == PA_CONTEXT_READY;
    {
        const std::lock_guard lock(m_firstMutex);
        if (!m_firstResult)
            m_firstResult = isReady ? int(PA_OK) : pa_context_errno(m_context.get());
    }
    m_firstChanged.notify_one();
    if (isReady) {
        m_retryDelay = firstRetryDelay;
        watchServer();
        if (m_handlers.onReady)
            m_handlers.onReady();
    } else {
        if (m_handlers.onLost)
            m_handlers.onLost();
        if (m_retryTimer)
            m_retryTimer->start(m_retryDelay);
    }
}

void PulseConnection::watchServer() {
    const auto onEvent = [](pa_context *, pa_subscription_event_type_t event, uint32_t, void *self) {
        const bool isSink = (event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) == PA_SUBSCRIPTION_EVENT_SINK;
        const bool isChange = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
        if (isSink && isChange)
            return; // its volume, most of the time
        const auto &handlers = static_cast<PulseConnection *>(self)->m_handlers;
        if (handlers.onChanged)
            handlers.onChanged();
    };
    pa_context_set_subscribe_callback(m_context.get(), onEvent, this);
    const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK);
    m_subscription.reset(pa_context_subscribe(m_context.get(), mask, nullptr, nullptr));
}

void PulseConnection::retry() {
    m_retryDelay = std::min(2 * m_retryDelay, lastRetryDelay);
    connect();
}

pa_context *PulseConnection::readyContext() const {
    return pa_context_get_state(m_context.get()) == PA_CONTEXT_READY ? m_context.get() : nullptr;
}

PulseConnection::Timer::Timer(PulseConnection &connection, std::function<void()> action)
    : m_connection(connection), m_action(std::move(action)) {}

PulseConnection::Timer::~Timer() {
    stop();
}

void PulseConnection::Timer::start(std::chrono::nanoseconds delay) {
    const pa_usec_t due = pa_rtclock_now() + static_cast<pa_usec_t>(std::chrono::ceil<std::chrono::microseconds>(delay).count());
    if (m_event) {
        pa_context_rttime_restart(m_connection.m_context.get(), m_event, due);
        return;
    }
    const auto onDue = [](pa_mainloop_api *, pa_time_event *, const timeval *, void *self) { static_cast<Timer *>(self)->m_action(); };
    m_event = pa_context_rttime_new(m_connection.m_context.get(), due, onDue, this);
}

void PulseConnection::Timer::stop() {
    if (pa_time_event *event = std::exchange(m_event, nullptr))
        pa_threaded_mainloop_get_api(m_connection.m_loop.get())->time_free(event);
}

} // namespace pellaro
