#pragma once

#include "Platform/Desktop/Symbols.h"

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QSizeF>

#include <filesystem>
#include <map>

namespace pellaro {

/// The drawings `<name>.svg` of one folder, read once when this is created. Widgets find the same files as `symbols:<name>.svg`.
class QtSymbols final : public Symbols {
public:
    /// @param folder may be missing: then there are no symbols.
    explicit QtSymbols(const std::filesystem::path &folder);

    [[nodiscard]] SymbolImage image(const std::string &name) const override;
    [[nodiscard]] std::optional<SymbolImage> configured(const SymbolImage &image, double pointSize, SymbolWeight weight) const override;

    /// The drawing at its aspect ratio in the middle of `pixels`, premultiplied; a template in `tint`, others in their own colours.
    /// All transparent when there is no such symbol. Any thread.
    [[nodiscard]] QImage render(const SymbolImage &image, const QSize &pixels, const QColor &tint) const;

private:
    struct Drawing {
        QByteArray svg;
        QSizeF size; // points
    };

    std::map<std::string, Drawing> m_drawings; // const after construction
};

} // namespace pellaro
