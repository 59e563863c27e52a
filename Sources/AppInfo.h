#pragma once

#include <cstdint>
#include <string>

namespace pellaro {

/// The running build and the product's addresses. No instances. Any thread.
class AppInfo {
public:
    AppInfo() = delete;

    /// The bundle's "CFBundleShortVersionString"; "1.0" where there is no such text.
    [[nodiscard]] static std::string version();
    /// The bundle's "CFBundleVersion" as a number; 1 where there is no such text or it is no whole number.
    [[nodiscard]] static std::int64_t build();
    /// Day and time of this release, "dd.MM.yyyy HH:mm". Set by hand.
    [[nodiscard]] static std::string lastUpdated();

    /// The addresses, all on the one host that the build was configured with.
    [[nodiscard]] static std::string websiteURL();
    /// In the user's language of this moment.
    [[nodiscard]] static std::string guideURL();
    [[nodiscard]] static std::string updateURL();
    [[nodiscard]] static std::string downloadURL();

    /// `url` with "utm_source", "utm_medium" and "utm_content" after whatever its query holds already, and before its fragment.
    /// What is no address is returned unchanged.
    [[nodiscard]] static std::string trackedURL(const std::string &url, const std::string &content);
};

} // namespace pellaro
