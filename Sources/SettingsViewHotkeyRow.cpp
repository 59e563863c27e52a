#include "Sources/SettingsViewHotkeyRow.h"

#include "Sources/AppSettings.h"
#include "Sources/HotkeyNames.h"
#include "Sources/SettingsViewParts.h"

#include "Platform/Desktop/Event.h"
#include "Platform/Platform.h"
#include "Platform/System/MainThread.h"
#include "Platform/System/NotificationCenter.h"

#include <QBoxLayout>
#include <QFontDatabase>
#include <QHideEvent>
#include <QPainter>
#include <QPointer>

namespace pellaro {

namespace {

constexpr std::uint16_t escapeKeyCode = 53;
constexpr std::uint64_t hotkeyModifiers = ModifierFlags::command | ModifierFlags::shift | ModifierFlags::control | ModifierFlags::option;

constexpr int textSpacing = 2;
constexpr int columnGap = 12;

/// The hotkey, or what to do, on a rounded field in a shade of the accent colour.
class HotkeyField final : public SettingsText {
public:
    explicit HotkeyField(QWidget *parent) : SettingsText("hotkeyDisplay", TextSize::symbols, Tone::primary, parent) {
        setContentsMargins(8, 4, 8, 4);
        HotkeyField::adoptLook();
    }
    void adoptLook() override {
        SettingsText::adoptLook();
        // Not the size that the desktop has for code, which is often smaller: the symbols are hard to read as it is.
        QFont fixed = font();
        fixed.setFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
        fixed.setStyleHint(QFont::Monospace);
        setFont(fixed);
    }

protected:
    void paintEvent(QPaintEvent *event) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor shade = toneColor(Tone::accent, palette());
        shade.setAlphaF(0.1F);
        painter.setBrush(shade);
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(rect(), 6, 6);
        painter.end();
        SettingsText::paintEvent(event);
    }
};

} // namespace

RecordedKey RecordedKey::from(const KeyEvent &event) {
    if (event.keyCode == escapeKeyCode)
        return {.meaning = Meaning::cancel};
    const std::uint64_t modifiers = event.modifierFlags & hotkeyModifiers;
    if (modifiers == 0)
        return {.meaning = Meaning::ordinary};
    return {.meaning = Meaning::combination, .keyCode = event.keyCode, .modifiers = modifiers};
}

HotkeyRow::HotkeyRow(Platform &platform, QWidget *parent)
    : QWidget(parent), m_platform(platform), m_settings(AppSettings::shared()), m_header(new SettingsSectionHeader("hotkeyHeader", this)),
      m_caption(new SettingsText("hotkeyCaption", TextSize::caption, Tone::secondary, this)), m_display(new HotkeyField(this)),
      m_button(makeBorderlessButton("hotkeyButton", this)) {
    setObjectName("hotkeyRow");
    m_caption->setWordWrap(true);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(textSpacing);
    texts->addWidget(m_header);
    texts->addWidget(m_caption);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(columnGap);
    row->addLayout(texts, 1);
    row->addWidget(m_display, 0, Qt::AlignVCenter);
    row->addWidget(m_button, 0, Qt::AlignVCenter);
    connect(m_button, &QToolButton::clicked, this, [this] {
        if (m_isRecording)
            stopRecording();
        else
            startRecording();
    });
}

void HotkeyRow::refresh() {
    m_header->say(localized("Hotkey", "Tastenkürzel"));
    m_caption->say(localized("Saves from any app. Accessibility permission required in System Settings.",
                             "Speichert in allen Apps. Bedienungshilfen in den Systemeinstellungen nötig."));
    if (m_isRecording) {
        m_display->say(localized("Press a key combination …", "Drücke eine Kombination …"));
        setLabel(*m_button, localized("Cancel", "Abbrechen"));
    } else {
        m_display->say(QString::fromStdString(hotkeyDisplayString(m_settings.hotkeyKeyCode(), m_settings.hotkeyModifiers())));
        setLabel(*m_button, localized("Change", "Ändern"));
    }
}

void HotkeyRow::startRecording() {
    if (m_isRecording)
        return;
    m_isRecording = true;
    m_monitor = m_platform.eventMonitors.addLocalKeyDownMonitor([this](const KeyEvent &event) { return handle(event); });
    refresh();
}

void HotkeyRow::stopRecording() {
    if (!m_isRecording)
        return;
    m_isRecording = false;
    m_monitor.reset();
    refresh();
}

KeyEventResult HotkeyRow::handle(const KeyEvent &event) {
    const RecordedKey key = RecordedKey::from(event);
    if (key.meaning == RecordedKey::Meaning::ordinary)
        return KeyEventResult::passOn;
    // Later, so that the press is over before anything of the row changes. By then another press may have ended the recording.
    m_platform.mainThread.post([row = QPointer(this), key] {
        if (!row || !row->m_isRecording)
            return;
        if (key.meaning == RecordedKey::Meaning::combination)
            row->accept(key);
        if (row) // whoever hears of the change may ask the user something, and the user may quit meanwhile
            row->stopRecording();
    });
    return KeyEventResult::swallow;
}

void HotkeyRow::accept(const RecordedKey &key) {
    m_settings.setHotkeyKeyCode(key.keyCode);
    m_settings.setHotkeyModifiers(key.modifiers);
    m_platform.notifications.post(NotificationName::hotkeyChanged);
}

void HotkeyRow::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous())
        stopRecording();
}

} // namespace pellaro
