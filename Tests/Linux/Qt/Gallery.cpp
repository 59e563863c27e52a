// Shows one of the program's windows until it is closed or the program is ended:
//     qt_gallery <light|dark> <alert|alert-long|alert-critical|alert-info|tray|chooser>
//     qt_gallery <light|dark> settings <tab, 0 to 3> [mode, 0 to 2] [region] [record]
// with the texts of the language of LANG. "region" stands for a region that has been drawn, "record" presses "Change". "tray" puts the
// three states side by side; a click opens the menu. "chooser" offers the windows that are on the screen.
#include "Linux/Qt/QtAlertPresenter.h"
#include "Linux/Qt/QtApplication.h"
#include "Linux/Qt/QtContentPicker.h"
#include "Linux/Qt/QtMainThread.h"
#include "Linux/Qt/QtStatusItem.h"
#include "Linux/Qt/QtSymbols.h"
#include "Linux/X11/X11WindowGallery.h"
#include "Sources/AppSettings.h"
#include "Sources/L10n.h"
#include "Sources/Logger.h"
#include "Sources/SettingsWindowController.h"
#include "Tests/Support/FakePlatform.h"

#include <QDBusConnection>
#include <QPushButton>
#include <QStyleFactory>
#include <QTabWidget>
#include <QToolButton>

namespace pellaro::test {

namespace {

QPalette darkPalette() {
    QPalette palette(QColor("#3a3a3e"), QColor("#2b2b2e"));
    palette.setColor(QPalette::Base, QColor("#1e1e20"));
    palette.setColor(QPalette::AlternateBase, QColor("#2b2b2e"));
    palette.setColor(QPalette::ToolTipBase, QColor("#3a3a3e"));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText, QPalette::BrightText})
        palette.setColor(role, QColor("#ececec"));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor("#7c7c80"));
    palette.setColor(QPalette::Highlight, QColor("#3d7edb"));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

Alert alertNamed(const std::string &name) {
    if (name == "alert-info")
        return {AlertStyle::informational,
                L("Saved!", "Gespeichert!"),
                L("Recording saved to:\n", "Die Aufnahme wurde gespeichert unter:\n") + "/home/anna/Movies/Pellaro_2026-06-28_145701.mp4",
                {"OK", L("Show in Finder", "Im Finder zeigen")}};
    if (name == "alert-critical")
        return {
            AlertStyle::critical,
            L("Storage folder unavailable", "Speicherordner nicht erreichbar"),
            L("The folder \"/media/anna/Archive\" could not be created or accessed.\n\nPossible causes:\n• No write permission for this "
              "folder\n• External drive or iCloud Drive not available\n• Invalid path\n\nChoose a different storage location in "
              "Settings.\n\nTechnical: Permission denied",
              "Der Ordner „/media/anna/Archive\" konnte nicht erstellt oder geöffnet werden.\n\nMögliche Ursachen:\n• Kein Schreibrecht "
              "für diesen Ordner\n• Externes Laufwerk oder iCloud Drive nicht verfügbar\n• Ungültiger Pfad\n\nWähle in den Einstellungen "
              "einen anderen Speicherort.\n\nTechnisch: Keine Berechtigung"),
            {L("Open Settings", "Einstellungen öffnen"), "OK"}};
    if (name == "alert-long") {
        std::string text;
        for (int line = 1; line <= 120; ++line)
            text += "Line " + std::to_string(line) + " of a text that is longer than the screen is high\n";
        return {AlertStyle::informational, "A long text", text, {"OK"}};
    }
    return {
        AlertStyle::warning,
        L("Screen Recording Required", "Bildschirmaufnahme erforderlich"),
        L("Pellaro needs the \"Screen Recording\" permission.\n\n1. Open System Settings using the button below.\n2. Enable the switch for "
          "Pellaro.\n3. Quit Pellaro completely and relaunch it.",
          "Pellaro braucht die Berechtigung „Bildschirmaufnahme\".\n\n1. Öffne die Systemeinstellungen über den Button unten.\n2. "
          "Aktiviere "
          "dort den Schalter für Pellaro.\n3. Beende Pellaro vollständig und starte es neu."),
        {L("Open System Settings", "Systemeinstellungen öffnen"), L("Later", "Später"), L("Quit Pellaro", "Pellaro beenden")}};
}

Menu exampleMenu(const QtSymbols &symbols, StatusItem &item) {
    const auto image = [&symbols](const char *name) {
        SymbolImage symbol = symbols.image(name);
        symbol.isTemplate = true;
        return symbol;
    };
    return {.items = {{.title = L("Save last 30 seconds", "Letzte 30 Sekunden speichern"), .image = image("square.and.arrow.down")},
                      {.isSeparator = true},
                      {.title = L("Start Recording", "Aufnahme starten"), .image = image("record.circle")},
                      {.isSeparator = true},
                      {.title = L("Settings …", "Einstellungen …"), .keyEquivalent = ","},
                      {.isSeparator = true},
                      {.title = L("Quit Pellaro", "Pellaro beenden"), .keyEquivalent = "q"}},
            .didClose = [&item] { item.setMenu(std::nullopt); }};
}

class Gallery : public ApplicationDelegate {
public:
    std::function<void()> show;
    void applicationDidFinishLaunching() override { show(); }
    void applicationWillTerminate() override {}
};

/// @param arguments the tab and what else the description of this program names.
void showSettings(SettingsWindowController &settings, const QStringList &arguments) {
    nlog("Encoder start: 1920×1080");
    nlog("saveNow: flush encoder …");
    nlog("saveNow: 1784 video + 1410 audio chunks für 30.0s");
    AppSettings &stored = AppSettings::shared();
    stored.setCaptureMode(captureModeFromRawValue(arguments.value(1, "0").toInt()).value_or(CaptureMode::entireScreen));
    if (arguments.contains("region"))
        stored.setCaptureRect({100, 100, 640, 360});
    settings.show();
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *tabs = widget->findChild<QTabWidget *>("settingsView"))
            tabs->setCurrentIndex(arguments.value(0).toInt());
        if (auto *change = widget->findChild<QToolButton *>("hotkeyButton"); change && arguments.contains("record"))
            change->click();
    }
}

int run(QApplication &qt, const std::string &window) {
    FakePlatform fakes;
    fakes.screens.screens = {{1, "Built-in Display", {0, 0, 1512, 982}}, {2, "LG 27UP850", {1512, 0, 2560, 1440}}};
    fakes.locale.set(qEnvironmentVariable("LANG").startsWith("de") ? "de" : "en");
    NotificationCenter notifications;
    QtMainThread mainThread;
    QtAlertPresenter alerts;
    QtApplication application(qt, mainThread, alerts, notifications);
    application.setActivationPolicy(ActivationPolicy::accessory);
    const QtSymbols symbols(PELLARO_SYMBOLS);
    QtStatusBar statusBar(application, symbols, QDBusConnection::sessionBus());
    SettingsWindowController settings(fakes.platform, {.selectRegion = [](const Screen &, std::optional<Rect>) { return std::nullopt; },
                                                       .checkForUpdates = [] {},
                                                       .isInApplications = [] { return false; },
                                                       .offerInstallation = [] {}});
    QtContentPicker picker(
        mainThread, [&qt] { return std::make_unique<X11WindowGallery>(std::string(), qt.devicePixelRatio()); }, L);
    std::vector<std::unique_ptr<StatusItem>> items;
    const auto gallery = std::make_shared<Gallery>();
    gallery->show = [&] {
        if (window == "settings")
            showSettings(settings, QApplication::arguments().mid(3));
        else if (window == "chooser") {
            picker.setActive(true);
            picker.present();
        } else if (window == "tray") {
            for (const char *state : {"p.circle", "p.circle.fill", "arrow.down.circle"}) {
                items.push_back(statusBar.createStatusItem());
                StatusItem &item = *items.back();
                SymbolImage image = symbols.image(state);
                image.isTemplate = true;
                item.setImage(image);
                item.setToolTip(L("Pellaro – Paused  (Right-click: Menu)", "Pellaro – Pausiert  (Rechtsklick: Menü)"));
                item.setAction([&symbols, &item] {
                    item.setMenu(exampleMenu(symbols, item));
                    item.performClick();
                });
            }
        } else {
            (void)alerts.runModal(alertNamed(window));
            application.terminate();
        }
    };
    application.setDelegate(gallery);
    application.run();
    return 0;
}

} // namespace

} // namespace pellaro::test

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    if (arguments.value(1) == "dark")
        QApplication::setPalette(pellaro::test::darkPalette());
    return pellaro::test::run(application, arguments.value(2).toStdString());
}
