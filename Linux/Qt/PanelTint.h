#pragma once

#include <QColor>

#include <vector>

namespace pellaro {

/// The colour in which a template image is drawn on `background`: white or near-black, whichever stands out more.
[[nodiscard]] QColor templateTint(const QColor &background);

/// The usual colour among `pixels`: the median of each channel, so that a few pixels of a neighbour's icon do not count.
/// Invalid when there are none.
[[nodiscard]] QColor medianColor(const std::vector<QRgb> &pixels);

} // namespace pellaro
