#include "Linux/X11/KeyPresses.h"

#include "Linux/X11/KeyCodes.h"

#include <utility>

namespace pellaro {

void KeyPresses::modifiersChanged(std::uint32_t device, std::uint32_t modifiers) {
    m_modifiers[device] = modifiers;
}

std::optional<KeyEvent> KeyPresses::lostKeyboard(bool toGrab) {
    m_hasKeyboard = false;
    const auto expected = std::exchange(m_expected, std::nullopt);
    if (!toGrab || !expected)
        return std::nullopt;
    return observed(expected->keycode, expected->event);
}

std::optional<KeyEvent> KeyPresses::rawPress(std::uint32_t device, const Key &key) {
    m_expected.reset();
    const auto code = keyCodeOf(key.keycode);
    if (!code)
        return std::nullopt;
    // Some servers pass on the repeats of a keyboard's own, as presses without a release.
    const bool isRepeat = m_held.contains(key.keycode);
    if (!isRepeat)
        m_held[key.keycode] = {.time = key.time};
    const KeyEvent event{.keyCode = *code, .modifierFlags = modifierFlagsOf(m_modifiers[device]), .isRepeat = isRepeat};
    if (!m_hasKeyboard)
        return observed(key.keycode, event);
    m_expected = {key.keycode, event};
    return std::nullopt;
}

void KeyPresses::rawRelease(std::uint32_t keycode) {
    m_held.erase(keycode);
    m_expected.reset();
}

std::optional<KeyEvent> KeyPresses::windowPress(const Key &key, std::uint32_t modifiers) {
    m_expected.reset();
    const auto code = keyCodeOf(key.keycode);
    if (!code)
        return std::nullopt;
    KeyEvent event{.keyCode = *code, .modifierFlags = modifierFlagsOf(modifiers)};
    if (const auto held = m_held.find(key.keycode); held != m_held.end()) {
        // A press of a moment at which the key did not go down is the server's repeat.
        event.isRepeat = held->second.time != key.time;
        event.wasObserved = !event.isRepeat && held->second.wasObserved;
    }
    return event;
}

KeyEvent KeyPresses::observed(std::uint32_t keycode, const KeyEvent &event) {
    if (const auto held = m_held.find(keycode); held != m_held.end())
        held->second.wasObserved = true;
    return event;
}

} // namespace pellaro
