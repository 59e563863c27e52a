#include "Linux/Qt/QtTexts.h"

#include "Platform/System/Locale.h"

#include <QCoreApplication>
#include <QLibraryInfo>

namespace pellaro {

QtTexts::QtTexts(const Locale &locale) {
    // Without Qt's translations on the system its texts stay English, which is better than not to start.
    if (locale.languageCode() == "de" && m_translator.load("qtbase_de", QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&m_translator);
}

} // namespace pellaro
