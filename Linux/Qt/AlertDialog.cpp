#include "Linux/Qt/AlertDialog.h"

#include "Linux/Qt/AlertIcon.h"
#include "Linux/Qt/WindowActivation.h"
#include "Linux/Qt/WrappedText.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QTimer>

#include <utility>

namespace pellaro {

namespace {

constexpr int margin = 20;
constexpr int spacing = 12;
constexpr int textWidthInCharacters = 64;
constexpr int smallestIcon = 48;
constexpr QSize buttonPadding(16, 4);  // more than the narrowest styles leave
constexpr int windowManagerFrame = 48; // pixels to leave for a frame of unknown size

QFont titleFont(QFont font) {
    font.setBold(true);
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * 1.1);
    return font;
}

} // namespace

AlertDialog::AlertDialog(const Alert &alert, std::function<void(int)> onFinished)
    : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), m_onFinished(std::move(onFinished)) {
    setObjectName("alert");
    setWindowTitle("Pellaro");
    setWindowModality(Qt::ApplicationModal);

    const auto title = QString::fromStdString(alert.title);
    const auto text = QString::fromStdString(alert.text);
    setAccessibleName(title);
    setAccessibleDescription(text);

    const QSize room = screen()->availableSize() - QSize(windowManagerFrame, windowManagerFrame);
    QWidget *icon = makeIcon(alert.style);
    QBoxLayout *buttons = makeButtons(alert.buttons, room.width() - 2 * margin);
    const int textWidth =
        std::min(textWidthInCharacters * fontMetrics().averageCharWidth(), room.width() - 2 * margin - icon->sizeHint().width() - spacing);

    auto *titleView = new WrappedText(title, this);
    titleView->setObjectName("alertTitle");
    titleView->setFont(titleFont(font()));
    titleView->fit(textWidth, room.height() / 3);
    auto *textView = new WrappedText(text, this);
    textView->setObjectName("alertText");
    textView->setAccessibleName(title);
    const int others = 2 * margin + titleView->height() + buttons->sizeHint().height() + 4 * spacing;
    textView->fit(textWidth, std::max(fontMetrics().lineSpacing(), room.height() - others));
    textView->setVisible(!text.isEmpty());

    auto *layout = new QGridLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setHorizontalSpacing(spacing + 4);
    layout->setVerticalSpacing(spacing / 2);
    layout->addWidget(icon, 0, 0, 2, 1, Qt::AlignTop);
    layout->addWidget(titleView, 0, 1, Qt::AlignTop | Qt::AlignLeft);
    layout->addWidget(textView, 1, 1, Qt::AlignTop | Qt::AlignLeft);
    layout->setColumnStretch(1, 1);
    layout->setRowMinimumHeight(2, spacing);
    layout->addLayout(buttons, 3, 0, 1, 2);
}

void AlertDialog::finish(int response) {
    if (const auto onFinished = std::exchange(m_onFinished, nullptr)) {
        hide();
        onFinished(response);
    }
}

void AlertDialog::showEvent(QShowEvent *event) {
    QDialog::showEvent(event);
    m_firstButton->setFocus();
    if (std::exchange(m_raised, true))
        return;
    // Once it is on the screen: a request that comes before is lost.
    QTimer::singleShot(0, this, [this] {
        if (isVisible())
            bringToFront(*this);
    });
}

QWidget *AlertDialog::makeIcon(AlertStyle alertStyle) {
    auto *icon = new QLabel(this);
    icon->setObjectName("alertIcon");
    const int size = std::max(smallestIcon, style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this));
    icon->setPixmap(alertIcon(alertStyle, size, devicePixelRatio()));
    return icon;
}

QBoxLayout *AlertDialog::makeButtons(const std::vector<std::string> &titles, int maxWidth) {
    auto *row = new QBoxLayout(QBoxLayout::LeftToRight);
    row->setSpacing(spacing / 2 + 2);
    row->addStretch();
    int response = AlertResponse::firstButton;
    // An alert without buttons could never be closed.
    for (const std::string &title : titles.empty() ? std::vector<std::string>{"OK"} : titles) {
        // A single "&" would be taken as the mark of the following letter.
        auto *button = new QPushButton(QString::fromStdString(title).replace("&", "&&"), this);
        button->setObjectName(QString("alertButton%1").arg(response - AlertResponse::firstButton));
        button->setAutoDefault(true);
        button->setMinimumSize(button->sizeHint() + buttonPadding);
        connect(button, &QPushButton::clicked, this, [this, response] { finish(response); });
        row->addWidget(button);
        if (!m_firstButton) {
            m_firstButton = button;
            button->setDefault(true);
        }
        ++response;
    }
    if (row->sizeHint().width() > maxWidth)
        row->setDirection(QBoxLayout::TopToBottom);
    return row;
}

} // namespace pellaro
