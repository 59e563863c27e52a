#include "Linux/FFmpeg/AvcBits.h"

#include <bit>

namespace pellaro {

namespace {

constexpr std::byte escape{3};

} // namespace

std::vector<std::byte> unescaped(NalUnit unit) {
    std::vector<std::byte> content;
    content.reserve(unit.size());
    int zeros = 0;
    for (const std::byte byte : unit) {
        if (zeros >= 2 && byte == escape) {
            zeros = 0;
            continue;
        }
        zeros = byte == std::byte{0} ? zeros + 1 : 0;
        content.push_back(byte);
    }
    return content;
}

void appendEscaped(std::vector<std::byte> &data, std::span<const std::byte> content) {
    int zeros = 0;
    for (const std::byte byte : content) {
        if (zeros >= 2 && byte <= escape) {
            data.push_back(escape);
            zeros = 0;
        }
        zeros = byte == std::byte{0} ? zeros + 1 : 0;
        data.push_back(byte);
    }
}

std::uint32_t AvcBitReader::bits(int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i, ++m_position) {
        const std::size_t byte = m_position / 8;
        const int shift = 7 - static_cast<int>(m_position % 8);
        value = value << 1 | (byte < m_data.size() ? std::to_integer<std::uint32_t>(m_data[byte]) >> shift & 1 : 0);
    }
    return value;
}

std::uint32_t AvcBitReader::number() {
    int zeros = 0;
    while (zeros < 31 && !isBeyondEnd() && bits(1) == 0)
        ++zeros;
    return (1u << zeros) - 1 + bits(zeros);
}

void AvcBitWriter::bits(std::uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) {
        if (m_free == 0) {
            m_data.push_back(std::byte{0});
            m_free = 8;
        }
        --m_free;
        m_data.back() |= static_cast<std::byte>((value >> i & 1) << m_free);
    }
}

void AvcBitWriter::number(std::uint32_t value) {
    const int length = std::bit_width(value + 1);
    bits(0, length - 1);
    bits(value + 1, length);
}

void AvcBitWriter::align() {
    m_free = 0;
}

void AvcBitWriter::bytes(std::span<const std::byte> data) {
    m_data.insert(m_data.end(), data.begin(), data.end());
}

void AvcBitWriter::finish() {
    bits(1, 1);
    align();
}

void putBits(std::span<std::byte> data, std::size_t position, int count, std::uint32_t value) {
    for (int i = 0; i < count; ++i) {
        const std::size_t bit = position + static_cast<std::size_t>(i);
        const auto mask = static_cast<std::byte>(0x80 >> bit % 8);
        const bool isSet = (value >> (count - 1 - i) & 1) != 0;
        data[bit / 8] = isSet ? data[bit / 8] | mask : data[bit / 8] & ~mask;
    }
}

} // namespace pellaro
