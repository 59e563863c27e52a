#pragma once

#include "Platform/Capture/ShareableContent.h"

#include <QImage>
#include <QStandardItemModel>

#include <optional>
#include <vector>

namespace pellaro {

/// The windows in a chooser, as a list: what is in it stays in its place while the chooser is open, what is new comes at the end.
class WindowChooserItems final : public QStandardItemModel {
public:
    enum Role { windowIDRole = Qt::UserRole, thumbnailRole, iconRole };

    /// @param untitled what a window without a title is called.
    explicit WindowChooserItems(QString untitled);

    void setWindows(const std::vector<ShareableWindow> &windows);
    void setIcon(std::uint64_t windowID, const QImage &icon);
    void setThumbnail(std::uint64_t windowID, const QImage &thumbnail);
    /// As last listed; nothing when it is not listed any more.
    [[nodiscard]] std::optional<ShareableWindow> window(std::uint64_t windowID) const;

private:
    [[nodiscard]] QStandardItem *itemOf(std::uint64_t windowID) const;

    const QString m_untitled;
    std::vector<ShareableWindow> m_windows;
};

/// Whether each word of `search` is somewhere in `title`, whatever their case and order.
[[nodiscard]] bool matchesSearch(const QString &title, const QString &search);

} // namespace pellaro
