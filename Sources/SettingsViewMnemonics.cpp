#include "Sources/SettingsViewMnemonics.h"

#include <QAbstractButton>
#include <QLabel>

namespace pellaro {

namespace {

bool isFree(QChar letter, const QString &taken) {
    const QChar lower = letter.toLower();
    return lower >= u'a' && lower <= u'z' && !taken.contains(lower);
}

/// Where the mnemonic stands; -1 for none.
qsizetype mnemonicPlace(const QString &text, const QString &taken) {
    for (qsizetype i = 0; i < text.size(); ++i)
        if ((i == 0 || text[i - 1].isSpace() || text[i - 1] == u'-') && isFree(text[i], taken))
            return i;
    for (qsizetype i = 0; i < text.size(); ++i)
        if (isFree(text[i], taken))
            return i;
    return -1;
}

QString marked(const QString &text, qsizetype place) {
    if (place < 0)
        return QString(text).replace(u'&', "&&");
    return text.left(place).replace(u'&', "&&") + u'&' + text[place] + text.mid(place + 1).replace(u'&', "&&");
}

} // namespace

QList<QString> withMnemonics(const QList<QString> &texts, QString &taken) {
    QList<QString> result;
    for (const QString &text : texts) {
        const qsizetype place = mnemonicPlace(text, taken);
        if (place >= 0)
            taken += text[place].toLower();
        result += marked(text, place);
    }
    return result;
}

void assignMnemonics(QWidget &tab, QString taken) {
    QList<QLabel *> headers;
    QList<QAbstractButton *> buttons;
    QList<QString> texts;
    for (auto *label : tab.findChildren<QLabel *>()) {
        if (!label->buddy())
            continue;
        headers += label;
        texts += label->accessibleName();
    }
    for (auto *button : tab.findChildren<QAbstractButton *>()) {
        if (button->property(withoutMnemonic).toBool() || button->accessibleName().isEmpty() || button->text().isEmpty())
            continue;
        buttons += button;
        texts += button->accessibleName();
    }
    const QList<QString> labels = withMnemonics(texts, taken);
    for (qsizetype i = 0; i < headers.size(); ++i)
        if (headers[i]->text() != labels[i])
            headers[i]->setText(labels[i]);
    for (qsizetype i = 0; i < buttons.size(); ++i)
        if (buttons[i]->text() != labels[headers.size() + i])
            buttons[i]->setText(labels[headers.size() + i]);
}

} // namespace pellaro
