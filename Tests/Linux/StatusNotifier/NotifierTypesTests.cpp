#include "Linux/StatusNotifier/NotifierTypes.h"

#include <gtest/gtest.h>

namespace pellaro::test {

TEST(NotifierPixmap, HoldsAlphaRedGreenBlueOfEachPixelLineByLine) {
    QImage image(2, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, qRgba(0x11, 0x22, 0x33, 0xff));
    image.setPixel(1, 0, qRgba(0xff, 0x80, 0x40, 0x7f));
    const NotifierPixmap pixmap = notifierPixmap(image);
    EXPECT_EQ(pixmap.width, 2);
    EXPECT_EQ(pixmap.height, 1);
    EXPECT_EQ(pixmap.pixels.toHex(), QByteArray("ff1122337fff8040"));
}

TEST(NotifierPixmap, IsNotPremultiplied) {
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor(255, 255, 255, 51));
    EXPECT_EQ(notifierPixmap(image).pixels.toHex(), QByteArray("33ffffff"));
}

} // namespace pellaro::test
