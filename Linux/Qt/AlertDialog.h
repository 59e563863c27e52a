#pragma once

#include "Platform/Desktop/Alert.h"

#include <QDialog>

#include <functional>
#include <optional>

class QBoxLayout;
class QPushButton;

namespace pellaro {

class WrappedText;

/// The window of one alert. Nothing but its buttons and `finish` closes it.
class AlertDialog final : public QDialog {
public:
    /// @param onFinished called once with the response, after the window has gone.
    AlertDialog(const Alert &alert, std::function<void(int)> onFinished);

    void finish(int response);
    /// Esc, Alt+F4 and the window manager's close end here.
    void reject() override {}

protected:
    void showEvent(QShowEvent *event) override;

private:
    [[nodiscard]] QWidget *makeIcon(AlertStyle style);
    [[nodiscard]] QBoxLayout *makeButtons(const std::vector<std::string> &titles, int maxWidth);

    std::function<void(int)> m_onFinished;
    QPushButton *m_firstButton = nullptr;
    bool m_raised = false;
};

} // namespace pellaro
