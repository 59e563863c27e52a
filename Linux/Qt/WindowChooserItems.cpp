#include "Linux/Qt/WindowChooserItems.h"

#include <QStandardItem>

#include <algorithm>

namespace pellaro {

WindowChooserItems::WindowChooserItems(QString untitled) : m_untitled(std::move(untitled)) {}

void WindowChooserItems::setWindows(const std::vector<ShareableWindow> &windows) {
    m_windows = windows;
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (!window(item(row)->data(windowIDRole).toULongLong()))
            removeRow(row);
    }
    for (const ShareableWindow &window : windows) {
        const QString title = window.title ? QString::fromStdString(*window.title).simplified() : QString();
        QStandardItem *item = itemOf(window.windowID);
        if (!item) {
            item = new QStandardItem;
            item->setEditable(false);
            item->setData(QVariant::fromValue(window.windowID), windowIDRole);
            appendRow(item);
        }
        if (const QString text = title.isEmpty() ? m_untitled : title; item->text() != text) {
            item->setText(text);
            item->setToolTip(text);
        }
    }
}

void WindowChooserItems::setIcon(std::uint64_t windowID, const QImage &icon) {
    if (QStandardItem *item = itemOf(windowID))
        item->setData(icon, iconRole);
}

void WindowChooserItems::setThumbnail(std::uint64_t windowID, const QImage &thumbnail) {
    if (QStandardItem *item = itemOf(windowID))
        item->setData(thumbnail, thumbnailRole);
}

std::optional<ShareableWindow> WindowChooserItems::window(std::uint64_t windowID) const {
    const auto found =
        std::find_if(m_windows.begin(), m_windows.end(), [windowID](const ShareableWindow &each) { return each.windowID == windowID; });
    return found == m_windows.end() ? std::nullopt : std::optional(*found);
}

QStandardItem *WindowChooserItems::itemOf(std::uint64_t windowID) const {
    for (int row = 0; row < rowCount(); ++row) {
        if (item(row)->data(windowIDRole).toULongLong() == windowID)
            return item(row);
    }
    return nullptr;
}

bool matchesSearch(const QString &title, const QString &search) {
    const QStringList words = search.split(' ', Qt::SkipEmptyParts);
    return std::all_of(words.begin(), words.end(), [&](const QString &word) { return title.contains(word, Qt::CaseInsensitive); });
}

} // namespace pellaro
