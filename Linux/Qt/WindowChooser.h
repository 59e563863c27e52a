#pragma once

#include "Linux/LocalizedText.h"
#include "Linux/WindowGallery.h"
#include "Platform/Error.h"

#include <QDialog>

#include <functional>
#include <memory>
#include <optional>
#include <variant>

class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QSortFilterProxyModel;
class QStackedWidget;

namespace pellaro {

class WindowChooserItems;
class WindowChooserLoader;

/// The dialog in which the user chooses a window. Answers once: by Return, a double click or its button with the selected window; by
/// Esc, its other button or its close box with nothing. Thread: main.
class WindowChooser final : public QDialog {
public:
    /// The chosen window, nothing when the user chose none, or why there is nothing to choose from.
    using Answer = std::variant<ShareableWindow, std::monostate, PlatformError>;

    /// @param openGallery called on another thread.
    /// @param onFinished called once, after the window has gone from the screen; may let this object go later, not at once.
    WindowChooser(OpenWindowGallery openGallery, const LocalizedText &text, std::function<void(const Answer &)> onFinished);
    ~WindowChooser() override;

    void reject() override { finish(std::monostate{}); }

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void makeWidgets(const LocalizedText &text);
    void load(OpenWindowGallery openGallery);
    void choose();
    void finish(const Answer &answer);
    void search(const QString &text);
    void update(const std::vector<ShareableWindow> &windows);
    void showList();
    [[nodiscard]] std::optional<ShareableWindow> selectedWindow() const;

    std::function<void(const Answer &)> m_onFinished;
    const QString m_noWindows;
    const QString m_noMatches;
    std::unique_ptr<WindowChooserItems> m_items;
    std::unique_ptr<QSortFilterProxyModel> m_matches;
    bool m_isLoaded = false;
    bool m_raised = false;
    QLineEdit *m_search = nullptr; // this and the following: children of the dialog
    QListView *m_list = nullptr;
    QLabel *m_notice = nullptr;
    QStackedWidget *m_pages = nullptr;
    QPushButton *m_chooseButton = nullptr;
    std::unique_ptr<WindowChooserLoader> m_loader;
};

} // namespace pellaro
