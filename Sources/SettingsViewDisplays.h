#pragma once

#include <QWidget>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class QButtonGroup;
class QVBoxLayout;

namespace pellaro {

class Screens;

/// A display to choose.
struct ScreenInfo {
    std::uint32_t displayID = 0; ///< 0: no particular one, the system's default
    std::string label;           ///< in the user's language of the moment it was made
    bool operator==(const ScreenInfo &) const = default;

    /// The default, then every connected screen, the main one first.
    [[nodiscard]] static std::vector<ScreenInfo> all(const Screens &screens);
};

/// A column of displays of which one is chosen; none while the chosen one is not connected. Thread: main.
class DisplayPicker final : public QWidget {
public:
    explicit DisplayPicker(QWidget *parent);
    /// @param before the control that comes before the displays for the tabulator key.
    void setScreens(const std::vector<ScreenInfo> &screens, QWidget *before);
    /// Shows which one is chosen; tells nobody.
    void select(std::uint32_t displayID);
    /// Called when the user chooses a display, also the one that is chosen.
    std::function<void(std::uint32_t displayID)> onChosen;

private:
    std::vector<ScreenInfo> m_screens;
    QVBoxLayout *const m_column;
    QButtonGroup *const m_group; // ids are positions in m_screens: an identifier does not fit in one
};

} // namespace pellaro
