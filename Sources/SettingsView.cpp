#include "Sources/SettingsView.h"

#include "Sources/L10n.h"
#include "Sources/Logger.h"

#include "Platform/Desktop/Pasteboard.h"
#include "Platform/Desktop/Workspace.h"
#include "Platform/Platform.h"

#include <QApplication>
#include <QBoxLayout>
#include <QEvent>
#include <QFile>
#include <QFontDatabase>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QTextDocument>
#include <QToolButton>

namespace pellaro {

namespace {

constexpr int tabPadding = 12;
constexpr int textPadding = 8;
constexpr int iconSize = 16;

QString text(std::string english, std::string german) {
    return QString::fromStdString(L(std::move(english), std::move(german)));
}

/// One line that leaves out its middle when there is too little room.
class ElidedLabel final : public QLabel {
public:
    using QLabel::QLabel;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(contentsRect(), Qt::AlignLeft | Qt::AlignVCenter, fontMetrics().elidedText(text(), Qt::ElideMiddle, width()));
    }
};

/// The font of captions and section headers, in proportion to the desktop's own.
QFont scaled(QFont font, double factor) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(static_cast<int>(font.pixelSize() * factor));
    return font;
}

/// Text of second rank: between the window's text and its background.
QPalette secondary(QPalette palette) {
    QColor color = palette.color(QPalette::Active, QPalette::WindowText);
    color.setAlphaF(0.65F);
    palette.setColor(QPalette::WindowText, color);
    return palette;
}

/// The program's symbol in the colour of the text around it; none when the drawing is missing.
QIcon symbolIcon(const QString &name, const QWidget &widget) {
    const QString file = "symbols:" + name + ".svg";
    if (!QFile::exists(file))
        return {};
    QPixmap pixmap = QIcon(file).pixmap(QSize(iconSize, iconSize), widget.devicePixelRatio());
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), widget.palette().color(QPalette::WindowText));
    painter.end();
    return QIcon(pixmap);
}

QToolButton *makeBorderlessButton(const QString &name, QWidget *parent) {
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

SettingsView::SettingsView(Platform &platform, QWidget *parent) : QTabWidget(parent), m_platform(platform) {
    setObjectName("settingsView");
    setDocumentMode(true);
    tabBar()->setObjectName("settingsTabs");
    addTab(makeLogTab(), QString());
    setTabText(0, "Log");
    adoptColors();
    connect(this, &QTabWidget::currentChanged, this, &SettingsView::refresh);
}

QWidget *SettingsView::makeLogTab() {
    auto *tab = new QWidget(this);
    tab->setObjectName("logTab");
    tab->setAccessibleName("Log");
    m_logHeader = new QLabel(tab);
    m_logHeader->setObjectName("logHeader");
    m_showLogButton = makeBorderlessButton("showLogButton", tab);
    m_copyLogButton = makeBorderlessButton("copyLogButton", tab);
    m_logText = new QPlainTextEdit(tab);
    m_logText->setObjectName("logText");
    m_logText->setReadOnly(true);
    m_logText->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_logText->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_logText->document()->setDocumentMargin(textPadding);
    m_logText->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_logPath = new ElidedLabel(tab);
    m_logPath->setObjectName("logPath");
    m_logPath->setTextFormat(Qt::PlainText);

    QFont headerFont = scaled(font(), 1.0);
    headerFont.setWeight(QFont::DemiBold);
    m_logHeader->setFont(headerFont);
    m_logPath->setFont(scaled(font(), 0.85));

    auto *header = new QHBoxLayout;
    header->addWidget(m_logHeader);
    header->addStretch();
    header->addWidget(m_showLogButton);
    header->addWidget(m_copyLogButton);
    auto *column = new QVBoxLayout(tab);
    column->setContentsMargins(tabPadding, tabPadding, tabPadding, tabPadding);
    column->addLayout(header);
    column->addWidget(m_logText, 1);
    column->addWidget(m_logPath);

    connect(m_showLogButton, &QToolButton::clicked, this, &SettingsView::showLogInFileViewer);
    connect(m_copyLogButton, &QToolButton::clicked, this, &SettingsView::copyLog);
    return tab;
}

void SettingsView::refresh() {
    const PelLog &log = PelLog::shared();
    m_logHeader->setText("Debug Log");
    m_showLogButton->setText(text("Show in Finder", "Im Finder zeigen"));
    m_copyLogButton->setText(text("Copy", "Kopieren"));
    const auto path = QString::fromStdString(log.url());
    m_logPath->setText(text("Path: ", "Pfad: ") + path);
    m_logPath->setToolTip(path);
    for (QToolButton *button : {m_showLogButton, m_copyLogButton})
        button->setAccessibleName(button->text());
    m_logHeader->setAccessibleName(m_logHeader->text());
    m_logText->setAccessibleName(m_logHeader->text());
    m_logPath->setAccessibleName(m_logPath->text());
    // Unchanged text keeps the place to which it was scrolled and what is selected.
    if (const auto contents = QString::fromStdString(log.contents()); contents != m_logText->toPlainText())
        m_logText->setPlainText(contents);
}

void SettingsView::showLogInFileViewer() {
    m_platform.workspace.selectFile(PelLog::shared().url(), "");
}

void SettingsView::copyLog() {
    m_platform.pasteboard.clearContents();
    m_platform.pasteboard.setString(PelLog::shared().contents());
}

void SettingsView::adoptColors() {
    const QPalette colors = secondary(QApplication::palette());
    m_logHeader->setPalette(colors);
    m_logPath->setPalette(colors);
    setTabIcon(0, symbolIcon("doc.text", *this));
}

void SettingsView::showEvent(QShowEvent *event) {
    refresh();
    QTabWidget::showEvent(event);
}

void SettingsView::changeEvent(QEvent *event) {
    QTabWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_logPath)
        adoptColors();
}

} // namespace pellaro
