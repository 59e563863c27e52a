#include "Sources/AppInfo.h"

#include "Sources/L10n.h"

#include "Platform/Platform.h"
#include "Platform/System/Bundle.h"

#include <QUrl>

#include <charconv>
#include <optional>
#include <string_view>

namespace pellaro {

namespace {

constexpr std::string_view siteHost = PELLARO_SITE_HOST;

constexpr bool isHostCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-';
}

constexpr bool isHost(std::string_view text) {
    for (const char c : text)
        if (!isHostCharacter(c))
            return false;
    return !text.empty() && text.front() != '.' && text.front() != '-';
}

// The paths are fixed, so a sound host makes all four addresses sound, and a wrong setting does not even build.
static_assert(isHost(siteHost), "PELLARO_SITE_HOST is not the name of a host");

std::string address(std::string_view path) {
    return "https://" + std::string(siteHost) + std::string(path);
}

std::optional<std::string> infoText(const char *key) {
    if (const auto value = Platform::current().bundle.infoValue(key)) {
        if (const auto *text = std::get_if<std::string>(&*value))
            return *text;
    }
    return std::nullopt;
}

std::optional<std::int64_t> wholeNumber(std::string_view text) {
    if (text.starts_with('+') && text.size() > 1 && text[1] != '-')
        text.remove_prefix(1);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace

std::string AppInfo::version() {
    return infoText("CFBundleShortVersionString").value_or("1.0");
}

std::int64_t AppInfo::build() {
    return wholeNumber(infoText("CFBundleVersion").value_or("1")).value_or(1);
}

std::string AppInfo::lastUpdated() {
    return "28.06.2026 14:57";
}

std::string AppInfo::websiteURL() {
    return address("/");
}

std::string AppInfo::guideURL() {
    return L(address("/anleitung.html"), address("/de/anleitung.html"));
}

std::string AppInfo::updateURL() {
    return address("/version.json");
}

std::string AppInfo::downloadURL() {
    return address("/Pellaro.zip");
}

std::string AppInfo::trackedURL(const std::string &url, const std::string &content) {
    if (!QUrl(QString::fromStdString(url), QUrl::StrictMode).isValid())
        return url;
    const auto fragment = std::min(url.find('#'), url.size());
    std::string result = url.substr(0, fragment);
    // By hand, so that what the address holds already keeps its spelling.
    const auto query = result.find('?');
    if (query == std::string::npos)
        result += '?';
    else if (query + 1 < result.size())
        result += '&';
    const std::string encoded = QUrl::toPercentEncoding(QString::fromStdString(content)).toStdString();
    return result + "utm_source=app&utm_medium=settings&utm_content=" + encoded + url.substr(fragment);
}

} // namespace pellaro
