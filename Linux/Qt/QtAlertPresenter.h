#pragma once

#include "Platform/Desktop/Alert.h"

#include <vector>

namespace pellaro {

class AlertDialog;

/// Alerts as modal windows, each with an event loop of its own. The newest one is answered first.
class QtAlertPresenter final : public AlertPresenter {
public:
    [[nodiscard]] int runModal(const Alert &alert) override;
    /// Closes every open alert; those and all that come later answer `AlertResponse::aborted`. Thread: main.
    void abortAll();

private:
    void waitForOpenMenu() const;

    std::vector<AlertDialog *> m_open; // each on the stack of its runModal
    bool m_aborted = false;
};

} // namespace pellaro
