#include "Linux/FFmpeg/AvcStream.h"

#include <algorithm>

namespace pellaro {

namespace {

constexpr std::byte zero{0};
constexpr std::byte one{1};

/// The position of the next 00 00 01 at or after `from`; the stream's size when there is none.
std::size_t findStartCode(std::span<const std::byte> stream, std::size_t from) {
    std::size_t i = from + 2;
    while (i < stream.size()) {
        if (stream[i] == one && stream[i - 1] == zero && stream[i - 2] == zero)
            return i - 2;
        i += stream[i] == zero ? 1 : 3; // a one or anything above it ends no other start code within the next two bytes
    }
    return stream.size();
}

bool isEncoderUserData(NalUnit unit) {
    constexpr std::byte unregisteredUserData{5};
    return nalType(unit) == NalType::sei && unit.size() > 1 && unit[1] == unregisteredUserData;
}

bool belongsIntoSample(NalUnit unit) {
    const NalType type = nalType(unit);
    return type != NalType::sequenceParameterSet && type != NalType::pictureParameterSet && type != NalType::delimiter &&
           !isEncoderUserData(unit);
}

void append(std::vector<std::byte> &data, NalUnit unit) {
    data.insert(data.end(), unit.begin(), unit.end());
}

template <int bytes> void appendNumber(std::vector<std::byte> &data, std::size_t number) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        data.push_back(static_cast<std::byte>(number >> shift & 0xFF));
}

/// Bytes after profile, compatibility and level that profiles from High on add; they describe 4:2:0 pictures of 8 bits.
bool hasHighProfileFields(std::byte profile) {
    const int number = std::to_integer<int>(profile);
    return number == 100 || number == 110 || number == 122 || number == 144;
}

} // namespace

NalType nalType(NalUnit unit) {
    return static_cast<NalType>(std::to_integer<int>(unit.front()) & 0x1F);
}

std::vector<NalUnit> nalUnits(std::span<const std::byte> stream) {
    std::vector<NalUnit> units;
    std::size_t start = findStartCode(stream, 0);
    while (start < stream.size()) {
        const std::size_t first = start + 3;
        const std::size_t next = findStartCode(stream, first);
        std::size_t end = next;
        while (end > first && stream[end - 1] == zero) // a unit never ends with a zero byte
            --end;
        if (end > first)
            units.push_back(stream.subspan(first, end - first));
        start = next;
    }
    return units;
}

std::vector<std::byte> makeSampleData(std::span<const std::byte> stream) {
    std::vector<NalUnit> units = nalUnits(stream);
    std::erase_if(units, [](NalUnit unit) { return !belongsIntoSample(unit); });
    std::size_t size = 0;
    for (const NalUnit unit : units)
        size += 4 + unit.size();
    std::vector<std::byte> data;
    data.reserve(size);
    for (const NalUnit unit : units) {
        appendNumber<4>(data, unit.size());
        append(data, unit);
    }
    return data;
}

std::vector<std::byte> makeDecoderConfiguration(std::span<const std::byte> stream) {
    std::vector<NalUnit> sequenceSets;
    std::vector<NalUnit> pictureSets;
    for (const NalUnit unit : nalUnits(stream)) {
        if (nalType(unit) == NalType::sequenceParameterSet)
            sequenceSets.push_back(unit);
        else if (nalType(unit) == NalType::pictureParameterSet)
            pictureSets.push_back(unit);
    }
    if (sequenceSets.empty() || pictureSets.empty() || sequenceSets.front().size() < 4)
        return {};
    const NalUnit sequenceSet = sequenceSets.front();
    std::vector<std::byte> record{one, sequenceSet[1], sequenceSet[2], sequenceSet[3], std::byte{0xFC | 3}};
    record.push_back(static_cast<std::byte>(0xE0 | sequenceSets.size()));
    for (const NalUnit unit : sequenceSets) {
        appendNumber<2>(record, unit.size());
        append(record, unit);
    }
    record.push_back(static_cast<std::byte>(pictureSets.size()));
    for (const NalUnit unit : pictureSets) {
        appendNumber<2>(record, unit.size());
        append(record, unit);
    }
    if (hasHighProfileFields(sequenceSet[1]))
        record.insert(record.end(), {std::byte{0xFC | 1}, std::byte{0xF8}, std::byte{0xF8}, zero});
    return record;
}

std::vector<std::byte> parameterSetData(std::span<const std::byte> decoderConfiguration) {
    std::vector<std::byte> data;
    std::size_t position = 5;
    for (const int countMask : {0x1F, 0xFF}) {
        if (position >= decoderConfiguration.size())
            return {};
        for (int count = std::to_integer<int>(decoderConfiguration[position++]) & countMask; count > 0; --count) {
            if (position + 2 > decoderConfiguration.size())
                return {};
            const std::size_t size = std::to_integer<std::size_t>(decoderConfiguration[position]) << 8 |
                                     std::to_integer<std::size_t>(decoderConfiguration[position + 1]);
            position += 2;
            if (size > decoderConfiguration.size() - position)
                return {};
            appendNumber<4>(data, size);
            append(data, decoderConfiguration.subspan(position, size));
            position += size;
        }
    }
    return data;
}

} // namespace pellaro
