#pragma once

#include "Platform/Desktop/Menu.h"

#include <QGuiApplication>
#include <QMenu>

namespace pellaro {

class QtSymbols;

/// One opening of a `Menu`. A key equivalent works, and is shown, with the control key; the super key works as well.
class StatusMenu final : public QMenu {
public:
    StatusMenu(Menu menu, const QtSymbols &symbols);

    [[nodiscard]] const Menu &contents() const { return m_menu; }
    /// The item that was chosen, null when none was. Known one turn of the event loop after the menu has hidden.
    [[nodiscard]] const MenuItem *chosen() const { return m_chosen; }

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void addItem(const MenuItem &item, const QtSymbols &symbols);
    [[nodiscard]] QIcon icon(const SymbolImage &image, const QtSymbols &symbols) const;
    [[nodiscard]] QAction *actionForKey(const QKeyEvent &event) const;

    const Menu m_menu;
    const MenuItem *m_chosen = nullptr; // within m_menu
    Qt::ApplicationState m_announcedState = QGuiApplication::applicationState();
};

} // namespace pellaro
