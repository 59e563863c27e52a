#pragma once

#include <cstdint>

namespace pellaro {

/// Modifier keys as bits of an event's flags; other bits may be set and mean nothing here.
namespace ModifierFlags {
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
} // namespace ModifierFlags

enum class EventType { leftMouseUp, rightMouseDown, other };

/// The event being handled.
struct Event {
    EventType type = EventType::other;
    std::uint64_t modifierFlags = 0;
};

} // namespace pellaro
