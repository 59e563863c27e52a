#include "Linux/FFmpeg/AvcBits.h"

#include <gtest/gtest.h>
#include <random>

namespace pellaro::test {
namespace {

TEST(AvcBits, NumbersReadAsTheyWereWritten) {
    AvcBitWriter writer;
    for (std::uint32_t value = 0; value < 300; ++value)
        writer.number(value);
    writer.bits(0b1011, 4);
    writer.number(65535);
    writer.finish();
    AvcBitReader reader(writer.data());
    for (std::uint32_t value = 0; value < 300; ++value)
        ASSERT_EQ(reader.number(), value);
    EXPECT_EQ(reader.bits(4), 0b1011u);
    EXPECT_EQ(reader.number(), 65535u);
    EXPECT_EQ(reader.bits(1), 1u) << "the bit that ends a unit";
    EXPECT_FALSE(reader.isBeyondEnd());
}

TEST(AvcBits, SmallNumbersTakeTheBitsOfTheStandard) {
    AvcBitWriter writer;
    writer.number(0); // 1
    writer.number(1); // 010
    writer.number(3); // 00100
    writer.finish();  // 1
    ASSERT_EQ(writer.data().size(), 2u);
    EXPECT_EQ(writer.data()[0], std::byte{0b10100010});
    EXPECT_EQ(writer.data()[1], std::byte{0b01000000});
}

TEST(AvcBits, ReadingBeyondTheEndEnds) {
    AvcBitReader reader({});
    (void)reader.number();
    EXPECT_TRUE(reader.isBeyondEnd());
}

TEST(AvcBits, EscapedContentHoldsNoStartCodeAndComesBack) {
    std::minstd_rand random(3);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::byte> content{std::byte{0x41}};
        for (unsigned i = random() % 60; i > 0; --i)
            content.push_back(static_cast<std::byte>(random() % 5 < 3 ? 0 : random() % 5));
        content.push_back(std::byte{0x80});
        std::vector<std::byte> unit;
        appendEscaped(unit, content);
        for (std::size_t i = 2; i < unit.size(); ++i)
            ASSERT_FALSE(unit[i - 2] == std::byte{0} && unit[i - 1] == std::byte{0} && unit[i] < std::byte{3});
        ASSERT_EQ(unescaped(unit), content);
    }
}

TEST(AvcBits, OverwritesOnlyTheBitsItIsToldTo) {
    std::vector<std::byte> data(3, std::byte{0xFF});
    putBits(data, 6, 8, 0b00101100);
    EXPECT_EQ(data[0], std::byte{0b11111100});
    EXPECT_EQ(data[1], std::byte{0b10110011});
    EXPECT_EQ(data[2], std::byte{0xFF});
}

} // namespace
} // namespace pellaro::test
