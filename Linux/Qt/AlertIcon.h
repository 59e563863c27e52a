#pragma once

#include "Platform/Desktop/Alert.h"

#include <QPixmap>

namespace pellaro {

/// The desktop's own icon for the style, or a drawing of ours where its icon theme has none.
/// @param size in device-independent pixels; the pixmap holds `scale` times as many.
[[nodiscard]] QPixmap alertIcon(AlertStyle style, int size, double scale);

} // namespace pellaro
