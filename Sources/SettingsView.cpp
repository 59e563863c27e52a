#include "Sources/SettingsView.h"

#include "Sources/AppSettings.h"
#include "Sources/HotkeyNames.h"
#include "Sources/SettingsViewAbout.h"
#include "Sources/SettingsViewCapture.h"
#include "Sources/SettingsViewLog.h"
#include "Sources/SettingsViewMnemonics.h"
#include "Sources/SettingsViewParts.h"
#include "Sources/SettingsViewStorage.h"

#include "Platform/Platform.h"

#include <QEvent>
#include <QScrollArea>
#include <QShowEvent>
#include <QTabBar>

#include <array>

namespace pellaro {

namespace {

constexpr QSize smallestSize(500, 420);
constexpr int tabSymbolSize = 16;
constexpr std::array tabSymbols{"record.circle", "folder", "doc.text", "info.circle"};

/// The tab as large as it wants to be, in what room there is.
QScrollArea *scrolling(SettingsTab *tab, QWidget *parent) {
    auto *area = new QScrollArea(parent);
    area->setWidget(tab);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    // The page's own colour shows through, whatever the style gives it.
    area->viewport()->setAutoFillBackground(false);
    tab->setAutoFillBackground(false);
    return area;
}

QList<QString> tabTitles() {
    return {localized("Recording", "Aufnahme"), localized("Storage", "Speicher"), "Log", "Info"};
}

} // namespace

SettingsView::SettingsView(Platform &platform, SettingsActions actions, QWidget *parent)
    : QTabWidget(parent), m_actions(std::move(actions)) {
    setObjectName("settingsView");
    setDocumentMode(true);
    setMinimumSize(smallestSize);
    tabBar()->setObjectName("settingsTabs");
    m_captureTab = new CaptureTab(platform, m_actions, this);
    auto *storageTab = new StorageTab(platform, this);
    auto *logTab = new LogTab(platform, this);
    auto *aboutTab = new AboutTab(platform, m_actions, this);
    addSettingsTab(m_captureTab, scrolling(m_captureTab, this));
    addSettingsTab(storageTab, scrolling(storageTab, this));
    addSettingsTab(logTab, logTab);
    addSettingsTab(aboutTab, scrolling(aboutTab, this));
    adoptLook();
    connect(this, &QTabWidget::currentChanged, this, &SettingsView::refresh);
    m_observations.push_back(AppSettings::shared().observeObjectWillChange([this] { refreshSoon(); }));
    m_observations.push_back(platform.notifications.addObserver(NotificationName::hotkeyChanged, [this] { refreshSoon(); }));
}

SettingsView::~SettingsView() = default;

void SettingsView::addSettingsTab(SettingsTab *tab, QWidget *page) {
    m_tabs.push_back(tab);
    addTab(page, QString());
}

std::string SettingsView::currentHotkeyString() {
    const AppSettings &settings = AppSettings::shared();
    return hotkeyDisplayString(settings.hotkeyKeyCode(), settings.hotkeyModifiers());
}

void SettingsView::refresh() {
    m_isRefreshDue = false;
    QString taken;
    const QList<QString> titles = tabTitles();
    const QList<QString> labels = withMnemonics(titles, taken);
    for (int i = 0; i < count(); ++i) {
        if (tabText(i) != labels[i])
            setTabText(i, labels[i]);
        widget(i)->setAccessibleName(titles[i]);
    }
    SettingsTab &front = *m_tabs.at(static_cast<std::size_t>(currentIndex()));
    front.refresh();
    assignMnemonics(front, taken);
}

void SettingsView::refreshSoon() {
    // The settings tell of a change before it is made, and several changes in a row are one.
    if (std::exchange(m_isRefreshDue, true))
        return;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_isRefreshDue)
                refresh();
        },
        Qt::QueuedConnection);
}

void SettingsView::adoptLook() {
    for (QWidget *widget : findChildren<QWidget *>())
        if (auto *follower = dynamic_cast<FollowsDesktop *>(widget))
            follower->adoptLook();
    const QColor color = palette().color(QPalette::WindowText);
    for (int i = 0; i < count(); ++i)
        setTabIcon(i, QIcon(symbolPixmap(tabSymbols.at(static_cast<std::size_t>(i)), tabSymbolSize, color, devicePixelRatioF())));
}

void SettingsView::showEvent(QShowEvent *event) {
    if (!event->spontaneous()) {
        m_captureTab->findScreens();
        refresh();
    }
    QTabWidget::showEvent(event);
}

void SettingsView::changeEvent(QEvent *event) {
    QTabWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        adoptLook();
}

bool SettingsView::event(QEvent *event) {
    // Something else may have been changed by hand while the user was elsewhere: the log, the stored hotkey.
    if (event->type() == QEvent::WindowActivate)
        refreshSoon();
    return QTabWidget::event(event);
}

} // namespace pellaro
