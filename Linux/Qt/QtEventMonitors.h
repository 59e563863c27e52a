#pragma once

#include "Platform/Desktop/AccessibilityPermission.h"
#include "Platform/Desktop/EventMonitor.h"

#include <QAbstractNativeEventFilter>

#include <memory>
#include <vector>

namespace pellaro {

class X11KeyWatch;

/// The keyboard as Qt's connection to the X server tells of it: everything that this program learns of a key comes in one order,
/// before Qt makes anything of it. A key that a local monitor swallows is never seen by Qt, and so by no shortcut and no input
/// method.
///
/// Nothing is watched where Qt runs on another window system than X11. The monitors must not outlive it. Thread: main.
class QtEventMonitors final : public EventMonitors, public QAbstractNativeEventFilter {
public:
    QtEventMonitors();
    ~QtEventMonitors() override;
    QtEventMonitors(const QtEventMonitors &) = delete;
    QtEventMonitors &operator=(const QtEventMonitors &) = delete;

    [[nodiscard]] std::unique_ptr<EventMonitor> addGlobalKeyDownMonitor(GlobalHandler handler) override;
    [[nodiscard]] std::unique_ptr<EventMonitor> addLocalKeyDownMonitor(LocalHandler handler) override;
    /// Whether global monitors are given.
    [[nodiscard]] bool seesOtherPrograms() const;

    /// Part of Qt's event handling.
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    class Monitor;
    using Handlers = std::vector<std::shared_ptr<const LocalHandler>>;

    static KeyEventResult ask(const Handlers &handlers, const KeyEvent &event);

    const std::unique_ptr<X11KeyWatch> m_watch; // null where there is no X server
    Handlers m_global;
    Handlers m_local;
};

/// X11 lets every program watch the keyboard; there is nobody to ask.
class QtAccessibilityPermission final : public AccessibilityPermission {
public:
    /// @param monitors must outlive it.
    explicit QtAccessibilityPermission(const QtEventMonitors &monitors) : m_monitors(monitors) {}
    [[nodiscard]] bool isTrusted() const override { return m_monitors.seesOtherPrograms(); }
    void requestTrust() override {}

private:
    const QtEventMonitors &m_monitors;
};

} // namespace pellaro
