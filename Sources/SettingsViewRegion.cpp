#include "Sources/SettingsViewRegion.h"

#include "Sources/AppSettings.h"
#include "Sources/SettingsActions.h"
#include "Sources/SettingsViewParts.h"

#include "Platform/Platform.h"

#include <QBoxLayout>
#include <QGuiApplication>
#include <QPushButton>

#include <algorithm>

namespace pellaro {

namespace {

constexpr int statusGap = 4;
constexpr int statusSymbolSize = 14;

std::optional<Screen> screenWithID(const Screens &screens, std::uint32_t displayID) {
    if (displayID != 0) {
        const std::vector<Screen> all = screens.all();
        if (const auto found = std::ranges::find(all, displayID, &Screen::displayID); found != all.end())
            return *found;
    }
    return screens.main();
}

/// A button for something that is lost by it.
class DestructiveButton final : public QPushButton, public FollowsDesktop {
public:
    explicit DestructiveButton(QWidget *parent) : QPushButton(parent) { DestructiveButton::adoptLook(); }
    void adoptLook() override {
        QPalette colors;
        colors.setColor(QPalette::ButtonText, toneColor(Tone::bad, QGuiApplication::palette()));
        setPalette(colors);
    }
};

} // namespace

RectPickerRow::RectPickerRow(Platform &platform, const SettingsActions &actions, QWidget *parent)
    : QWidget(parent), m_platform(platform), m_actions(actions), m_settings(AppSettings::shared()),
      m_header(new SettingsSectionHeader("regionHeader", this)),
      m_check(new SymbolView("checkmark.circle.fill", statusSymbolSize, Tone::good, this)),
      m_set(new SettingsText("regionSet", TextSize::caption, Tone::good, this)),
      m_notSet(new SettingsText("regionNotSet", TextSize::caption, Tone::secondary, this)), m_selectButton(new QPushButton(this)),
      m_resetButton(new DestructiveButton(this)) {
    setObjectName("regionRow");
    m_selectButton->setObjectName("selectRegionButton");
    m_resetButton->setObjectName("resetRegionButton");

    auto *status = new QHBoxLayout;
    status->setSpacing(statusGap);
    status->addWidget(m_check);
    status->addWidget(m_set);
    status->addWidget(m_notSet);
    status->addStretch();
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(rowSpacing);
    buttons->addWidget(m_selectButton);
    buttons->addWidget(m_resetButton);
    buttons->addStretch();
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(rowSpacing);
    column->addWidget(m_header);
    column->addLayout(status);
    column->addLayout(buttons);

    connect(m_selectButton, &QPushButton::clicked, this, &RectPickerRow::selectRect);
    connect(m_resetButton, &QPushButton::clicked, this, [this] { m_settings.setCaptureRect({}); });
}

void RectPickerRow::refresh() {
    const bool isSet = !m_settings.captureRect().isEmpty();
    m_header->say(localized("Custom Region", "Manueller Ausschnitt"));
    m_set->say(localized("Region set", "Bereich gesetzt"));
    m_notSet->say(localized("No region selected", "Kein Bereich ausgewählt"));
    setLabel(*m_selectButton, localized("Select Region …", "Bereich auswählen …"));
    setLabel(*m_resetButton, localized("Reset", "Zurücksetzen"));
    m_check->setVisible(isSet);
    m_set->setVisible(isSet);
    m_notSet->setVisible(!isSet);
    m_selectButton->setEnabled(m_actions.selectRegion != nullptr);
    m_resetButton->setVisible(isSet);
}

void RectPickerRow::selectRect() {
    const std::optional<Screen> screen = screenWithID(m_platform.screens, m_settings.captureDisplayID());
    if (!screen)
        return;
    const Rect stored = m_settings.captureRect();
    AppSettings &settings = m_settings; // the window may be gone when the selection ends
    if (const auto rect = m_actions.selectRegion(*screen, stored.isEmpty() ? std::nullopt : std::optional(stored)))
        settings.setCaptureRect(*rect);
}

} // namespace pellaro
