#include "Sources/HotkeyNames.h"

#include "Platform/Desktop/Event.h"

#include <algorithm>
#include <array>

namespace pellaro {

namespace {

struct Named {
    std::int64_t keyCode;
    const char *name;
};

constexpr std::array namedKeys{
    Named{0, "A"},   Named{1, "S"},   Named{2, "D"},   Named{3, "F"},   Named{4, "H"},  Named{5, "G"},  Named{6, "Z"},  Named{7, "X"},
    Named{8, "C"},   Named{9, "V"},   Named{11, "B"},  Named{12, "Q"},  Named{13, "W"}, Named{14, "E"}, Named{15, "R"}, Named{16, "Y"},
    Named{17, "T"},  Named{31, "O"},  Named{32, "U"},  Named{34, "I"},  Named{35, "P"}, Named{37, "L"}, Named{38, "J"}, Named{40, "K"},
    Named{45, "N"},  Named{46, "M"},  Named{36, "↩"},  Named{76, "↩"},  Named{48, "⇥"}, Named{49, "⎵"}, Named{51, "⌫"}, Named{53, "Esc"},
    Named{123, "←"}, Named{124, "→"}, Named{125, "↓"}, Named{126, "↑"},
};

struct ModifierSymbol {
    std::uint64_t flag;
    const char *symbol;
};

constexpr std::array modifierSymbols{
    ModifierSymbol{ModifierFlags::control, "⌃"},
    ModifierSymbol{ModifierFlags::option, "⌥"},
    ModifierSymbol{ModifierFlags::shift, "⇧"},
    ModifierSymbol{ModifierFlags::command, "⌘"},
};

} // namespace

std::string hotkeyDisplayString(std::int64_t keyCode, std::uint64_t modifiers) {
    std::string text;
    for (const auto &[flag, symbol] : modifierSymbols)
        if ((modifiers & flag) != 0)
            text += symbol;
    return text + hotkeyKeySymbol(keyCode);
}

std::string hotkeyKeySymbol(std::int64_t keyCode) {
    const auto *named = std::ranges::find(namedKeys, keyCode, &Named::keyCode);
    return named == namedKeys.end() ? "#" + std::to_string(keyCode) : named->name;
}

} // namespace pellaro
