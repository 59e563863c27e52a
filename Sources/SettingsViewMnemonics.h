#pragma once

#include <QList>
#include <QString>

class QWidget;

namespace pellaro {

/// The texts with a mnemonic marked in each, as Qt wants it: no letter twice and none of `taken`, in any case; preferably the first letter
/// of a word. A text for which no letter is left gets none. Letters that are no plain a to z are left alone: not every keyboard has them.
///
/// @param taken the letters in use; the ones chosen are added, in lower case.
[[nodiscard]] QList<QString> withMnemonics(const QList<QString> &texts, QString &taken);

/// The property of a button that has no mnemonic: the arrow keys lead to it from its neighbours.
inline constexpr const char *withoutMnemonic = "withoutMnemonic";

/// Gives the buttons in `tab` and the headers that lead to a control mnemonics that fit together. What they say without one is their
/// accessible name. @param taken letters that lead somewhere else; see above.
void assignMnemonics(QWidget &tab, QString taken);

} // namespace pellaro
