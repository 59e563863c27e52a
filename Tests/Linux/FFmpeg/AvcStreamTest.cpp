#include "Linux/FFmpeg/AvcStream.h"

#include <gtest/gtest.h>

namespace pellaro::test {
namespace {

std::vector<std::byte> bytes(std::initializer_list<int> values) {
    std::vector<std::byte> result;
    for (const int value : values)
        result.push_back(static_cast<std::byte>(value));
    return result;
}

TEST(AvcStream, FindsUnitsBehindShortAndLongStartCodes) {
    const auto stream = bytes({0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 3, 0, 0, 0, 0, 1, 0x65, 0, 0, 3, 1});
    const auto units = nalUnits(stream);
    ASSERT_EQ(units.size(), 3u);
    EXPECT_EQ(std::vector(units[0].begin(), units[0].end()), bytes({0x67, 1, 2}));
    EXPECT_EQ(std::vector(units[1].begin(), units[1].end()), bytes({0x68, 3}));
    EXPECT_EQ(std::vector(units[2].begin(), units[2].end()), bytes({0x65, 0, 0, 3, 1}));
}

TEST(AvcStream, FindsNothingWhereThereIsNothing) {
    EXPECT_TRUE(nalUnits({}).empty());
    EXPECT_TRUE(nalUnits(bytes({1, 2, 3, 4})).empty());
    EXPECT_TRUE(nalUnits(bytes({0, 0, 1})).empty());
    EXPECT_TRUE(nalUnits(bytes({0, 0, 1, 0, 0, 1})).empty());
}

TEST(AvcStream, WritesLengthsAndLeavesOutWhatIsNotPicture) {
    const auto stream = bytes({0, 0, 0, 1,    9,    16,                      // delimiter
                               0, 0, 0, 1,    0x67, 1,  0, 0,    1, 0x68, 2, // parameter sets
                               0, 0, 1, 6,    5,    3,  7, 7,    7, 0x80,    // the encoder's user data
                               0, 0, 1, 6,    6,    1,  0, 0x80,             // recovery point
                               0, 0, 1, 0x65, 1,    2,  3});
    EXPECT_EQ(makeSampleData(stream), bytes({0, 0, 0, 5, 6, 6, 1, 0, 0x80, 0, 0, 0, 4, 0x65, 1, 2, 3}));
}

TEST(AvcStream, MakesARecordWithTheFieldsOfHighProfile) {
    const auto stream = bytes({0, 0, 0, 1, 0x67, 100, 0, 41, 0xAA, 0, 0, 1, 0x68, 0xEE});
    EXPECT_EQ(makeDecoderConfiguration(stream),
              bytes({1, 100, 0, 41, 0xFF, 0xE1, 0, 5, 0x67, 100, 0, 41, 0xAA, 1, 0, 2, 0x68, 0xEE, 0xFD, 0xF8, 0xF8, 0}));
}

TEST(AvcStream, MakesNoRecordWithoutBothKindsOfParameterSets) {
    EXPECT_TRUE(makeDecoderConfiguration(bytes({0, 0, 1, 0x67, 100, 0, 41, 1})).empty());
    EXPECT_TRUE(makeDecoderConfiguration(bytes({0, 0, 1, 0x68, 1})).empty());
}

TEST(AvcStream, TakesParameterSetsOutOfARecord) {
    const auto record = bytes({1, 100, 0, 41, 0xFF, 0xE1, 0, 2, 0x67, 100, 1, 0, 3, 0x68, 1, 2, 0xFD, 0xF8, 0xF8, 0});
    EXPECT_EQ(parameterSetData(record), bytes({0, 0, 0, 2, 0x67, 100, 0, 0, 0, 3, 0x68, 1, 2}));
}

TEST(AvcStream, TakesNothingOutOfADamagedRecord) {
    const auto record = bytes({1, 100, 0, 41, 0xFF, 0xE1, 0, 2, 0x67, 100, 1, 0, 3, 0x68, 1, 2});
    for (std::size_t size = 0; size < record.size(); ++size)
        EXPECT_TRUE(parameterSetData(std::span(record).first(size)).empty()) << size;
}

} // namespace
} // namespace pellaro::test
