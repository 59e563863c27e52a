#pragma once

#include "Linux/Qt/StatusMenu.h"
#include "Linux/Qt/TrayIconWindow.h"
#include "Platform/Desktop/Event.h"
#include "Platform/Desktop/StatusItem.h"

namespace pellaro {

class QtApplication;
class QtSymbols;

/// The status item in the X11 system tray. Not visible, and otherwise working, while there is no tray.
class QtStatusItem final : public QObject, public StatusItem {
public:
    QtStatusItem(QtApplication &application, const QtSymbols &symbols);
    ~QtStatusItem() override;

    void setImage(const std::optional<SymbolImage> &image) override;
    void setTitle(const std::string &title) override;
    void setImagePosition(ImagePosition position) override;
    void setToolTip(const std::string &text) override;
    void setAction(std::function<void()> action) override;
    void setMenu(std::optional<Menu> menu) override;
    /// Where the item is in no tray, the menu opens at the pointer.
    void performClick() override;
    void cancelTracking() override;

private:
    [[nodiscard]] QImage picture(const QSize &pixels, const QColor &tint) const;
    void pressed(const TrayButtonEvent &event);
    void released(const TrayButtonEvent &event);
    void click(const Event &event);
    void openMenu();
    void menuClosed();
    void showToolTip();
    void hideToolTip();

    QtApplication &m_application;
    const QtSymbols &m_symbols;
    std::optional<SymbolImage> m_image;
    QString m_title;
    QString m_toolTip;
    ImagePosition m_position = ImagePosition::imageOnly;
    std::function<void()> m_action;
    std::optional<Menu> m_menu;
    std::unique_ptr<StatusMenu> m_openMenu;
    QTimer m_toolTipDelay;
    bool m_leftIsDown = false;
    TrayIconWindow m_window; // last: it calls back
};

class QtStatusBar final : public StatusBar {
public:
    /// Both must outlive the items.
    QtStatusBar(QtApplication &application, const QtSymbols &symbols) : m_application(application), m_symbols(symbols) {}
    [[nodiscard]] std::unique_ptr<StatusItem> createStatusItem() override;

private:
    QtApplication &m_application;
    const QtSymbols &m_symbols;
};

} // namespace pellaro
