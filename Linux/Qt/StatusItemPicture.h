#pragma once

#include "Platform/Desktop/StatusItem.h"

#include <QColor>
#include <QImage>
#include <QString>

#include <functional>

namespace pellaro {

class QtSymbols;

/// What a status item shows: its image, or its title where it has none or its image is not to be shown.
struct StatusItemContents {
    std::optional<SymbolImage> image;
    QString title;
    ImagePosition position = ImagePosition::imageOnly;
};

/// The contents in that size in pixels, premultiplied, templates and titles in the tint.
[[nodiscard]] QImage statusItemPicture(const StatusItemContents &contents, const QtSymbols &symbols, const QSize &pixels,
                                       const QColor &tint);

/// The picture with a rim in another colour around what is drawn, so that it stands out from a background of its own colour too.
///
/// @param draw the picture in the given size and colour
[[nodiscard]] QImage rimmedPicture(const std::function<QImage(const QSize &pixels, const QColor &color)> &draw, const QSize &pixels,
                                   const QColor &color, const QColor &rim);

/// The colour of panels on the desktop of that name (`XDG_CURRENT_DESKTOP`), for hosts that do not tell theirs: that of the user's
/// windows, but for desktops whose panel is dark whatever the windows are.
[[nodiscard]] QColor usualPanelColor(const QString &desktop, const QColor &windows);

} // namespace pellaro
