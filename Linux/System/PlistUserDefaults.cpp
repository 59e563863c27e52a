#include "Linux/System/PlistUserDefaults.h"

#include "Linux/System/PosixFileManager.h"
#include "Linux/System/PropertyListText.h"

#include <cstdlib>

namespace pellaro {

PlistUserDefaults::PlistUserDefaults(std::string path, SystemLog &log, const WallClock &clock) : m_file(std::move(path), log, clock) {}

std::string PlistUserDefaults::defaultPath() {
    const char *variable = std::getenv("XDG_CONFIG_HOME");
    const std::string folder = variable && *variable == '/' ? variable : PosixFileManager().homeDirectory() + "/.config";
    return folder + "/pellaro/defaults.plist";
}

std::optional<DefaultsValue> PlistUserDefaults::object(const std::string &key) const {
    const std::lock_guard lock(m_mutex);
    const auto unsaved = m_unsaved.find(xmlText(key));
    return unsaved != m_unsaved.end() ? unsaved->second : m_file.contents().value(key);
}

void PlistUserDefaults::set(const std::string &key, const DefaultsValue &value) {
    const auto *text = std::get_if<std::string>(&value);
    const std::lock_guard lock(m_mutex);
    m_unsaved[xmlText(key)] = text ? DefaultsValue(xmlText(*text)) : value;
    try {
        m_file.update(m_unsaved);
        m_unsaved.clear();
    } catch (const PlatformError &error) {
        m_file.report(m_file.path() + " cannot be written (" + error.localizedDescription() +
                      "): settings are kept until the program ends");
    }
}

} // namespace pellaro
