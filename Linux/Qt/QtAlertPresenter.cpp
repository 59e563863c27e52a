#include "Linux/Qt/QtAlertPresenter.h"

#include "Linux/Qt/AlertDialog.h"
#include "Linux/Qt/WindowActivation.h"

#include <QApplication>
#include <QEventLoop>
#include <QPointer>

namespace pellaro {

/// Qt closes every menu when a window is shown. The one that the user is just choosing from is not torn away: the alert comes after it.
void QtAlertPresenter::waitForOpenMenu() const {
    while (QApplication::activePopupWidget() && !m_aborted)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

int QtAlertPresenter::runModal(const Alert &alert) {
    waitForOpenMenu();
    if (m_aborted)
        return AlertResponse::aborted;
    const QPointer<QWidget> previous = QApplication::activeWindow();
    QEventLoop loop;
    int response = AlertResponse::aborted; // stays when the whole program's loops are ended
    AlertDialog dialog(alert, [&loop, &response](int chosen) {
        response = chosen;
        loop.quit();
    });
    m_open.push_back(&dialog);
    dialog.show();
    loop.exec();
    std::erase(m_open, &dialog);
    // Window managers do not all give the keyboard back to where it was.
    if (response != AlertResponse::aborted && previous && previous->isVisible())
        bringToFront(*previous);
    return response;
}

void QtAlertPresenter::abortAll() {
    m_aborted = true;
    const auto open = m_open;
    for (AlertDialog *dialog : open)
        dialog->finish(AlertResponse::aborted);
}

} // namespace pellaro
