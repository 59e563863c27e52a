#include "Linux/FFmpeg/MovIndex.h"

#include "Platform/Media/FormatDescription.h"

#include <algorithm>
#include <array>
#include <optional>

namespace pellaro {

namespace {

constexpr std::size_t headerSize = 8;

std::uint64_t readNumber(std::span<const std::byte> bytes) {
    std::uint64_t number = 0;
    for (const std::byte byte : bytes)
        number = number << 8 | std::to_integer<std::uint64_t>(byte);
    return number;
}

void writeNumber(std::span<std::byte> bytes, std::uint64_t number) {
    for (std::size_t i = bytes.size(); i-- > 0; number >>= 8)
        bytes[i] = static_cast<std::byte>(number & 0xFF);
}

struct Atom {
    std::size_t size;
    FourCharCode type;
};

/// The atom at the beginning of `bytes`; nothing when it does not fit in.
std::optional<Atom> firstAtom(std::span<const std::byte> bytes) {
    if (bytes.size() < headerSize)
        return std::nullopt;
    const Atom atom{static_cast<std::size_t>(readNumber(bytes.first(4))), static_cast<FourCharCode>(readNumber(bytes.subspan(4, 4)))};
    if (atom.size < headerSize || atom.size > bytes.size())
        return std::nullopt;
    return atom;
}

bool moveTable(std::span<std::byte> content, std::size_t entrySize, std::uint64_t distance) {
    constexpr std::size_t tableHeader = 8; // version, flags, count
    if (content.size() < tableHeader)
        return false;
    const std::uint64_t count = readNumber(content.subspan(4, 4));
    std::span<std::byte> entries = content.subspan(tableHeader);
    if (count > entries.size() / entrySize)
        return false;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::span<std::byte> entry = entries.subspan(i * entrySize, entrySize);
        const std::uint64_t moved = readNumber(entry) + distance;
        if (entrySize == 4 && moved > UINT32_MAX)
            return false;
        writeNumber(entry, moved);
    }
    return true;
}

bool isContainer(FourCharCode type) {
    constexpr std::array<FourCharCode, 5> containers{fourCharCode("moov"), fourCharCode("trak"), fourCharCode("mdia"), fourCharCode("minf"),
                                                     fourCharCode("stbl")};
    return std::find(containers.begin(), containers.end(), type) != containers.end();
}

} // namespace

bool moveChunkOffsets(std::span<std::byte> index, std::uint64_t distance) {
    while (!index.empty()) {
        const std::optional<Atom> atom = firstAtom(index);
        if (!atom)
            return false;
        const std::span<std::byte> content = index.subspan(headerSize, atom->size - headerSize);
        bool moved = true;
        if (isContainer(atom->type))
            moved = moveChunkOffsets(content, distance);
        else if (atom->type == fourCharCode("stco"))
            moved = moveTable(content, 4, distance);
        else if (atom->type == fourCharCode("co64"))
            moved = moveTable(content, 8, distance);
        if (!moved)
            return false;
        index = index.subspan(atom->size);
    }
    return true;
}

void removeUserData(std::vector<std::byte> &index) {
    std::size_t position = headerSize;
    while (position < index.size()) {
        const std::optional<Atom> atom = firstAtom(std::span(index).subspan(position));
        if (!atom)
            return;
        if (atom->type == fourCharCode("udta")) {
            const auto first = index.begin() + static_cast<std::ptrdiff_t>(position);
            index.erase(first, first + static_cast<std::ptrdiff_t>(atom->size));
            writeNumber(std::span(index).first(4), index.size());
        } else {
            position += atom->size;
        }
    }
}

} // namespace pellaro
