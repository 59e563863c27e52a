#include "Linux/FFmpeg/EncoderPicture.h"

#include "Linux/FFmpeg/ColorConversion.h"
#include "Linux/FFmpeg/LibavError.h"

namespace pellaro {

EncoderPicture::EncoderPicture(int width, int height) : m_width(width), m_height(height), m_scaler(width, height) {
    allocateFrame();
}

void EncoderPicture::allocateFrame() {
    m_shown.reset();
    m_frame = ownedOrThrow(av_frame_alloc());
    m_frame->format = AV_PIX_FMT_YUV420P;
    m_frame->width = m_width;
    m_frame->height = m_height;
    m_frame->color_range = AVCOL_RANGE_MPEG;
    m_frame->colorspace = AVCOL_SPC_BT709;
    m_frame->color_primaries = AVCOL_PRI_BT709;
    m_frame->color_trc = AVCOL_TRC_BT709;
    m_frame->chroma_location = AVCHROMA_LOC_CENTER;
    checkLibav(av_frame_get_buffer(m_frame.get(), 0));
}

bool EncoderPicture::fits(const PixelBuffer &picture) const {
    return picture.width / 2 == m_width / 2 && picture.height / 2 == m_height / 2;
}

void EncoderPicture::update(const PixelBuffer &picture) {
    const bool sameSeries =
        m_shown && m_shown->series == picture.series && m_shown->width == picture.width && m_shown->height == picture.height;
    const bool isSuccessor = sameSeries && picture.sequence == m_shown->sequence + 1;
    const bool isShown = (sameSeries && picture.sequence == m_shown->sequence) || (isSuccessor && picture.changed.empty());
    m_changed.clear();
    if (!isShown) {
        m_shown.reset();
        if (!av_frame_is_writable(m_frame.get())) {
            allocateFrame();
            convertWhole(picture);
        } else if (isSuccessor && fits(picture)) {
            convertChanged(picture);
        } else {
            convertWhole(picture);
        }
    }
    m_shown = Shown{picture.series, picture.sequence, picture.width, picture.height};
}

void EncoderPicture::convertWhole(const PixelBuffer &picture) {
    const PixelRect all{0, 0, m_width, m_height};
    if (fits(picture))
        convert(picture.pixels.get(), picture.bytesPerRow, all);
    else
        convert(m_scaler.scale(picture), m_scaler.bytesPerRow(), all);
}

void EncoderPicture::convertChanged(const PixelBuffer &picture) {
    const PixelRect all{0, 0, m_width, m_height};
    std::int64_t area = 0;
    for (const PixelRect &rect : picture.changed) {
        const PixelRect inside = rect.intersected(all);
        area += static_cast<std::int64_t>(inside.width) * inside.height;
    }
    // Rectangles may overlap; together they are never worth more than the whole.
    if (area >= static_cast<std::int64_t>(m_width) * m_height) {
        convertWhole(picture);
        return;
    }
    for (const PixelRect &rect : picture.changed) {
        const PixelRect inside = rect.intersected(all);
        if (inside.isEmpty())
            continue;
        const int left = inside.x & ~1;
        const int top = inside.y & ~1;
        convert(picture.pixels.get(), picture.bytesPerRow,
                {left, top, ((inside.right() + 1) & ~1) - left, ((inside.bottom() + 1) & ~1) - top});
    }
}

void EncoderPicture::convert(const std::byte *pixels, int bytesPerRow, const PixelRect &area) {
    m_changed.push_back(area);
    convertToI420(pixels, bytesPerRow, area,
                  {m_frame->data[0], m_frame->data[1], m_frame->data[2], m_frame->linesize[0], m_frame->linesize[1], m_frame->linesize[2]});
}

} // namespace pellaro
