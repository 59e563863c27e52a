#pragma once

#include <string>
#include <vector>

namespace pellaro {

enum class AlertStyle { warning, informational, critical };

/// A question or message that wants an answer.
struct Alert {
    AlertStyle style = AlertStyle::warning;
    std::string title;
    std::string text;                 ///< lines end with \n
    std::vector<std::string> buttons; ///< in the order of their responses, the first is the default
};

/// What `runModal` returns: the first button is 1000, the second 1001 and so on.
namespace AlertResponse {
inline constexpr int firstButton = 1000;
inline constexpr int secondButton = 1001;
inline constexpr int thirdButton = 1002;
/// The program is quitting; no button was chosen.
inline constexpr int aborted = -1001;
} // namespace AlertResponse

class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;
    /// Shows the alert and returns the chosen response. It closes through its buttons only. Other work of the main thread goes
    /// on meanwhile, further alerts included. Thread: main.
    [[nodiscard]] virtual int runModal(const Alert &alert) = 0;
};

} // namespace pellaro
