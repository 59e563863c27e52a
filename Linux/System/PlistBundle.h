#pragma once

#include "Linux/System/PropertyList.h"
#include "Platform/System/Bundle.h"

#include <string>

namespace pellaro {

/// A bundle whose property list is a file. The file is read once, when this is made: the program that runs stays what it is when
/// another version takes its place on the disk.
class PlistBundle : public Bundle {
public:
    /// @param infoFile path of the property list. One that cannot be read counts as empty.
    explicit PlistBundle(const std::string &infoFile);

    [[nodiscard]] std::optional<DefaultsValue> infoValue(const std::string &key) const override;

private:
    const PropertyList m_info;
};

} // namespace pellaro
