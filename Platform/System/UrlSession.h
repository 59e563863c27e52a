#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace pellaro {

/// Domain of errors whose code is the network library's own; the description is its text.
inline constexpr const char *urlErrorDomain = "UrlErrorDomain";

/// How long and how large an answer may become.
struct UrlLimits {
    std::chrono::milliseconds wholeTime{0}; ///< from the request to the last byte; 0: no limit
    std::chrono::milliseconds stallTime{0}; ///< without a single byte; 0: no limit
    std::int64_t size = 0;                  ///< bytes, > 0
};

/// Fetches from the web, over HTTPS with a valid certificate and nothing else; redirects may not leave it. Nothing is cached, no
/// cookies are kept.
///
/// Any thread but the main one: the operations wait for the answer. The status of an answer is not looked at: an error page is an
/// answer like any other. They throw `PlatformError`: in `urlErrorDomain` what the network says, in `posixErrorDomain`
/// EPROTONOSUPPORT for an address that is not HTTPS, ETIMEDOUT, EFBIG for an answer beyond the limit, ECANCELED when the program
/// quits meanwhile, and what the disk says.
class UrlSession {
public:
    virtual ~UrlSession() = default;
    /// The body of the answer.
    [[nodiscard]] virtual std::string data(const std::string &url, const UrlLimits &limits) = 0;
    /// Writes the body into a new file at `path`, readable by the user alone. An existing file is an error. A file that could not be
    /// finished is removed.
    virtual void download(const std::string &url, const std::string &path, const UrlLimits &limits) = 0;
};

} // namespace pellaro
