#pragma once

#include "Platform/Geometry.h"

#include <ostream>

namespace pellaro {

// For the messages of failed tests.

inline void PrintTo(const Rect &rect, std::ostream *out) {
    *out << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height;
}

inline void PrintTo(const PixelRect &rect, std::ostream *out) {
    *out << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height;
}

} // namespace pellaro
