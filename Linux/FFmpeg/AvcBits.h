#pragma once

#include "Linux/FFmpeg/AvcStream.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pellaro {

/// What a unit carries, without the bytes that keep start codes out of it.
[[nodiscard]] std::vector<std::byte> unescaped(NalUnit unit);
/// Appends `content` to `data` as a unit that holds no start code.
void appendEscaped(std::vector<std::byte> &data, std::span<const std::byte> content);

/// Reads the fields of an unescaped unit. Behind its end there are only zeros.
class AvcBitReader {
public:
    explicit AvcBitReader(std::span<const std::byte> data) : m_data(data) {}

    [[nodiscard]] std::uint32_t bits(int count);
    /// Exponential Golomb code.
    [[nodiscard]] std::uint32_t number();
    /// Bits read so far.
    [[nodiscard]] std::size_t position() const { return m_position; }
    [[nodiscard]] bool isBeyondEnd() const { return m_position > m_data.size() * 8; }

private:
    std::span<const std::byte> m_data;
    std::size_t m_position = 0;
};

/// Writes the fields of a unit, not yet escaped.
class AvcBitWriter {
public:
    void bits(std::uint32_t value, int count);
    /// Exponential Golomb code; below 2^31.
    void number(std::uint32_t value);
    /// Fills the last byte with zeros.
    void align();
    /// At the start of a byte only.
    void bytes(std::span<const std::byte> data);
    /// The bit that every unit ends with, and zeros.
    void finish();
    [[nodiscard]] std::span<const std::byte> data() const { return m_data; }

private:
    std::vector<std::byte> m_data;
    int m_free = 0; // bits of the last byte
};

/// Overwrites `count` bits of `data` from bit `position` on.
void putBits(std::span<std::byte> data, std::size_t position, int count, std::uint32_t value);

} // namespace pellaro
