#include "Linux/Qt/QtPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace pellaro {

void QtPasteboard::clearContents() {
    QGuiApplication::clipboard()->clear();
}

void QtPasteboard::setString(const std::string &text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

} // namespace pellaro
