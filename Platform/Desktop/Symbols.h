#pragma once

#include <optional>
#include <string>

namespace pellaro {

/// A named symbol as it is to be drawn. The drawing itself stays with the desktop.
struct SymbolImage {
    std::string name;
    double pointSize = 0;    ///< 0: the symbol's own size
    double width = 0;        ///< points; 0 or less when the symbol is not available
    bool isTemplate = false; ///< tinted to suit what is behind it
    std::string accessibilityText;
    bool operator==(const SymbolImage &) const = default;
};

enum class SymbolWeight { regular };

/// The program's named symbols. Any thread.
class Symbols {
public:
    virtual ~Symbols() = default;
    /// At its own size; `width` is 0 when there is no symbol of that name.
    [[nodiscard]] virtual SymbolImage image(const std::string &name) const = 0;
    /// The same at another size; nothing when it cannot be made.
    [[nodiscard]] virtual std::optional<SymbolImage> configured(const SymbolImage &image, double pointSize, SymbolWeight weight) const = 0;
};

} // namespace pellaro
