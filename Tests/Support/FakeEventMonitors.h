#pragma once

#include "Tests/Support/Trace.h"

#include "Platform/Desktop/AccessibilityPermission.h"
#include "Platform/Desktop/EventMonitor.h"

#include <utility>

namespace pellaro::test {

/// A keyboard whose keys the test presses, in another program or in this one.
class FakeEventMonitors : public EventMonitors {
public:
    explicit FakeEventMonitors(Trace &trace) : m_trace(trace) {}
    /// Whether `addGlobalKeyDownMonitor` and `addLocalKeyDownMonitor` give a monitor.
    bool allowsGlobal = true;
    bool allowsLocal = true;

    [[nodiscard]] std::unique_ptr<EventMonitor> addGlobalKeyDownMonitor(GlobalHandler handler) override {
        const auto neverSwallowing = [handler = std::move(handler)](const KeyEvent &event) {
            handler(event);
            return KeyEventResult::passOn;
        };
        return allowsGlobal ? std::make_unique<Monitor>(m_trace, m_global, "global", neverSwallowing) : nullptr;
    }
    [[nodiscard]] std::unique_ptr<EventMonitor> addLocalKeyDownMonitor(LocalHandler handler) override {
        return allowsLocal ? std::make_unique<Monitor>(m_trace, m_local, "local", std::move(handler)) : nullptr;
    }

    [[nodiscard]] std::size_t globalCount() const { return m_global.size(); }
    [[nodiscard]] std::size_t localCount() const { return m_local.size(); }

    void pressInAnotherProgram(const KeyEvent &event) { (void)press(m_global, event); }
    /// As the window that has the keyboard sees it: `passOn` when the key arrives there.
    [[nodiscard]] KeyEventResult pressInThisProgram(const KeyEvent &event) { return press(m_local, event); }

private:
    class Monitor;
    using List = std::vector<Monitor *>;

    class Monitor : public EventMonitor {
    public:
        Monitor(Trace &trace, List &list, const char *kind, LocalHandler handler)
            : m_trace(trace), m_list(list), m_kind(kind), m_handler(std::move(handler)) {
            m_list.push_back(this);
            m_trace.add("monitor.add " + m_kind);
        }
        ~Monitor() override {
            std::erase(m_list, this);
            m_trace.add("monitor.remove " + m_kind);
        }
        [[nodiscard]] const LocalHandler &handler() const { return m_handler; }

    private:
        Trace &m_trace;
        List &m_list;
        const std::string m_kind;
        const LocalHandler m_handler;
    };

    static KeyEventResult press(const List &list, const KeyEvent &event) {
        const List atPress = list;
        for (auto monitor = atPress.rbegin(); monitor != atPress.rend(); ++monitor) {
            if (std::ranges::count(list, *monitor) == 0)
                continue; // ended by a handler before it
            const LocalHandler handler = (*monitor)->handler();
            if (handler(event) == KeyEventResult::swallow)
                return KeyEventResult::swallow;
        }
        return KeyEventResult::passOn;
    }

    Trace &m_trace;
    List m_global;
    List m_local;
};

class FakeAccessibilityPermission : public AccessibilityPermission {
public:
    explicit FakeAccessibilityPermission(Trace &trace) : m_trace(trace) {}
    bool trusted = true;
    [[nodiscard]] bool isTrusted() const override { return trusted; }
    void requestTrust() override { m_trace.add("accessibility.request"); }

private:
    Trace &m_trace;
};

} // namespace pellaro::test
