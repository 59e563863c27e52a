#include "Sources/SettingsViewCapture.h"

#include "Sources/AppSettings.h"
#include "Sources/SettingsViewChoices.h"
#include "Sources/SettingsViewDisplays.h"
#include "Sources/SettingsViewHotkeyRow.h"
#include "Sources/SettingsViewParts.h"
#include "Sources/SettingsViewRegion.h"

#include "Platform/Platform.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QCheckBox>
#include <QFrame>

namespace pellaro {

namespace {

constexpr int topPadding = 16;
constexpr int titleGap = 8;
constexpr int displayTitleGap = 6;
constexpr int dividerPadding = 12;
constexpr int conditionalDividerPadding = 10;
constexpr int choiceGap = 2;
constexpr int bottomSpace = 16;

QVBoxLayout *makeColumn(QWidget *parent, int spacing) {
    auto *column = new QVBoxLayout(parent);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    return column;
}

void addDivider(QVBoxLayout &column, int padding, QWidget *parent) {
    column.addSpacing(padding);
    column.addWidget(makeDivider(Qt::Horizontal, parent));
    column.addSpacing(padding);
}

/// With the space at the sides that every section has.
void addSection(QVBoxLayout &column, QWidget *section) {
    auto *row = new QHBoxLayout;
    row->setContentsMargins(sectionPadding, 0, sectionPadding, 0);
    row->addWidget(section);
    column.addLayout(row);
}

} // namespace

CaptureTab::CaptureTab(Platform &platform, const SettingsActions &actions, QWidget *parent)
    : SettingsTab(parent), m_platform(platform), m_settings(AppSettings::shared()) {
    setObjectName("captureTab");
    auto *column = makeColumn(this, 0);
    addDurationSection(*column);
    addModeAndAudioSections(*column);
    addDisplaySection(*column);
    addRegionSection(*column, actions);
    addHotkeySection(*column);
    column->addSpacing(bottomSpace);
    column->addStretch(1); // the column begins at the top of a large window
}

void CaptureTab::addDurationSection(QVBoxLayout &column) {
    auto *section = new QWidget(this);
    auto *content = makeColumn(section, titleGap);
    m_durationHeader = new SettingsSectionHeader("durationHeader", section);
    m_duration = new SegmentedPicker("duration", section);
    for (const BufferDuration duration : allBufferDurations)
        m_duration->addSegment(static_cast<int>(duration), QString::fromStdString(shortDescription(duration)));
    m_duration->onChosen = [this](int seconds) { m_settings.setBufferDuration(static_cast<BufferDuration>(seconds)); };
    m_durationHeader->setBuddy(m_duration);
    content->addWidget(m_durationHeader);
    content->addWidget(m_duration);
    column.addSpacing(topPadding);
    addSection(column, section);
}

void CaptureTab::addModeAndAudioSections(QVBoxLayout &column) {
    addDivider(column, dividerPadding, this);
    auto *section = new QWidget(this);
    auto *row = new QHBoxLayout(section);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(sectionPadding);
    row->addWidget(makeModeSection(), 1, Qt::AlignTop);
    row->addWidget(makeDivider(Qt::Vertical, section));
    row->addWidget(makeAudioSection(), 1, Qt::AlignTop);
    addSection(column, section);
}

QWidget *CaptureTab::makeModeSection() {
    auto *section = new QWidget(this);
    auto *content = makeColumn(section, titleGap);
    m_modeHeader = new SettingsSectionHeader("modeHeader", section);
    content->addWidget(m_modeHeader);
    auto *rows = new QVBoxLayout;
    rows->setSpacing(choiceGap);
    auto *group = new QButtonGroup(section);
    for (const CaptureMode mode : allCaptureModes) {
        auto *row = new ChoiceRow("mode" + QString::number(static_cast<int>(mode)), section);
        group->addButton(row);
        rows->addWidget(row);
        connect(row, &QAbstractButton::clicked, this, [this, mode] { m_settings.setCaptureMode(mode); });
        m_modes.push_back(row);
    }
    content->addLayout(rows);
    m_windowHint = new SettingsText("windowHint", TextSize::caption, Tone::secondary, section);
    m_windowHint->setWordWrap(true);
    content->addWidget(m_windowHint);
    return section;
}

QWidget *CaptureTab::makeAudioSection() {
    auto *section = new QWidget(this);
    auto *content = makeColumn(section, titleGap);
    m_audioHeader = new SettingsSectionHeader("audioHeader", section);
    m_audio = new QCheckBox(section);
    m_audio->setObjectName("audio");
    connect(m_audio, &QCheckBox::clicked, this, [this](bool checked) { m_settings.setCaptureAudio(checked); });
    content->addWidget(m_audioHeader);
    content->addWidget(m_audio, 0, Qt::AlignLeading);
    return section;
}

void CaptureTab::addDisplaySection(QVBoxLayout &column) {
    m_displaySection = new QWidget(this);
    auto *withDivider = makeColumn(m_displaySection, 0);
    addDivider(*withDivider, conditionalDividerPadding, m_displaySection);
    auto *section = new QWidget(m_displaySection);
    auto *content = makeColumn(section, displayTitleGap);
    m_displayHeader = new SettingsSectionHeader("displayHeader", section);
    m_displays = new DisplayPicker(section);
    m_displays->onChosen = [this](std::uint32_t displayID) { m_settings.setCaptureDisplayID(displayID); };
    content->addWidget(m_displayHeader);
    content->addWidget(m_displays);
    addSection(*withDivider, section);
    column.addWidget(m_displaySection);
}

void CaptureTab::addRegionSection(QVBoxLayout &column, const SettingsActions &actions) {
    m_regionSection = new QWidget(this);
    auto *withDivider = makeColumn(m_regionSection, 0);
    addDivider(*withDivider, conditionalDividerPadding, m_regionSection);
    m_region = new RectPickerRow(m_platform, actions, m_regionSection);
    addSection(*withDivider, m_region);
    column.addWidget(m_regionSection);
}

void CaptureTab::addHotkeySection(QVBoxLayout &column) {
    addDivider(column, dividerPadding, this);
    m_hotkey = new HotkeyRow(m_platform, this);
    addSection(column, m_hotkey);
}

void CaptureTab::findScreens() {
    m_displays->setScreens(ScreenInfo::all(m_platform.screens), m_audio);
}

void CaptureTab::refreshTexts() {
    m_durationHeader->say(localized("Buffer Duration", "Puffer-Dauer"));
    m_duration->setAccessibleName(m_durationHeader->text());
    m_modeHeader->say(localized("Mode", "Modus"));
    for (std::size_t i = 0; i < m_modes.size(); ++i)
        setLabel(*m_modes[i], QString::fromStdString(description(allCaptureModes[i])));
    m_windowHint->say(localized("A system dialog appears on launch.", "Ein Systemdialog erscheint beim Start."));
    m_audioHeader->say("Audio");
    setLabel(*m_audio, localized("Record System Audio", "System-Audio aufzeichnen"));
    m_displayHeader->say("Display");
    m_displays->setAccessibleName("Display");
}

void CaptureTab::refresh() {
    refreshTexts();
    const CaptureMode mode = m_settings.captureMode();
    m_duration->select(static_cast<int>(m_settings.bufferDuration()));
    for (std::size_t i = 0; i < m_modes.size(); ++i)
        m_modes[i]->setChecked(allCaptureModes[i] == mode);
    keepOneTabStop(*m_modes.front()->group());
    m_windowHint->setVisible(mode == CaptureMode::selectedWindow);
    m_audio->setChecked(m_settings.captureAudio());
    m_displays->select(m_settings.captureDisplayID());
    m_displaySection->setVisible(mode != CaptureMode::selectedWindow);
    m_region->refresh();
    m_regionSection->setVisible(mode == CaptureMode::customRect);
    m_hotkey->refresh();
}

} // namespace pellaro
