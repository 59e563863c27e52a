#include "Sources/SettingsViewLog.h"

#include "Sources/Logger.h"
#include "Sources/SettingsViewParts.h"

#include "Platform/Desktop/Pasteboard.h"
#include "Platform/Desktop/Workspace.h"
#include "Platform/Platform.h"

#include <QBoxLayout>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QTextDocument>

namespace pellaro {

namespace {

constexpr int tabPadding = 12;
constexpr int textPadding = 8;

} // namespace

LogTab::LogTab(Platform &platform, QWidget *parent)
    : SettingsTab(parent), m_platform(platform), m_header(new SettingsSectionHeader("logHeader", this)),
      m_showButton(makeBorderlessButton("showLogButton", this)), m_copyButton(makeBorderlessButton("copyLogButton", this)),
      m_text(new QPlainTextEdit(this)), m_path(new ElidedText("logPath", TextSize::caption, Tone::secondary, this)) {
    setObjectName("logTab");
    m_text->setObjectName("logText");
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setTabChangesFocus(true);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->document()->setDocumentMargin(textPadding);
    m_text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);

    auto *header = new QHBoxLayout;
    header->addWidget(m_header);
    header->addStretch();
    header->addWidget(m_showButton);
    header->addWidget(m_copyButton);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(tabPadding, tabPadding, tabPadding, tabPadding);
    column->addLayout(header);
    column->addWidget(m_text, 1);
    column->addWidget(m_path);

    connect(m_showButton, &QToolButton::clicked, this, &LogTab::showInFileViewer);
    connect(m_copyButton, &QToolButton::clicked, this, &LogTab::copy);
}

void LogTab::refresh() {
    const PelLog &log = PelLog::shared();
    m_header->say("Debug Log");
    m_text->setAccessibleName(m_header->text());
    setLabel(*m_showButton, localized("Show in Finder", "Im Finder zeigen"));
    setLabel(*m_copyButton, localized("Copy", "Kopieren"));
    m_path->say(localized("Path: ", "Pfad: ") + QString::fromStdString(log.url()));
    std::string contents = log.contents();
    if (contents == m_shown)
        return; // keeps the place to which it was scrolled and what is selected
    m_text->setPlainText(QString::fromStdString(contents));
    m_shown = std::move(contents);
}

void LogTab::showInFileViewer() {
    m_platform.workspace.selectFile(PelLog::shared().url(), "");
}

void LogTab::copy() {
    m_platform.pasteboard.clearContents();
    m_platform.pasteboard.setString(PelLog::shared().contents());
}

} // namespace pellaro
