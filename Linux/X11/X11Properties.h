#pragma once

#include "Linux/X11/X11Connection.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace pellaro {

/// The atoms of these names, in their order; `XCB_ATOM_NONE` for names that no program of the session has used yet, when `onlyIfExists`,
/// and without a server.
template <std::size_t count>
[[nodiscard]] std::array<xcb_atom_t, count> internAtoms(const X11Connection &connection, const std::array<std::string_view, count> &names,
                                                        bool onlyIfExists = true) {
    std::array<xcb_intern_atom_cookie_t, count> cookies;
    for (std::size_t i = 0; i < count; ++i)
        cookies[i] = xcb_intern_atom(connection.raw(), onlyIfExists, static_cast<std::uint16_t>(names[i].size()), names[i].data());
    std::array<xcb_atom_t, count> atoms{};
    for (std::size_t i = 0; i < count; ++i) {
        if (const auto reply = connection.await(xcb_intern_atom_reply, cookies[i]))
            atoms[i] = reply->atom;
    }
    return atoms;
}

/// Asks for a whole property; `wordLimit` times four bytes of it at most.
[[nodiscard]] xcb_get_property_cookie_t requestProperty(const X11Connection &connection, xcb_window_t window, xcb_atom_t property,
                                                        std::uint32_t wordLimit = 16384);

/// The 32-bit values of a property; empty when it is missing or of another format. Valid as long as the reply.
[[nodiscard]] std::span<const std::uint32_t> wordsOf(const X11Reply<xcb_get_property_reply_t> &reply);

/// The bytes of a property; empty when it is missing or of another format.
[[nodiscard]] std::string bytesOf(const X11Reply<xcb_get_property_reply_t> &reply);

/// UTF-8 of a text in ISO 8859-1, without control characters.
[[nodiscard]] std::string utf8FromLatin1(std::string_view text);
/// The text with whatever is not UTF-8 in it replaced by U+FFFD.
[[nodiscard]] std::string validUtf8(std::string_view text);

} // namespace pellaro
