#include "Linux/Qt/PanelTint.h"

#include <algorithm>
#include <cmath>

namespace pellaro {

namespace {

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &first, const QColor &second) {
    const auto [darker, lighter] = std::minmax({luminance(first), luminance(second)});
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace

QColor templateTint(const QColor &background) {
    const QColor white(Qt::white);
    const QColor nearBlack(0x1e, 0x1e, 0x1e);
    return contrast(white, background) > contrast(nearBlack, background) ? white : nearBlack;
}

QColor medianColor(const std::vector<QRgb> &pixels) {
    if (pixels.empty())
        return {};
    const auto median = [&pixels](auto channel) {
        std::vector<int> values(pixels.size());
        std::transform(pixels.begin(), pixels.end(), values.begin(), channel);
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    };
    return {median([](QRgb pixel) { return qRed(pixel); }), median([](QRgb pixel) { return qGreen(pixel); }),
            median([](QRgb pixel) { return qBlue(pixel); })};
}

} // namespace pellaro
