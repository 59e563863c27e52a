#pragma once

#include "Platform/Error.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pellaro {

/// What the version feed says of the newest release.
struct VersionInfo {
    std::string version;              ///< for people, never compared
    std::int64_t build = 0;           ///< the only value that is compared
    std::optional<std::string> notes; ///< release notes

    /// From the feed's JSON. Unknown keys are ignored. Throws `FeedError` when the text is no JSON object, or when a value that is
    /// needed is missing or has another type. Any thread.
    [[nodiscard]] static VersionInfo decode(std::string_view json);
};

/// What the feed's address gave is not a version feed.
class FeedError : public Error {
public:
    /// The description is in the user's language of this moment.
    FeedError();
};

} // namespace pellaro
