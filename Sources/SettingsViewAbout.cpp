#include "Sources/SettingsViewAbout.h"

#include "Sources/AppInfo.h"
#include "Sources/SettingsActions.h"
#include "Sources/SettingsView.h"
#include "Sources/SettingsViewParts.h"

#include "Platform/Desktop/Workspace.h"
#include "Platform/Platform.h"

#include <QBoxLayout>
#include <QGuiApplication>
#include <QPushButton>

namespace pellaro {

namespace {

constexpr int tabPadding = 16;
constexpr int appSymbolSize = 48;
constexpr int lineGap = 4;
constexpr int groupGap = 12;
constexpr int buttonGap = 8;

/// The one button that is filled with the accent colour.
class ProminentButton final : public QPushButton, public FollowsDesktop {
public:
    explicit ProminentButton(QWidget *parent) : QPushButton(parent) { ProminentButton::adoptLook(); }
    void adoptLook() override { setPalette(prominent(QGuiApplication::palette())); }
};

QPushButton *addButton(QBoxLayout &layout, QPushButton *button, const char *name) {
    button->setObjectName(name);
    layout.addWidget(button, 0, Qt::AlignCenter);
    return button;
}

} // namespace

AboutTab::AboutTab(Platform &platform, const SettingsActions &actions, QWidget *parent)
    : SettingsTab(parent), m_platform(platform), m_actions(actions) {
    setObjectName("aboutTab");
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(tabPadding, tabPadding, tabPadding, tabPadding);
    column->setSpacing(lineGap);
    column->addStretch(1);
    addDescription(*column);
    addButtons(*column);
    column->addStretch(1);
}

SettingsText *AboutTab::addText(QVBoxLayout &column, SettingsText *text) {
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);
    column.addWidget(text);
    return text;
}

void AboutTab::addDescription(QVBoxLayout &column) {
    column.addWidget(new SymbolView("p.circle.fill", appSymbolSize, Tone::accent, this), 0, Qt::AlignCenter);
    m_title = addText(column, new SettingsText("title", TextSize::title, Tone::primary, this));
    m_version = addText(column, new SettingsText("version", TextSize::subheadline, Tone::secondary, this));
    m_lastUpdate = addText(column, new SettingsText("lastUpdate", TextSize::caption, Tone::secondary, this));
    column.addSpacing(groupGap - lineGap);
    m_description = addText(column, new SettingsText("description", TextSize::body, Tone::secondary, this));
    column.addSpacing(groupGap - lineGap);
    m_hotkey = addText(column, new SettingsText("aboutHotkey", TextSize::callout, Tone::primary, this));
    m_hotkeyCaption = addText(column, new SettingsText("aboutHotkeyCaption", TextSize::caption, Tone::secondary, this));
    column.addSpacing(groupGap - lineGap);
}

void AboutTab::addButtons(QVBoxLayout &column) {
    auto *links = new QHBoxLayout;
    links->setSpacing(buttonGap);
    links->addStretch();
    m_websiteButton = addButton(*links, new QPushButton(this), "websiteButton");
    m_guideButton = addButton(*links, new QPushButton(this), "guideButton");
    links->addStretch();
    column.addLayout(links);
    column.addSpacing(buttonGap - lineGap);
    m_updateButton = addButton(column, new ProminentButton(this), "updateButton");
    column.addSpacing(buttonGap - lineGap);
    m_installed = addText(column, new SettingsText("installed", TextSize::caption, Tone::secondary, this));
    m_notInstalled = addText(column, new SettingsText("notInstalled", TextSize::caption, Tone::warning, this));
    m_installButton = addButton(column, new QPushButton(this), "installButton");

    connect(m_websiteButton, &QPushButton::clicked, this,
            [this] { m_platform.workspace.openUrl(AppInfo::trackedURL(AppInfo::websiteURL(), "website")); });
    connect(m_guideButton, &QPushButton::clicked, this,
            [this] { m_platform.workspace.openUrl(AppInfo::trackedURL(AppInfo::guideURL(), "guide")); });
    connect(m_updateButton, &QPushButton::clicked, this, [this] { m_actions.checkForUpdates(); });
    connect(m_installButton, &QPushButton::clicked, this, [this] { m_actions.offerInstallation(); });
}

void AboutTab::refresh() {
    m_title->say("Pellaro");
    m_version->say(QString::fromStdString("Version " + AppInfo::version()));
    m_lastUpdate->say(localized("Last update: ", "Letztes Update: ") + QString::fromStdString(AppInfo::lastUpdated()));
    m_description->say(localized("A native macOS screen dashcam.\nRecords continuously and saves only what you want to keep.",
                                 "Eine native macOS-Dashcam für den Bildschirm.\nZeichnet kontinuierlich auf und speichert nur das, was du "
                                 "behalten willst."));
    m_hotkey->say(localized("Hotkey: ", "Tastenkürzel: ") + QString::fromStdString(SettingsView::currentHotkeyString()));
    m_hotkeyCaption->say(localized("Saves the last recording instantly as MP4.", "Speichert die letzte Aufnahme sofort als MP4."));
    setLabel(*m_websiteButton, localized("Open Website", "Website öffnen"));
    setLabel(*m_guideButton, localized("Open Guide", "Anleitung öffnen"));
    setLabel(*m_updateButton, localized("Check for Updates", "Auf Updates prüfen"));
    m_updateButton->setVisible(m_actions.checkForUpdates != nullptr);
    refreshInstallation();
}

void AboutTab::refreshInstallation() {
    const bool isKnown = m_actions.isInApplications != nullptr;
    const bool isInstalled = isKnown && m_actions.isInApplications();
    m_installed->say(localized("✓ Installed in /Applications", "✓ Installiert in /Applications"));
    m_notInstalled->say(localized("⚠️ App is not running from /Applications", "⚠️ App läuft nicht aus /Applications"));
    setLabel(*m_installButton, localized("Install in Applications", "In Programme installieren"));
    m_installed->setVisible(isInstalled);
    m_notInstalled->setVisible(isKnown && !isInstalled);
    m_installButton->setVisible(isKnown && !isInstalled && m_actions.offerInstallation);
}

} // namespace pellaro
