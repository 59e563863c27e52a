#include "Sources/MenuBarManager.h"

#include "Sources/AppSettings.h"
#include "Sources/L10n.h"

#include "Platform/Desktop/Application.h"
#include "Platform/Desktop/StatusItem.h"
#include "Platform/Platform.h"
#include "Platform/System/HostClock.h"
#include "Platform/System/MainThread.h"

namespace pellaro {

namespace {

constexpr double iconPointSize = 15;

std::string symbolName(AppState state) {
    switch (state) {
    case AppState::inactive:
        return "p.circle";
    case AppState::active:
        return "p.circle.fill";
    case AppState::saving:
        return "arrow.down.circle";
    }
    return {};
}

} // namespace

std::shared_ptr<MenuBarManager> MenuBarManager::create(Platform &platform) {
    std::shared_ptr<MenuBarManager> manager(new MenuBarManager(platform));
    manager->m_statusItem->setImagePosition(ImagePosition::imageOnly);
    manager->m_statusItem->setAction([weak = std::weak_ptr(manager)] {
        if (const auto self = weak.lock())
            self->statusItemClicked();
    });
    manager->m_statusItem->setStandingMenu({.willOpen =
                                                [weak = std::weak_ptr(manager)] {
                                                    if (const auto self = weak.lock())
                                                        self->m_saveRequestedAt = self->m_platform.hostClock.now();
                                                },
                                            .make =
                                                [weak = std::weak_ptr(manager)] {
                                                    const auto self = weak.lock();
                                                    return self ? self->makeMenu() : Menu{};
                                                }});
    manager->updateState(AppState::inactive);
    return manager;
}

MenuBarManager::MenuBarManager(Platform &platform)
    : m_platform(platform), m_settings(AppSettings::shared()), m_statusItem(platform.statusBar.createStatusItem()) {}

MenuBarManager::~MenuBarManager() = default;

void MenuBarManager::updateState(AppState state) {
    m_platform.mainThread.post([weak = weak_from_this(), state] {
        if (const auto self = weak.lock())
            self->show(state);
    });
}

void MenuBarManager::show(AppState state) {
    const SymbolImage image = icon(state);
    const bool available = image.width > 0;
    m_statusItem->setImage(available ? std::optional(image) : std::nullopt);
    m_statusItem->setTitle(available ? "" : "P");
    m_statusItem->setImagePosition(available ? ImagePosition::imageOnly : ImagePosition::noImage);
    m_statusItem->setToolTip(tooltip(state));
}

SymbolImage MenuBarManager::icon(AppState state) const {
    const SymbolImage plain = m_platform.symbols.image(symbolName(state));
    SymbolImage image = m_platform.symbols.configured(plain, iconPointSize, SymbolWeight::regular).value_or(plain);
    image.isTemplate = true;
    return image;
}

std::string MenuBarManager::tooltip(AppState state) {
    switch (state) {
    case AppState::inactive:
        return L("Pellaro – Paused  (Right-click: Menu)", "Pellaro – Pausiert  (Rechtsklick: Menü)");
    case AppState::active:
        return L("Pellaro – Recording  (Left: Save  |  Right: Menu)", "Pellaro – Zeichnet auf  (Links: Speichern  |  Rechts: Menü)");
    case AppState::saving:
        return L("Pellaro – Saving …", "Pellaro – Speichert …");
    }
    return {};
}

bool MenuBarManager::isRecording() const {
    return currentState && currentState() == AppState::active;
}

void MenuBarManager::statusItemClicked() {
    m_saveRequestedAt = m_platform.hostClock.now(); // first: the clip ends at the moment of the click
    const std::optional<Event> event = m_platform.application.currentEvent();
    const bool isRightClick = event && (event->type == EventType::rightMouseDown || (event->modifierFlags & ModifierFlags::control) != 0);
    if (!isRecording()) {
        openMenu();
    } else if (isRightClick) {
        // Stops at once, although the tooltip promises the menu: the way to stop has to be the shortest one.
        if (onToggleCapture)
            onToggleCapture();
    } else if (onSaveAction) {
        onSaveAction(m_saveRequestedAt);
    }
}

void MenuBarManager::openMenu() {
    m_statusItem->setMenu(makeMenu());
    m_statusItem->performClick();
}

void MenuBarManager::menuDidClose() {
    // An attached menu would take the next click, which has to reach statusItemClicked.
    m_statusItem->setMenu(std::nullopt);
}

Menu MenuBarManager::makeMenu() {
    const bool recording = isRecording();
    const std::string duration = description(m_settings.bufferDuration());

    MenuItem save = makeItem(L("Save last " + duration, "Letzte " + duration + " speichern"), "", &MenuBarManager::savePressed);
    save.image = symbol("square.and.arrow.down", L("Save", "Speichern"));
    MenuItem toggle = makeItem(recording ? L("Stop Recording", "Aufnahme stoppen") : L("Start Recording", "Aufnahme starten"), "",
                               &MenuBarManager::toggleCapturePressed);
    toggle.image = symbol(recording ? "stop.circle" : "record.circle", L("Recording", "Aufnahme"));
    const MenuItem separator{.isSeparator = true, .title = {}, .keyEquivalent = {}, .image = {}, .action = {}};

    Menu menu;
    menu.items = {std::move(save),
                  separator,
                  std::move(toggle),
                  separator,
                  makeItem(L("Settings …", "Einstellungen …"), ",", &MenuBarManager::settingsPressed),
                  separator,
                  makeItem(L("Quit Pellaro", "Pellaro beenden"), "q", &MenuBarManager::quitPressed)};
    menu.didClose = [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->menuDidClose();
    };
    return menu;
}

MenuItem MenuBarManager::makeItem(std::string title, std::string keyEquivalent, void (MenuBarManager::*action)()) {
    MenuItem item;
    item.title = std::move(title);
    item.keyEquivalent = std::move(keyEquivalent);
    item.action = [weak = weak_from_this(), action] {
        const auto self = weak.lock();
        if (!self)
            return;
        self->m_statusItem->cancelTracking();
        ((*self).*action)();
    };
    return item;
}

SymbolImage MenuBarManager::symbol(const std::string &name, std::string accessibilityText) const {
    SymbolImage image = m_platform.symbols.image(name);
    image.isTemplate = true;
    image.accessibilityText = std::move(accessibilityText);
    return image;
}

void MenuBarManager::savePressed() {
    if (onSaveAction)
        onSaveAction(m_saveRequestedAt);
}

void MenuBarManager::toggleCapturePressed() {
    if (onToggleCapture)
        onToggleCapture();
}

void MenuBarManager::settingsPressed() {
    if (onOpenSettings)
        onOpenSettings();
}

void MenuBarManager::quitPressed() {
    m_platform.application.terminate();
}

} // namespace pellaro
