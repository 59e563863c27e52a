#pragma once

#include <QWidget>

namespace pellaro {

/// One tab of the settings window. Thread: main.
class SettingsTab : public QWidget {
public:
    using QWidget::QWidget;
    /// Shows the texts of the user's language and the values of this moment.
    virtual void refresh() = 0;
};

} // namespace pellaro
