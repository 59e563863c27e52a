#include "Linux/X11/X11Properties.h"

namespace pellaro {

xcb_get_property_cookie_t requestProperty(const X11Connection &connection, xcb_window_t window, xcb_atom_t property,
                                          std::uint32_t wordLimit) {
    return xcb_get_property(connection.raw(), false, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, wordLimit);
}

std::span<const std::uint32_t> wordsOf(const X11Reply<xcb_get_property_reply_t> &reply) {
    if (!reply || reply->format != 32)
        return {};
    return {static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof(std::uint32_t)};
}

std::string bytesOf(const X11Reply<xcb_get_property_reply_t> &reply) {
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::string utf8FromLatin1(std::string_view text) {
    std::string result;
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code < 0x20 || (code >= 0x7f && code < 0xa0))
            continue;
        if (code < 0x80) {
            result += letter;
        } else {
            result += static_cast<char>(0xc0 | code >> 6);
            result += static_cast<char>(0x80 | (code & 0x3f));
        }
    }
    return result;
}

namespace {

/// Length of the UTF-8 sequence that `text` begins with; 0 when it begins with none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xc2 && lead < 0xe0 ? 2 : lead >= 0xe0 && lead < 0xf0 ? 3 : lead >= 0xf0 && lead < 0xf5 ? 4 : 0;
    if (length == 0 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
    }
    // Longer than needed, half of a pair, or beyond the last character.
    const bool isWrong = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xed && byte(1) >= 0xa0) || (lead == 0xf0 && byte(1) < 0x90) ||
                         (lead == 0xf4 && byte(1) >= 0x90);
    return isWrong ? 0 : length;
}

} // namespace

std::string validUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0)
            result += "\xef\xbf\xbd";
        else
            result += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

} // namespace pellaro
