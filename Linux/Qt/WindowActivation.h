#pragma once

class QWidget;

namespace pellaro {

/// Raises a visible window above those of other programs and gives it the keyboard, once. Thread: main.
void bringToFront(QWidget &window);

} // namespace pellaro
