#include "Linux/Qt/QtScreenCapturePermission.h"
#include "Tests/Linux/Qt/Desk.h"

#include <QTemporaryDir>

namespace pellaro::test {

namespace {

const std::vector<std::string> names{"p.circle",      "p.circle.fill", "arrow.down.circle", "square.and.arrow.down",
                                     "record.circle", "stop.circle",   "doc.text"};

SymbolImage asTemplate(SymbolImage image) {
    image.isTemplate = true;
    return image;
}

} // namespace

TEST(Symbols, HasEveryDrawingOfTheProgram) {
    const QtSymbols symbols(PELLARO_SYMBOLS);
    for (const std::string &name : names)
        EXPECT_EQ(symbols.image(name), (SymbolImage{.name = name, .width = 24})) << name;
}

TEST(Symbols, DrawsEachDifferentlyAtEverySize) {
    const QtSymbols symbols(PELLARO_SYMBOLS);
    for (const int size : {16, 22, 24, 32, 48}) {
        std::vector<QImage> pictures;
        for (const std::string &name : names) {
            const QImage picture = symbols.render(asTemplate(symbols.image(name)), {size, size}, Qt::white);
            EXPECT_EQ(picture.size(), QSize(size, size));
            for (const QImage &other : pictures)
                EXPECT_NE(picture, other) << name << " at " << size;
            pictures.push_back(picture);
        }
    }
}

TEST(Symbols, TintsATemplateAndNothingElse) {
    const QtSymbols symbols(PELLARO_SYMBOLS);
    const QPoint onTheDisc(4, 12);
    const SymbolImage image = symbols.image("p.circle.fill");
    EXPECT_EQ(symbols.render(asTemplate(image), {24, 24}, Qt::red).pixelColor(onTheDisc), QColor(Qt::red));
    EXPECT_EQ(symbols.render(image, {24, 24}, Qt::red).pixelColor(onTheDisc), QColor(Qt::black));
    EXPECT_EQ(symbols.render(asTemplate(image), {24, 24}, Qt::red).pixelColor(0, 0).alpha(), 0);
}

TEST(Symbols, GivesTheSizeThatWasAskedFor) {
    const QtSymbols symbols(PELLARO_SYMBOLS);
    const auto image = symbols.configured(symbols.image("p.circle"), 15, SymbolWeight::regular);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pointSize, 15);
    EXPECT_EQ(image->width, 15);
    EXPECT_FALSE(symbols.configured(symbols.image("p.circle"), 0, SymbolWeight::regular));
}

TEST(Symbols, AMissingOneHasNoWidthAndCannotBeConfigured) {
    const QtSymbols symbols(PELLARO_SYMBOLS);
    for (const char *name : {"no.such.symbol", "", "../symbols/p.circle", "p.circle.svg"}) {
        EXPECT_EQ(symbols.image(name).width, 0) << name;
        EXPECT_FALSE(symbols.configured(symbols.image(name), 15, SymbolWeight::regular)) << name;
        const QImage picture = symbols.render(symbols.image(name), {16, 16}, Qt::white);
        EXPECT_EQ(picture.pixelColor(8, 8).alpha(), 0);
    }
}

TEST(Symbols, AFolderThatIsMissingHasNone) {
    EXPECT_EQ(QtSymbols("/nowhere/at/all").image("p.circle").width, 0);
}

TEST(Symbols, AFileThatIsNoDrawingIsNoSymbol) {
    const QTemporaryDir folder;
    QFile file(folder.filePath("broken.svg"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<svg");
    file.close();
    EXPECT_EQ(QtSymbols(folder.path().toStdString()).image("broken").width, 0);
}

TEST(ScreenCapturePermission, IsAlwaysThereOnX11) {
    QtScreenCapturePermission permission;
    permission.request();
    EXPECT_TRUE(permission.preflight());
    EXPECT_EQ(newestAlert(), nullptr);
}

} // namespace pellaro::test
