#include "Linux/Qt/QtSymbols.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

namespace pellaro {

QtSymbols::QtSymbols(const std::filesystem::path &folder) {
    const QDir directory(QString::fromStdString(folder.string()));
    QDir::setSearchPaths("symbols", {directory.path()});
    for (const QFileInfo &entry : directory.entryInfoList({"*.svg"}, QDir::Files)) {
        QFile file(entry.filePath());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray svg = file.readAll();
        const QSvgRenderer renderer(svg);
        if (renderer.isValid() && !renderer.viewBoxF().isEmpty())
            m_drawings[entry.completeBaseName().toStdString()] = {svg, renderer.viewBoxF().size()};
    }
}

SymbolImage QtSymbols::image(const std::string &name) const {
    const auto drawing = m_drawings.find(name);
    SymbolImage image{.name = name};
    if (drawing != m_drawings.end())
        image.width = drawing->second.size.width();
    return image;
}

std::optional<SymbolImage> QtSymbols::configured(const SymbolImage &image, double pointSize, SymbolWeight) const {
    const auto drawing = m_drawings.find(image.name);
    if (drawing == m_drawings.end() || pointSize <= 0)
        return std::nullopt;
    SymbolImage result = image;
    result.pointSize = pointSize;
    result.width = pointSize * drawing->second.size.width() / drawing->second.size.height();
    return result;
}

QImage QtSymbols::render(const SymbolImage &image, const QSize &pixels, const QColor &tint) const {
    QImage picture(pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    const auto drawing = m_drawings.find(image.name);
    if (drawing == m_drawings.end() || pixels.isEmpty())
        return picture;
    QSvgRenderer renderer(drawing->second.svg);
    const QSize size = drawing->second.size.scaled(pixels, Qt::KeepAspectRatio).toSize();
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    // Whole pixels, so that the edges that fall on them stay sharp.
    const QPoint corner((pixels.width() - size.width()) / 2, (pixels.height() - size.height()) / 2);
    renderer.render(&painter, QRectF(corner, size));
    if (image.isTemplate) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(picture.rect(), tint);
    }
    return picture;
}

} // namespace pellaro
