#pragma once

#include "Tests/Support/Trace.h"

#include "Platform/Desktop/Alert.h"
#include "Platform/Desktop/Application.h"
#include "Platform/Desktop/DesktopService.h"
#include "Platform/Desktop/Pasteboard.h"
#include "Platform/Desktop/ScreenCapturePermission.h"
#include "Platform/Desktop/Screens.h"
#include "Platform/Desktop/StatusItem.h"
#include "Platform/Desktop/Symbols.h"
#include "Platform/Desktop/Workspace.h"

#include <deque>
#include <set>

namespace pellaro::test {

/// Answers alerts with the responses it was given, the last button's where there is none.
class FakeAlerts : public AlertPresenter {
public:
    explicit FakeAlerts(Trace &trace) : m_trace(trace) {}
    std::deque<int> responses;
    std::vector<Alert> shown;
    /// Runs while an alert is open.
    std::function<void(const Alert &)> whileOpen;

    [[nodiscard]] int runModal(const Alert &alert) override {
        m_trace.add("alert " + alert.title);
        shown.push_back(alert);
        if (whileOpen)
            whileOpen(alert);
        if (responses.empty())
            return AlertResponse::firstButton + static_cast<int>(alert.buttons.size()) - 1;
        const int response = responses.front();
        responses.pop_front();
        return response;
    }

private:
    Trace &m_trace;
};

class FakeApplication : public Application {
public:
    explicit FakeApplication(Trace &trace) : m_trace(trace) {}
    std::optional<Event> event;

    void setActivationPolicy(ActivationPolicy) override {}
    void setDelegate(std::weak_ptr<ApplicationDelegate>) override {}
    void run() override {}
    void terminate() override { m_trace.add("application.terminate"); }
    void activateIgnoringOtherApps() override { m_trace.add("application.activate"); }
    [[nodiscard]] bool endsWithSession() const override { return false; }
    [[nodiscard]] std::optional<Event> currentEvent() const override { return event; }

private:
    Trace &m_trace;
};

/// The rest of the desktop, for tests to ask in its place.
class FakeDesktopService : public DesktopService {
public:
    DesktopRequests requests;
    bool withdrawn = false;
    void setRequests(DesktopRequests newRequests) override { requests = std::move(newRequests); }
    void withdraw() override { withdrawn = true; }
};

/// What the status area shows, for tests to look at.
struct StatusItemState {
    std::optional<SymbolImage> image;
    std::string title;
    ImagePosition position = ImagePosition::noImage;
    std::string toolTip;
    std::function<void()> action;
    std::optional<Menu> menu;
    StandingMenu standingMenu;
    bool exists = false;
};

class FakeStatusItem : public StatusItem {
public:
    FakeStatusItem(Trace &trace, StatusItemState &state) : m_trace(trace), m_state(state) { m_state.exists = true; }
    ~FakeStatusItem() override { m_state.exists = false; }
    void setImage(const std::optional<SymbolImage> &image) override {
        m_state.image = image;
        m_trace.add("icon " + (image ? image->name : std::string("none")));
    }
    void setTitle(const std::string &title) override { m_state.title = title; }
    void setImagePosition(ImagePosition position) override { m_state.position = position; }
    void setToolTip(const std::string &text) override { m_state.toolTip = text; }
    void setAction(std::function<void()> action) override { m_state.action = std::move(action); }
    void setMenu(std::optional<Menu> menu) override {
        m_trace.add(menu ? "menu.attach" : "menu.detach");
        m_state.menu = std::move(menu);
    }
    void setStandingMenu(StandingMenu menu) override { m_state.standingMenu = std::move(menu); }
    void performClick() override { m_trace.add("menu.open"); }
    void cancelTracking() override { m_trace.add("menu.cancel"); }

private:
    Trace &m_trace;
    StatusItemState &m_state;
};

class FakeStatusBar : public StatusBar {
public:
    explicit FakeStatusBar(Trace &trace) : m_trace(trace) {}
    StatusItemState state;
    [[nodiscard]] std::unique_ptr<StatusItem> createStatusItem() override { return std::make_unique<FakeStatusItem>(m_trace, state); }

private:
    Trace &m_trace;
};

class FakeSymbols : public Symbols {
public:
    std::set<std::string> missing;
    bool configurable = true;
    [[nodiscard]] SymbolImage image(const std::string &name) const override {
        return {.name = name, .pointSize = 0, .width = missing.contains(name) ? 0.0 : 24.0, .isTemplate = false, .accessibilityText = {}};
    }
    [[nodiscard]] std::optional<SymbolImage> configured(const SymbolImage &image, double pointSize, SymbolWeight) const override {
        if (!configurable || image.width <= 0)
            return std::nullopt;
        SymbolImage result = image;
        result.pointSize = result.width = pointSize;
        return result;
    }
};

class FakeScreenCapturePermission : public ScreenCapturePermission {
public:
    explicit FakeScreenCapturePermission(Trace &trace) : m_trace(trace) {}
    bool granted = true;
    [[nodiscard]] bool preflight() const override { return granted; }
    void request() override { m_trace.add("permission.request"); }

private:
    Trace &m_trace;
};

class FakeScreens : public Screens {
public:
    std::vector<Screen> screens{{1, "First", {0, 0, 1920, 1080}}, {2, "Second", {1920, 0, 2560, 1440}}};
    [[nodiscard]] std::vector<Screen> all() const override { return screens; }
    [[nodiscard]] std::optional<Screen> main() const override { return screens.empty() ? std::nullopt : std::optional(screens.front()); }
};

class FakeWorkspace : public Workspace {
public:
    explicit FakeWorkspace(Trace &trace) : m_trace(trace) {}
    void openUrl(const std::string &url) override { m_trace.add("open " + url); }
    void selectFile(const std::string &path, const std::string &rootPath) override { m_trace.add("select " + path + "|" + rootPath); }

private:
    Trace &m_trace;
};

class FakePasteboard : public Pasteboard {
public:
    std::string text;
    void clearContents() override { text.clear(); }
    void setString(const std::string &newText) override { text = newText; }
};

} // namespace pellaro::test
