#pragma once

#include "Linux/System/PropertyList.h"
#include "Platform/System/Bundle.h"

#include <string>

namespace pellaro {

/// A bundle whose property list is a file. The file is read once, when this is made: the program that runs stays what it is when
/// another version takes its place on the disk.
class PlistBundle : public Bundle {
public:
    /// @param infoFile absolute path of the property list, "Contents/Info.plist" in the bundle's folder. One that cannot be read counts as
    /// empty.
    explicit PlistBundle(const std::string &infoFile);

    [[nodiscard]] std::string bundlePath() const override { return m_path; }
    [[nodiscard]] std::optional<DefaultsValue> infoValue(const std::string &key) const override;

private:
    const std::string m_path;
    const PropertyList m_info;
};

} // namespace pellaro
