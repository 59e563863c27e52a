#include "Linux/System/PropertyListText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace pellaro {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

bool xmlHolds(char32_t character) {
    if (character < 0x20)
        return character == '\t' || character == '\n' || character == '\r';
    return character < 0xD800 || (character > 0xDFFF && character < 0xFFFE) || (character > 0xFFFF && character <= 0x10FFFF);
}

/// Bytes of the UTF-8 sequence that `text` begins with; 0 when it is not one, or is one that XML cannot hold.
std::size_t sequenceLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return xmlHolds(lead) ? 1 : 0;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC0 || lead >= 0xF8 || text.size() < length)
        return 0;
    char32_t character = lead & (0x7F >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const auto next = static_cast<unsigned char>(text[index]);
        if ((next & 0xC0) != 0x80)
            return 0;
        character = character << 6 | (next & 0x3F);
    }
    constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
    return character >= smallest[length] && xmlHolds(character) ? length : 0;
}

} // namespace

std::string xmlText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        clean += length > 0 ? text.substr(0, length) : replacementCharacter;
        text.remove_prefix(length > 0 ? length : 1);
    }
    return clean;
}

std::string realText(double value) {
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value > 0 ? "+infinity" : "-infinity";
    std::array<char, 32> buffer{}; // the longest is 24 characters
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    return {buffer.data(), end};
}

std::string finishedXml(std::string_view xml, const std::vector<double> &reals) {
    constexpr std::string_view opening = "<real>";
    std::string numbered;
    numbered.reserve(xml.size());
    for (const double real : reals) {
        const std::size_t content = xml.find(opening) + opening.size();
        numbered += xml.substr(0, content);
        numbered += realText(real);
        xml.remove_prefix(xml.find('<', content));
    }
    numbered += xml;

    std::string finished;
    for (const char character : xmlText(numbered)) {
        if (character == '\r')
            finished += "&#13;"; // a bare one reads as a line feed
        else
            finished += character;
    }
    return finished;
}

} // namespace pellaro
