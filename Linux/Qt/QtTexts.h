#pragma once

#include <QTranslator>

namespace pellaro {

class Locale;

/// The texts of Qt's own dialogs and menus (a folder chooser, "Copy" in a context menu), for as long as it lives: German where the
/// user's language is, as the program's own are, and English everywhere else.
///
/// Created after the Qt application, before its first window. Thread: main.
class QtTexts {
public:
    explicit QtTexts(const Locale &locale);

private:
    QTranslator m_translator;
};

} // namespace pellaro
