#include "Linux/System/PropertyListCheck.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace pellaro {

namespace {

constexpr int maxDepth = 100;
constexpr std::uint64_t maxValues = 100'000;

/// Whether `text` begins with the tag that `start` begins, and not with a longer name.
bool beginsTag(std::string_view text, std::string_view start) {
    constexpr std::string_view nameEnds = " \t\r\n/>";
    return text.starts_with(start) && (text.size() == start.size() || nameEnds.find(text[start.size()]) != std::string_view::npos);
}

bool isXmlWithinLimits(std::string_view text) {
    int depth = 0;
    for (;;) {
        const std::size_t tag = text.find('<');
        if (tag == std::string_view::npos)
            return true;
        text.remove_prefix(tag);
        const std::string_view end = text.starts_with("<!--") ? "-->" : text.starts_with("<![CDATA[") ? "]]>" : ">";
        const std::size_t last = text.find(end, 1);
        if (last == std::string_view::npos)
            return true; // an unfinished tag: nothing after it is parsed
        if (beginsTag(text, "</array") || beginsTag(text, "</dict"))
            depth = std::max(0, depth - 1);
        else if ((beginsTag(text, "<array") || beginsTag(text, "<dict")) && text[last - 1] != '/' && ++depth > maxDepth)
            return false;
        text.remove_prefix(last + end.size());
    }
}

/// Follows the references of a binary property list as far as they are sound. Layout: "bplist00", objects, a table with the offset
/// of each object, and a trailer of 32 bytes that says where the table lies and how wide its numbers are.
class BinaryCheck {
public:
    explicit BinaryCheck(std::string_view bytes) : m_bytes(bytes) {}

    bool isWithinLimits() {
        constexpr std::size_t trailerSize = 32;
        if (m_bytes.size() < trailerSize)
            return false;
        const std::size_t trailer = m_bytes.size() - trailerSize;
        m_offsetSize = number(trailer + 6, 1);
        m_referenceSize = number(trailer + 7, 1);
        const std::uint64_t objectCount = number(trailer + 8, 8);
        const std::uint64_t root = number(trailer + 16, 8);
        m_table = number(trailer + 24, 8);
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8 || objectCount > m_bytes.size() ||
            m_table > trailer || objectCount * m_offsetSize > trailer - m_table || root >= objectCount)
            return false;
        m_extents.resize(objectCount);
        return extent(root, 0).has_value();
    }

private:
    /// How far an object reaches when everything that it refers to is written out.
    struct Extent {
        std::uint64_t values = 0; // 0: not known yet
        int depth = 0;
    };

    [[nodiscard]] std::uint64_t number(std::size_t position, std::size_t size) const {
        std::uint64_t value = 0;
        for (const char byte : m_bytes.substr(position, size))
            value = value << 8 | static_cast<unsigned char>(byte);
        return value;
    }

    /// The references of the object at `position`: where they start and how many there are; nothing when they leave the file.
    [[nodiscard]] std::optional<std::pair<std::size_t, std::uint64_t>> references(std::size_t position) const {
        const std::uint64_t marker = number(position, 1);
        const std::uint64_t type = marker >> 4;
        if (type != 0xA && type != 0xC && type != 0xD)
            return std::pair(position, std::uint64_t(0));
        std::uint64_t count = marker & 0xF;
        ++position;
        if (count == 0xF) { // the count follows as an integer object of 2^n bytes
            if (position >= m_bytes.size() || number(position, 1) >> 4 != 1 || (number(position, 1) & 0xF) > 3)
                return std::nullopt;
            const std::size_t size = std::size_t(1) << (number(position, 1) & 0xF);
            count = number(position + 1, size);
            position += 1 + size;
        }
        const std::uint64_t room = position < m_bytes.size() ? (m_bytes.size() - position) / m_referenceSize : 0;
        if (count > room || (type == 0xD && 2 * count > room))
            return std::nullopt;
        return std::pair(position, type == 0xD ? 2 * count : count);
    }

    std::optional<Extent> extent(std::uint64_t object, int depth) {
        if (object >= m_extents.size() || depth > maxDepth)
            return std::nullopt; // also where a container holds itself
        if (m_extents[object].values > 0)
            return depth + m_extents[object].depth > maxDepth ? std::nullopt : std::optional(m_extents[object]);
        const std::uint64_t position = number(m_table + object * m_offsetSize, m_offsetSize);
        if (position >= m_bytes.size())
            return std::nullopt;
        const auto list = references(position);
        if (!list)
            return std::nullopt;
        Extent sum{.values = 1, .depth = 0};
        for (std::uint64_t index = 0; index < list->second; ++index) {
            const auto part = extent(number(list->first + index * m_referenceSize, m_referenceSize), depth + 1);
            if (!part)
                return std::nullopt;
            sum = {.values = sum.values + part->values, .depth = std::max(sum.depth, part->depth + 1)};
            if (sum.values > maxValues)
                return std::nullopt;
        }
        m_extents[object] = sum;
        return sum;
    }

    const std::string_view m_bytes;
    std::uint64_t m_offsetSize = 0;
    std::uint64_t m_referenceSize = 0;
    std::uint64_t m_table = 0;
    std::vector<Extent> m_extents; // of each object
};

} // namespace

bool isWithinParserLimits(std::string_view bytes) {
    if (bytes.starts_with("bplist"))
        return BinaryCheck(bytes).isWithinLimits();
    // XML has no zero bytes; files have, that a crash left without their content, and the parser ends a text early at one.
    return bytes.find('\0') == std::string_view::npos && isXmlWithinLimits(bytes);
}

} // namespace pellaro
