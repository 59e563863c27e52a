#include "Linux/System/PropertyList.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Whatever is in a property list file: what is understood can be written, and reads back as a list with the same values.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    auto list = pellaro::PropertyList::parse({reinterpret_cast<const char *>(bytes), size});
    if (!list)
        return 0;
    list->setValue("hotkeyKeyCode", std::int64_t(36));
    const auto again = pellaro::PropertyList::parse(list->xml());
    if (!again || again->value("hotkeyKeyCode") != pellaro::DefaultsValue(std::int64_t(36)))
        std::abort();
    for (const char *key : {"savePath", "bufferDuration", "captureAudio", "captureRectX", "a"}) {
        const auto before = list->value(key);
        const auto *number = before ? std::get_if<double>(&*before) : nullptr;
        const bool isNotANumber = number && *number != *number;
        if (!isNotANumber && before != again->value(key))
            std::abort();
    }
    return 0;
}
