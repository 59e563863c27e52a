#pragma once

#include <exception>
#include <string>
#include <utility>

namespace pellaro {

/// Base of every error this program throws. `localizedDescription` is the text that alerts show unchanged.
class Error : public std::exception {
public:
    [[nodiscard]] const std::string &localizedDescription() const noexcept { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return m_description.c_str(); }

protected:
    explicit Error(std::string description) : m_description(std::move(description)) {}

private:
    std::string m_description;
};

/// A failure reported by a service of the desktop, passed on unchanged by the components.
class PlatformError : public Error {
public:
    /// @param domain which service speaks, e.g. `posixErrorDomain`.
    /// @param code the service's own number; its meaning depends on the domain.
    PlatformError(std::string domain, int code, std::string description)
        : Error(std::move(description)), m_domain(std::move(domain)), m_code(code) {}

    [[nodiscard]] const std::string &domain() const noexcept { return m_domain; }
    [[nodiscard]] int code() const noexcept { return m_code; }

    bool operator==(const PlatformError &other) const {
        return m_domain == other.m_domain && m_code == other.m_code && localizedDescription() == other.localizedDescription();
    }

private:
    std::string m_domain;
    int m_code;
};

/// Domain of errors whose code is an `errno` value.
inline constexpr const char *posixErrorDomain = "PosixErrorDomain";

/// The `errno` value as an error with the system's own description of it.
[[nodiscard]] PlatformError posixError(int errorNumber);

/// The text to show for any exception: the localised description of ours, `what()` of others.
[[nodiscard]] std::string localizedDescription(const std::exception &error);

} // namespace pellaro
