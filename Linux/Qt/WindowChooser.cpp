#include "Linux/Qt/WindowChooser.h"

#include "Linux/Qt/WindowActivation.h"
#include "Linux/Qt/WindowChooserItems.h"
#include "Linux/Qt/WindowChooserLoader.h"
#include "Linux/Qt/WindowChooserPainter.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QScreen>
#include <QSortFilterProxyModel>
#include <QStackedWidget>
#include <QTimer>

#include <utility>

namespace pellaro {

namespace {

constexpr int margin = 16;
constexpr int spacing = 12;
constexpr int columns = 3;
constexpr double rows = 2.3; // that there are more shows
constexpr QSize buttonPadding(16, 4);
constexpr int windowManagerFrame = 48; // to leave for a frame of unknown size

QString qText(const LocalizedText &text, const char *english, const char *german) {
    return QString::fromStdString(text(english, german));
}

class Matches final : public QSortFilterProxyModel {
public:
    void setSearch(const QString &search) {
        m_search = search;
        invalidateFilter();
    }

protected:
    [[nodiscard]] bool filterAcceptsRow(int row, const QModelIndex &parent) const override {
        return matchesSearch(sourceModel()->index(row, 0, parent).data().toString(), m_search);
    }

private:
    QString m_search;
};

bool isForTheList(const QKeyEvent &key, bool isSearchEmpty) {
    switch (key.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
        return isSearchEmpty; // else they move in the text
    default:
        return false;
    }
}

} // namespace

WindowChooser::WindowChooser(OpenWindowGallery openGallery, const LocalizedText &text, std::function<void(const Answer &)> onFinished)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      m_onFinished(std::move(onFinished)), m_noWindows(qText(text, "No windows are open.", "Es sind keine Fenster geöffnet.")),
      m_noMatches(qText(text, "No window matches your search.", "Kein Fenster passt zu deiner Suche.")),
      m_items(std::make_unique<WindowChooserItems>(qText(text, "Untitled Window", "Fenster ohne Titel"))),
      m_matches(std::make_unique<Matches>()) {
    m_matches->setSourceModel(m_items.get());
    makeWidgets(text);
    load(std::move(openGallery));
}

WindowChooser::~WindowChooser() = default;

void WindowChooser::makeWidgets(const LocalizedText &text) {
    setObjectName("windowChooser");
    setWindowTitle(qText(text, "Choose a Window", "Fenster auswählen"));

    m_search = new QLineEdit(this);
    m_search->setObjectName("windowChooserSearch");
    m_search->setPlaceholderText(qText(text, "Search", "Suchen"));
    m_search->setAccessibleName(qText(text, "Search windows", "Fenster suchen"));
    m_search->setClearButtonEnabled(true);
    m_search->setTextMargins(4, 3, 4, 3);
    m_search->installEventFilter(this);
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &words) { search(words); });

    m_list = new QListView(this);
    m_list->setObjectName("windowChooserList");
    m_list->setAccessibleName(qText(text, "Windows", "Fenster"));
    m_list->setViewMode(QListView::IconMode);
    m_list->setMovement(QListView::Static);
    m_list->setResizeMode(QListView::Adjust);
    m_list->setUniformItemSizes(true);
    m_list->setSpacing(2);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setMouseTracking(true);
    m_list->setItemDelegate(new WindowChooserPainter(m_list));
    m_list->setModel(m_matches.get());
    m_list->installEventFilter(this);
    connect(m_list, &QListView::doubleClicked, this, [this] { choose(); });
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { m_chooseButton->setEnabled(selectedWindow().has_value()); });

    m_notice = new QLabel(this);
    m_notice->setObjectName("windowChooserNotice");
    m_notice->setAlignment(Qt::AlignCenter);
    m_notice->setWordWrap(true);
    m_notice->setFrameStyle(m_list->frameStyle()); // it stands for the list
    m_notice->setAutoFillBackground(true);
    m_notice->setBackgroundRole(QPalette::Base);
    m_notice->setForegroundRole(QPalette::Text);
    m_pages = new QStackedWidget(this);
    m_pages->addWidget(m_list);
    m_pages->addWidget(m_notice);

    auto *cancelButton = new QPushButton(qText(text, "Cancel", "Abbrechen"), this);
    cancelButton->setObjectName("windowChooserCancel");
    connect(cancelButton, &QPushButton::clicked, this, [this] { reject(); });
    m_chooseButton = new QPushButton(qText(text, "Record Window", "Fenster aufnehmen"), this);
    m_chooseButton->setObjectName("windowChooserChoose");
    m_chooseButton->setEnabled(false);
    m_chooseButton->setDefault(true);
    connect(m_chooseButton, &QPushButton::clicked, this, [this] { choose(); });
    for (QPushButton *button : {cancelButton, m_chooseButton})
        button->setMinimumSize(button->sizeHint() + buttonPadding);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(spacing - 4);
    buttons->addStretch();
    buttons->addWidget(cancelButton);
    buttons->addWidget(m_chooseButton);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(spacing);
    layout->addWidget(m_search);
    layout->addWidget(m_pages);
    layout->addLayout(buttons);

    QStyleOptionViewItem option;
    option.initFrom(m_list);
    const QSize item = m_list->itemDelegate()->sizeHint(option, {}) + QSize(2 * m_list->spacing(), 2 * m_list->spacing());
    const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 2 * m_list->frameWidth() + m_list->spacing() + 1;
    const QSize listSize(columns * item.width() + scrollBar, static_cast<int>(rows * item.height()));
    const int others = layout->sizeHint().height() - m_pages->sizeHint().height();
    const QSize wanted(listSize.width() + 2 * margin, listSize.height() + others);
    resize(wanted.boundedTo(screen()->availableSize() - QSize(windowManagerFrame, windowManagerFrame)));
    m_search->setFocus();
}

void WindowChooser::load(OpenWindowGallery openGallery) {
    const double scale = devicePixelRatioF();
    const WindowChooserLoader::Sizes sizes{(QSizeF(WindowChooserPainter::pictureSize) * scale).toSize(),
                                           static_cast<int>(WindowChooserPainter::largeIconSize * scale)};
    WindowChooserLoader::Handlers handlers;
    handlers.onWindows = [this](const std::vector<ShareableWindow> &windows) { update(windows); };
    handlers.onIcon = [this](std::uint64_t windowID, const QImage &icon) { m_items->setIcon(windowID, icon); };
    handlers.onThumbnail = [this](std::uint64_t windowID, const QImage &picture) { m_items->setThumbnail(windowID, picture); };
    handlers.onFailed = [this](const PlatformError &error) { finish(error); };
    m_loader = std::make_unique<WindowChooserLoader>(std::move(openGallery), sizes, *this, std::move(handlers));
}

void WindowChooser::update(const std::vector<ShareableWindow> &windows) {
    m_isLoaded = true;
    m_items->setWindows(windows);
    showList();
}

void WindowChooser::search(const QString &text) {
    static_cast<Matches &>(*m_matches).setSearch(text);
    showList();
}

/// Something is always selected when there is something to select: Return then means the first match.
void WindowChooser::showList() {
    if (m_matches->rowCount() == 0) {
        m_notice->setText(!m_isLoaded ? QString() : m_items->rowCount() == 0 ? m_noWindows : m_noMatches);
        m_pages->setCurrentWidget(m_notice);
        m_chooseButton->setEnabled(false);
        return;
    }
    m_pages->setCurrentWidget(m_list);
    if (!m_list->selectionModel()->hasSelection())
        m_list->setCurrentIndex(m_matches->index(0, 0));
    m_chooseButton->setEnabled(true);
}

std::optional<ShareableWindow> WindowChooser::selectedWindow() const {
    const QModelIndexList selected = m_list->selectionModel()->selectedIndexes();
    if (selected.isEmpty())
        return std::nullopt;
    return m_items->window(selected.front().data(WindowChooserItems::windowIDRole).toULongLong());
}

void WindowChooser::choose() {
    if (const auto window = selectedWindow())
        finish(*window);
}

void WindowChooser::finish(const Answer &answer) {
    if (const auto onFinished = std::exchange(m_onFinished, nullptr)) {
        hide();
        m_loader.reset();
        onFinished(answer);
    }
}

void WindowChooser::showEvent(QShowEvent *event) {
    QDialog::showEvent(event);
    if (std::exchange(m_raised, true))
        return;
    // Once it is on the screen: a request that comes before is lost.
    QTimer::singleShot(0, this, [this] {
        if (isVisible())
            bringToFront(*this);
    });
}

bool WindowChooser::eventFilter(QObject *object, QEvent *event) {
    if (event->type() != QEvent::KeyPress)
        return QDialog::eventFilter(object, event);
    const auto &key = static_cast<const QKeyEvent &>(*event);
    if (object == m_search && isForTheList(key, m_search->text().isEmpty())) {
        QCoreApplication::sendEvent(m_list, event);
        return true;
    }
    if (object == m_list && (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter)) {
        choose();
        return true;
    }
    const bool isText = !key.text().isEmpty() && (key.text().front().isPrint() || key.key() == Qt::Key_Backspace);
    if (object == m_list && isText && !(key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))) {
        m_search->setFocus();
        QCoreApplication::sendEvent(m_search, event);
        return true;
    }
    return QDialog::eventFilter(object, event);
}

} // namespace pellaro
